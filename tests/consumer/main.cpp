// A consumer of the installed or embedded library. A member named typeof
// must compile in both dialects through the flags the target carries.
#include <grundel/grundel.h>

#include <cstdio>

struct Probe {
    int typeof() const { return 7; }
};

int main() {
    Tstring a("consumer");
    Tstring b(a);
    b += "-ok";
    if (a != "consumer" || b != "consumer-ok" || Probe().typeof() != 7) {
        std::puts("consumer: unexpected result");
        return 1;
    }
    std::puts(b.asC());
    return 0;
}
