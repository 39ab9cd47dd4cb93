// Arbitrary bytes to grundel-iff's text reader and to its reader of chunk
// files. As text: whatever parses must encode, and a file the library
// accepts must come back through text unchanged. As a chunk file: whatever
// the library accepts must give a text that gives the same bytes back.
#include "IffText.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "grundel-iff text fuzz: %s\n", what);
        std::abort();
    }
}

// The promise of totext and fromtext for one file the library accepted.
void roundTrip(const std::string& file) {
    iffText::Document document;
    std::string where, message, again;
    if (iffText::readFile(file, document, where) != 0)
        return;
    iffText::Document parsed;
    check(iffText::parseText(iffText::writeText(document), parsed, message), "a text of ours does not parse");
    check(iffText::encode(parsed, again, message), "a text of ours does not encode");
    check(again == file, "the file does not come back byte for byte");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    iffText::Document document;
    std::string message, bytes;
    if (iffText::parseText(input, document, message)) {
        if (iffText::encode(document, bytes, message))
            roundTrip(bytes);
    } else {
        check(message.compare(0, 5, "line ") == 0, "a refusal without a line");
    }
    roundTrip(input);
    return 0;
}
