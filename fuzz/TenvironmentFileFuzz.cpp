// Feeds arbitrary bytes to the reader of the user's environment file, with
// a small fixed process environment of its own. Checks that every setting it
// keeps is well formed and that expansion stays within its bounds.
#include <grundel/grundel.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

const char* lookup(const char* name, void*) {
    static const std::string big(4096, 'x');
    if (std::strcmp(name, "HOME") == 0)
        return "/home/u";
    if (std::strcmp(name, "BIG") == 0)
        return big.c_str();
    return nullptr;
}

bool isName(const Tstring& s) {
    if (s.isEmpty())
        return false;
    for (unsigned int i = 0; i < s.length(); ++i) {
        const char c = s[i];
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
        if (!letter && !(i > 0 && c >= '0' && c <= '9'))
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    TenvironmentFile file;
    const int malformed = file.parse(text, lookup, nullptr);
    std::size_t lines = 0;
    for (char c : text)
        lines += c == '\n';
    if (malformed < 0 || std::size_t(malformed) > lines + 1 || malformed != file.malformedLines())
        std::abort();
    if ((malformed == 0) != (file.firstMalformedLine() == 0))
        std::abort();
    const TstringArray& names = file.names();
    if (names.length() != file.values().length())
        std::abort();
    std::size_t total = 0;
    for (TuInt32 i = 0; i < names.length(); ++i) {
        // Each name is an identifier, set once, and found again.
        if (!isName(names[i]) || file.find(names[i].asC()) != &file.values()[i])
            std::abort();
        total += file.values()[i].length();
    }
    if (total > TenvironmentFile::kExpansionBudget + size)
        std::abort();
    return 0;
}
