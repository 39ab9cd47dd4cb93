// Arbitrary bytes opened through "mem:" and walked with every reading call,
// or parsed by TiffFile with callbacks. The first byte picks the way of
// walking and the opening mode.
#include <grundel/grundel.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

int walk(_FLfile* file, int style, int depth) {
    for (int guard = 0; guard < 100000; ++guard) {
        TuInt32 id = 0;
        Tint32 size = 0;
        int code = FLbgnget(file, &id, &size);
        if (code == kFLend)
            return 0;
        if (code == kFLgroupHeader) {
            if (style & 2) {
                code = FLskipgroup(file);
            } else {
                TuInt32 type = 0;
                code = FLbgnrgroup(file, &type, &size);
                if (code == 0) {
                    walk(file, style, depth + 1);
                    code = FLendrgroup(file);
                }
            }
        } else if (code == kFLnoError) {
            if (style & 1) {
                // FLreadchunk returns the header it read, so finish it by hand.
                char buffer[64];
                (void)FLread(file, buffer, sizeof buffer);
                (void)FLunget(file, 1);
                (void)FLseek(file, 0, SEEK_END);
                code = FLendget(file);
            } else if (void* data = FLreadchunk(file, &id, &size)) {
                std::free(data);
            } else {
                code = FLendget(file);
            }
        }
        if (code != kFLnoError)
            return code;
    }
    return 0;
}

// Reads part of every leaf and ends the parse at a chunk named "STOP".
class Reader : public TiffParserCallback {
public:
    int iffVLeafMethod1(TiffFile& file, TiffTag tag, Tint32 size) override {
        char buffer[16];
        if (size > 0)
            (void)file.read(buffer, sizeof buffer);
        if (tag == TiffTag("STOP"))
            file.endParse();
        return 0;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const int style = data[0];
    const TiffSpecialNames names; // the input is named as a block of memory
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", static_cast<const void*>(data + 1), size - 1);
    if (style & 8) {
        TiffFile file(name, (style & 4) ? "rs" : "r");
        Reader reader;
        if (style & 16)
            file.setCallbackObject(&reader);
        else
            file.setLeafCallback([](TiffFile& f, TiffTag, Tint32 size) {
                Tstring text;
                char block[8];
                TuInt32 left = static_cast<TuInt32>(f.read(block, sizeof block));
                TiffFile::popTstring(text, left, block);
                return size > 0x7000000 ? 1 : 0;
            });
        (void)file.parse();
        return 0;
    }
    _FLfile* file = FLopen(name, (style & 4) ? "rs" : "r");
    if (file) {
        walk(file, style, 0);
        (void)FLclose(file);
    }
    return 0;
}
