// Feeds arbitrary bytes to the number parsers and checks them against the C
// library on the part they took: the same value, never past the input.
#include <grundel/grundel.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    size_t used = 0;
    const double value = FLatof(text, &used);
    if (used > size)
        std::abort();
    // The program's locale is "C" here, so strtod reads the same forms; the
    // taken part is decimal only, so strtod stops at its end too.
    const std::string taken(text.substr(0, used));
    char* end = nullptr;
    const double expected = std::strtod(taken.c_str(), &end);
    if (used && (static_cast<size_t>(end - taken.c_str()) != used || !(value == expected)))
        std::abort();
    if (!used && value != 0.0)
        std::abort();

    const int integer = FLatoi(text, &used);
    if (used > size)
        std::abort();
    const std::string intTaken(text.substr(0, used));
    errno = 0;
    long long wide = std::strtoll(intTaken.c_str(), &end, 10);
    wide = wide > INT_MAX ? INT_MAX : wide < INT_MIN ? INT_MIN : wide;
    if (used && (static_cast<size_t>(end - intTaken.c_str()) != used || integer != wide))
        std::abort();

    // The NUL-terminated form agrees with the view up to the first NUL.
    const std::string terminated(text.substr(0, text.find('\0')));
    const char* stop = nullptr;
    const double again = FLatof(terminated.c_str(), &stop);
    const double fromView = FLatof(std::string_view(terminated), &used);
    if (!(again == fromView || (std::isnan(again) && std::isnan(fromView))) ||
        static_cast<size_t>(stop - terminated.c_str()) != used)
        std::abort();
    return 0;
}
