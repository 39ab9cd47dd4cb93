// Arbitrary bytes to the typed-data readers. The first byte picks the way:
// 0, a chunk's tag (4 bytes) and payload for TdataChunk::decode; 1, a whole
// chunk file read value by value with TdataChunk::read; 2, a line of text
// for Tdata::readASCII into a number, a time or an address envelope.
// Every registered letter class is reached through its tag or type name
// (the built-in ones are registered on the first lookup). Whatever is read
// must write back and read again; kept chunks, and the letters that keep
// their elements' bits, must come back byte for byte, and a value read from
// what it wrote must write the same bytes again.
#include <grundel/grundel.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "typed-data fuzz: %s\n", what);
        std::abort();
    }
}

// The payload of the single chunk of a "mem:" file written by write().
std::string rewrittenPayload(const Tdata& value, int& code) {
    const TiffSpecialNames names;
    TiffFile out("mem:", "w");
    if (out.beginWriteGroup(TiffTag("FORM"), TiffTag("FUZZ")) != 0)
        return code = -2, std::string();
    code = TdataChunk::write(out, value);
    (void)out.endWriteGroup();
    const void* data = nullptr;
    std::size_t size = 0;
    (void)out.memoryInfo(&data, &size);
    std::string bytes(static_cast<const char*>(data), size);
    (void)out.close();
    if (bytes.size() < 20)
        return std::string();
    const std::size_t length = std::size_t(std::uint8_t(bytes[16])) << 24 | std::size_t(std::uint8_t(bytes[17])) << 16 |
                               std::size_t(std::uint8_t(bytes[18])) << 8 | std::uint8_t(bytes[19]);
    return bytes.substr(20, length);
}

// Letters that keep the bits of what they read write back exactly the
// bytes they consumed. (Float tuples go through doubles, which may quiet a
// signalling NaN; a transformation rebuilds its cached rotation.)
bool keepsBits(const Tdata& value) {
    for (Tmetaclass* record : {&Tdata2Double::fsMetaclass, &Tdata3Double::fsMetaclass, &Tdata4Double::fsMetaclass,
                               &Tdata2Int32::fsMetaclass, &Tdata3Int32::fsMetaclass, &Tdata2Int16::fsMetaclass,
                               &Tdata3Int16::fsMetaclass, &TdataSpectrum::fsMetaclass, &TdataReflectance::fsMetaclass})
        if (value.typeof() == record)
            return true;
    const auto* matrix = static_cast<const TdataMatrix*>(value.cast(&TdataMatrix::fsMetaclass));
    return matrix && !matrix->isTransform();
}

// A letter's text, with its type, must read back into a letter with the
// same text (bytes may differ only in NaN payloads, which text drops).
// Whether value is, or a compound holds at any depth, a value of a type
// nobody registered: its text keeps the rest of the line (or, read from
// bytes, has none), so a compound holding one reads back only in part.
bool holdsUnknown(const Tdata& value, int depth = 0) {
    if (value.cast(&TdataUnknown::fsMetaclass))
        return true;
    const auto* compound = static_cast<const TdataCompound*>(value.cast(&TdataCompound::fsMetaclass));
    if (!compound || depth > TdataCompound::kMaxDepth)
        return false;
    for (const Tdata& child : *compound)
        if (holdsUnknown(child, depth + 1))
            return true;
    return false;
}

void checkText(const Tdata& value) {
    if (!value.letter() || holdsUnknown(value))
        return;
    Tfile text;
    (void)value.writeASCII(text, 0, true);
    const TargList args(text.text());
    Tdata back;
    int at = 0;
    check(back.readASCII(args, at) == 0, "a letter's text does not read back");
    check(at == args.count() - 1, "a letter's text not read to its end");
    Tfile again;
    (void)back.writeASCII(again, 0, true);
    check(again.text() == text.text(), "a letter's text changed on reading it back");
}

