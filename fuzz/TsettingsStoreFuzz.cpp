// Feeds arbitrary bytes to the settings store's reader. Checks that what it
// keeps is written back as text that reads again to the very same store.
#include <grundel/grundel.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > (1 << 16))
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    TsettingsStore store;
    const int malformed = store.parse(text);
    if (malformed < 0 || malformed != store.malformedLines())
        std::abort();

    const Tstring written = store.text();
    TsettingsStore again;
    if (again.parse(std::string_view(written.asC(), written.length())) != 0)
        std::abort();
    const Tstring rewritten = again.text();
    if (std::strcmp(rewritten.asC(), written.asC()) != 0 || rewritten.length() != written.length())
        std::abort();
    return 0;
}
