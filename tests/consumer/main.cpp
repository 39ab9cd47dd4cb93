// A consumer of the installed or embedded library. A member named typeof
// must compile in both dialects through the flags the target carries, and
// the standard-library forms (range-for, std::string_view, std::string)
// must work beside the library's own.
#include <grundel/grundel.h>

#include <cstdio>
#include <string>
#include <string_view>

struct Probe {
    int typeof() const { return 7; }
};

static std::size_t count(const Tstring& s) { return s.length(); }

int main() {
    Tstring a("consumer");
    Tstring b(a);
    b += "-ok";
    const std::string standard = b;
    const std::string_view view = a;
    Tstring fromStd = std::string("std");

    TuInt32Array numbers;
    for (TuInt32 i = 1; i <= 4; ++i)
        numbers.addLast(i);
    TuInt32 sum = 0;
    for (TuInt32 n : numbers)
        sum += n;

    if (a != "consumer" || b != "consumer-ok" || Probe().typeof() != 7 || standard != "consumer-ok" ||
        view != "consumer" || count(std::string_view("four")) != 4 || fromStd != "std" || sum != 10 ||
        GRUNDEL_VERSION_MAJOR < 0) {
        std::puts("consumer: unexpected result");
        return 1;
    }
    std::printf("%s %s\n", b.asC(), GRUNDEL_VERSION_STRING);
    return 0;
}
