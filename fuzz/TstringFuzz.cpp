// Feeds arbitrary bytes to Tstring's text services. Input: text, a NUL byte,
// then a pattern. Checks the invariants that must hold for any input.
#include <grundel/grundel.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096)
        return 0;
    const char* bytes = reinterpret_cast<const char*>(data);
    const char* nul = static_cast<const char*>(std::memchr(bytes, 0, size));
    const std::size_t textLength = nul ? static_cast<std::size_t>(nul - bytes) : size;
    const Tstring text(bytes, static_cast<unsigned int>(textLength));
    const Tstring pattern = nul ? Tstring(nul + 1, static_cast<unsigned int>(size - textLength - 1)) : Tstring();

    // Escapes: decoding never grows the text; encoding then decoding gives
    // back every text without bytes from 0x80 up.
    Tstring decoded(text);
    decoded.decodeEscapeSequences();
    if (decoded.length() > text.length())
        std::abort();
    bool ascii = true;
    for (unsigned int i = 0; i < text.length(); ++i)
        ascii = ascii && static_cast<unsigned char>(text[i]) < 0x80 && text[i] != 0;
    if (ascii) {
        Tstring round(text);
        round.encodeEscapeSequences(true).decodeEscapeSequences();
        if (round != text)
            std::abort();
    }

    // Natural order is antisymmetric and reflexive.
    const int ab = TnameString::strnumcmp(text.asC(), pattern.asC());
    const int ba = TnameString::strnumcmp(pattern.asC(), text.asC());
    if ((ab > 0) != (ba < 0) || TnameString::strnumcmp(text.asC(), text.asC()) != 0)
        std::abort();

    (void)text.matches(pattern);
    (void)text.matches(pattern.asC());
    if (pattern.length() < 64)
        (void)text.matchesRegexp(pattern.asC());
    (void)text.expandEnvAndTilde();

    Tstring edited(text);
    edited.substitute(pattern.asC(), "<>");
    edited.collapseWhiteSpace();
    edited.formatToWidth(static_cast<int>(pattern.length() % 17));
    for (Tsystem system : {kSystemNone, kSystemUnix, kSystemMacOSX, kSystemWindows, kSystemMacClassic}) {
        Tstring cleaned(text);
        cleaned.clean(system);
    }
    Tstring numbers(text);
    numbers.setDouble(numbers.asDouble(), static_cast<int>(pattern.length() % 20) - 2, textLength % 2 == 0);
    return 0;
}
