// Arbitrary bytes loaded as compiled code and, when accepted, run with few
// steps: the loader's checks must keep every accepted code within its
// stacks, names and strings, and refuse the rest with one of its codes.
#include <grundel/grundel.h>

#include <cstdint>

namespace {

bool isEvalResult(int code) {
    return code == 0 || (code >= kFLundefinedSymbol && code <= kFLunterminatedString) || code == kFLevalBreak ||
           code == kFLnoMemory;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FLsetevalsteps(1000);
    FLprogram program;
    const int code = FLloaducode(data, size, program);
    if (!isEvalResult(code))
        __builtin_trap();
    if (code == 0) {
        double result = 0;
        if (!isEvalResult(FLuexec(program, &result)))
            __builtin_trap();
    }
    return 0;
}