void decodeOne(const char* bytes, std::size_t size) {
    if (size < 4)
        return;
    const TiffTag tag(TuInt32(std::uint8_t(bytes[0])) << 24 | TuInt32(std::uint8_t(bytes[1])) << 16 |
                      TuInt32(std::uint8_t(bytes[2])) << 8 | std::uint8_t(bytes[3]));
    const std::string payload(bytes + 4, size - 4);
    Tdata value;
    TuInt32 unread = 0;
    const int result = TdataChunk::decode(tag, payload.data(), TuInt32(payload.size()), value, &unread);
    check(result == TdataChunk::kRead || result == TdataChunk::kRefused, "decode result");
    check(unread <= payload.size(), "unread beyond the payload");
    int code = 0;
    const std::string again = rewrittenPayload(value, code);
    if (code == kFLbadId || code == kFLreservedId || code == kFLunexpected)
        return; // an identifier no data chunk may have here (a group's, say)
    const bool kept = value.cast(&TdataUnknown::fsMetaclass) != nullptr;
    const bool immediate = tag == Tdata::kTag && (payload.size() == 8 || payload.size() == 4);
    if (kept || immediate) {
        check(code == 0, "writing a read value back");
        check(again == payload, "bytes not reproduced");
    }
    if (result == TdataChunk::kRead && keepsBits(value)) {
        check(code == 0, "writing a read letter back");
        check(again == payload.substr(0, payload.size() - unread), "a letter's bytes not reproduced");
    }
    checkText(value);
    if (code != 0)
        return;
    // What a value writes reads back into a value that writes it again.
    Tdata second;
    (void)TdataChunk::decode(tag, again.data(), TuInt32(again.size()), second);
    int secondCode = 0;
    check(rewrittenPayload(second, secondCode) == again && secondCode == 0, "a written value does not read back");
}

void readFile(const char* bytes, std::size_t size) {
    const TiffSpecialNames names;
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", static_cast<const void*>(bytes), size);
    TiffFile in(name, "r");
    if (!in.isActive())
        return;
    int depth = 0;
    for (int guard = 0; guard < 10000; ++guard) {
        Tdata value;
        const int code = TdataChunk::read(in, value);
        if (code == TdataChunk::kRead || code == TdataChunk::kRefused) {
            int written = 0;
            (void)rewrittenPayload(value, written);
        } else if (code == kFLgroupHeader && depth < 8) {
            // The header is read: enter the group.
            TuInt32 type = 0;
            Tint32 length = 0;
            if (FLbgnrgroup(in.flFile(), &type, &length) != 0)
                return;
            ++depth;
        } else if (code == kFLgroupHeader) {
            if (in.skipGroup() != 0)
                return;
        } else if (code == kFLend && depth > 0) {
            if (in.endReadGroup() != 0)
                return;
            --depth;
        } else {
            return;
        }
    }
}

void readText(const char* bytes, std::size_t size, int kind) {
    std::string line(bytes, size);
    for (char& c : line)
        if (c == '\0')
            c = ' ';
    const TargList args(line);
    Tdata value = kind == 0 ? Tdata(0.0) : kind == 1 ? Tdata(TanimTime()) : Tdata(TuInt64(0));
    int index = 0;
    if (value.readASCII(args, index) != 0)
        return;
    check(index >= 0 && index < args.count(), "index outside the arguments");
    Tfile text;
    (void)value.writeASCII(text, 0, true);
    for (int hint = 1; hint <= 8; ++hint) {
        Tfile other;
        (void)value.writeASCII(other, hint, true);
    }
    if (text.text().empty())
        return; // the NULL value
    const TargList again(text.text());
    Tdata back = value.isAnimTime() ? Tdata(TanimTime()) : value.isAddr() ? Tdata(TuInt64(0)) : Tdata(0.0);
    int at = 0;
    check(back.readASCII(again, at) == 0, "written text does not read back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1 || size > 65536)
        return 0;
    const char* bytes = reinterpret_cast<const char*>(data) + 1;
    switch (data[0] % 5) {
    case 0: decodeOne(bytes, size - 1); break;
    case 1: readFile(bytes, size - 1); break;
    default: readText(bytes, size - 1, data[0] % 5 - 2); break;
    }
    return 0;
}
