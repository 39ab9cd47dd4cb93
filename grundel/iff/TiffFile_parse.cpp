// The parser, copying, and the decoders of chunk contents.
#include "grundel/iff/TiffFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {
constexpr TuInt32 kGend = FLmakeid("GEND");
} // namespace

int TiffFile::leafHook(TiffTag tag, Tint32 size) {
    if (fCallbackObject)
        return fCallbackObject->iffLeafMethod(*this, tag, size);
    return fLeaf ? fLeaf(*this, tag, size) : 0;
}

int TiffFile::parse() {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    fParseEnded = false;
    return parseLevel(0);
}

int TiffFile::parseLevel(int depth) {
    while (!fParseEnded) {
        TuInt32 id = 0;
        Tint32 size = 0;
        int code = FLbgnget(fFile, &id, &size);
        if (code == kFLnoError) {
            if (fCallbackObject || fLeaf)
                if (const int result = leafHook(TiffTag(id), size))
                    return result;
            if ((code = FLendget(fFile)) != kFLnoError)
                return code;
        } else if (code == kFLend) {
            return leafHook(TiffTag(kGend), 0);
        } else if (code == kFLgroupHeader) {
            const TuInt32 flags = FLchunkflags(fFile);
            TuInt32 type = 0;
            if ((code = FLbgnrgroup(fFile, &type, &size)) != kFLnoError)
                return code;
            const bool form = (flags & (kFLkindForm | kFLkindInList)) != 0;
            int result = 0;
            if (fCallbackObject)
                result = form ? fCallbackObject->iffFormMethod(*this, TiffTag(id), TiffTag(type))
                              : fCallbackObject->iffListMethod(*this, TiffTag(id), TiffTag(type));
            else if (form ? fForm != nullptr : fList != nullptr)
                result = (form ? fForm : fList)(*this, TiffTag(id), TiffTag(type));
            if (result)
                return result;
            if ((result = parseLevel(depth + 1)) != 0)
                return result;
            if (fParseEnded)
                return 0;
            if ((code = FLendrgroup(fFile)) != kFLnoError)
                return code;
        } else if (code == kFLincomplete && depth == 0) {
            return 0; // a cut file at the root ends the parse quietly
        } else {
            return code;
        }
    }
    return 0;
}

namespace {

// Copies the rest of the level in to out, one level of recursion per group
// (at most kFLmaxDepth); data goes through block, one buffer for the walk.
int copyLevel(_FLfile* in, _FLfile* out, std::vector<char>& block) {
    for (;;) {
        TuInt32 id = 0;
        Tint32 size = 0;
        int code = FLbgnget(in, &id, &size);
        if (code == kFLend)
            return kFLnoError;
        if (code == kFLgroupHeader) {
            TuInt32 type = 0;
            if ((code = FLbgnrgroup(in, &type, &size)) != kFLnoError)
                return code;
            if ((code = FLbgnwgroup(out, id, type)) != kFLnoError)
                return code;
            if ((code = copyLevel(in, out, block)) != kFLnoError)
                return code;
            if ((code = FLendwgroup(out)) != kFLnoError)
                return code;
            if ((code = FLendrgroup(in)) != kFLnoError)
                return code;
            continue;
        }
        if (code != kFLnoError)
            return code;
        if (size < 0)
            return FLseterror(kFLbadSize);
        if ((code = FLbgnput(out, id, size)) != kFLnoError)
            return code;
        for (Tint32 left = size; left > 0;) {
            const std::size_t take = std::min(static_cast<std::size_t>(left), block.size());
            if ((code = FLget(in, block.data(), take)) != kFLnoError ||
                (code = FLput(out, block.data(), take)) != kFLnoError)
                return code;
            left -= static_cast<Tint32>(take);
        }
        if ((code = FLendput(out)) != kFLnoError || (code = FLendget(in)) != kFLnoError)
            return code;
    }
}

} // namespace

int TiffFile::copy(TiffFile& from, TiffFile& to) {
    if (!from.fFile || !to.fFile)
        return FLseterror(kFLnotAFile), -1;
    std::vector<char> block;
    try {
        block.resize(64 * 1024);
    } catch (...) {
        return FLseterror(kFLnoMemory);
    }
    return copyLevel(from.fFile, to.fFile, block);
}

// -- Decoders ------------------------------------------------------------------------

const char* TiffFile::popTuInt32(TuInt32& value, TuInt32& remaining, const char* cursor) noexcept {
    value = 0;
    if (!cursor || remaining < 4)
        return cursor;
    const auto* b = reinterpret_cast<const unsigned char*>(cursor);
    value = TuInt32(b[0]) << 24 | TuInt32(b[1]) << 16 | TuInt32(b[2]) << 8 | b[3];
    remaining -= 4;
    return cursor + 4;
}

const char* TiffFile::popTbyte(Tbyte& value, TuInt32& remaining, const char* cursor) noexcept {
    value = 0;
    if (!cursor || remaining < 1)
        return cursor;
    value = static_cast<Tbyte>(*cursor);
    remaining -= 1;
    return cursor + 1;
}

const char* TiffFile::popTboolean(Tboolean& value, TuInt32& remaining, const char* cursor) noexcept {
    Tbyte byte = 0;
    cursor = popTbyte(byte, remaining, cursor);
    value = byte == 1;
    return cursor;
}

const char* TiffFile::popTstring(Tstring& value, TuInt32& remaining, const char* cursor) noexcept {
    value.clear();
    if (!cursor || remaining == 0)
        return cursor;
    const void* end = std::memchr(cursor, '\0', remaining);
    const TuInt32 length = end ? static_cast<TuInt32>(static_cast<const char*>(end) - cursor) : remaining;
    value.set(cursor, length);
    const TuInt32 consumed = end ? length + 1 : length;
    remaining -= consumed;
    return cursor + consumed;
}
