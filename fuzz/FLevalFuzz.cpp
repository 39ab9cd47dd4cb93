// Arbitrary text compiled and, when it compiles, run with few steps: no
// crash, no hang, and every failure one of the evaluator's codes.
#include <grundel/grundel.h>

#include <cstdint>
#include <string_view>

namespace {

bool isEvalResult(int code) {
    return code == 0 || (code >= kFLundefinedSymbol && code <= kFLunterminatedString) || code == kFLevalBreak ||
           code == kFLnoMemory;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FLsetevalsteps(1000);
    FLprogram program;
    const int code = FLucode(std::string_view(reinterpret_cast<const char*>(data), size), program);
    if (!isEvalResult(code))
        __builtin_trap();
    if (code == 0) {
        double result = 0;
        if (!isEvalResult(FLuexec(program, &result)))
            __builtin_trap();
        // What compiled loads again from its own bytes.
        const std::string_view bytes = program.bytes();
        FLprogram again;
        if (FLloaducode(bytes.data(), bytes.size(), again) != 0)
            __builtin_trap();
    }
    return 0;
}
