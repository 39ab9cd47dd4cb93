// Chunk data as typed values: through the registry only, so that every
// letter class registered works here without a change.
#include "IffText.h"

#include <grundel/core/TargList.h>
#include <grundel/core/Texception.h>
#include <grundel/core/Tfile.h>
#include <grundel/data/Tdata.h>
#include <grundel/data/TdataChunk.h>
#include <grundel/data/TdataUnknown.h>
#include <grundel/data/TmetaLetter.h>
#include <grundel/iff/FLfile.h>
#include <grundel/iff/TiffFile.h>

#include <charconv>
#include <exception>

namespace iffText {
namespace {

TuInt32 be32(const unsigned char* at) {
    return TuInt32(at[0]) << 24 | TuInt32(at[1]) << 16 | TuInt32(at[2]) << 8 | TuInt32(at[3]);
}

// The payload the value writes as a chunk: written into a scratch file in
// memory and taken out of it again, so that the bytes are exactly those of
// the library's own writer.
bool payload(const Tdata& value, std::string& data) {
    TiffFile scratch;
    {
        const TiffSpecialNames memory; // "mem:" is our own block
        scratch.setFLfile(FLopen("mem:", "w"));
    }
    if (!scratch.isActive() || scratch.beginWriteGroup(TiffTag("FOR4"), TiffTag("VALU")) != 0 ||
        TdataChunk::write(scratch, value) != 0 || scratch.endWriteGroup() != 0)
        return false;
    const void* block = nullptr;
    std::size_t size = 0;
    if (scratch.memoryInfo(&block, &size) != 0 || size < 20)
        return false;
    const auto* bytes = static_cast<const unsigned char*>(block);
    const TuInt32 length = be32(bytes + 16); // FOR4, size, type, then the chunk's header
    if (length > size - 20)
        return false;
    data.assign(reinterpret_cast<const char*>(bytes + 20), length);
    return true;
}

std::string tagName(TuInt32 tag) { return "\"" + idText(tag) + "\""; }

} // namespace

bool valueText(TuInt32 tag, std::string_view data, std::string& text) {
    if (tag != Tdata::kTag.value() && !TmetaLetter::findTypeid(TiffTag(tag)))
        return false; // no class would read it back: bytes
    try {
        Tdata value;
        TuInt32 unread = 0;
        if (TdataChunk::decode(TiffTag(tag), data.data(), TuInt32(data.size()), value, &unread) != TdataChunk::kRead ||
            unread != 0 || value.cast(&TdataUnknown::fsMetaclass))
            return false;
        if (value.isAnimTime()) {
            text = "time " + std::to_string(value.timeValue().inTicks());
        } else {
            Tfile out;
            out.setFullDigits(true);
            if (!value.isLetter())
                out.putString("-type \"Tdata\" ");
            if (value.writeASCII(out, 0, true) != 0)
                return false;
            text = out.text();
            // One line per chunk: line ends inside a form are blanks to the
            // argument reader; the proof below catches any that were not.
            for (char& c : text)
                if (c == '\n' || c == '\r')
                    c = ' ';
            while (!text.empty() && text.back() == ' ')
                text.pop_back();
        }
        std::string again, ignored;
        return valueBytes(tag, text, again, ignored) && again == data;
    } catch (const std::exception&) {
        return false; // a letter that cannot be held in memory: bytes
    }
}

bool valueBytes(TuInt32 tag, std::string_view text, std::string& data, std::string& message) {
    try {
        Tdata value;
        if (text.substr(0, 5) == "time " || text == "time") {
            std::string_view ticks = text.substr(text.size() > 5 ? 5 : text.size());
            while (!ticks.empty() && (ticks.front() == ' ' || ticks.front() == '\t'))
                ticks.remove_prefix(1);
            while (!ticks.empty() && (ticks.back() == ' ' || ticks.back() == '\t'))
                ticks.remove_suffix(1);
            Tint32 count = 0;
            const auto read = std::from_chars(ticks.data(), ticks.data() + ticks.size(), count);
            if (ticks.empty() || read.ec != std::errc() || read.ptr != ticks.data() + ticks.size()) {
                message = "\"time\" takes one whole number of ticks (-2147483648 to 2147483647)";
                return false;
            }
            value = TanimTime(count);
        } else {
            const TargList args(text);
            int index = 0;
            if (args.isEmpty() || value.readASCII(args, index) != 0) {
                message = "not a value: \"" + std::string(text.substr(0, 80)) + "\"";
                return false;
            }
            if (index != args.count() - 1) {
                message = std::to_string(args.count() - 1 - index) + " argument(s) left over after the value, from \"" +
                          std::string(args[index + 1].view().substr(0, 40)) + "\"";
                return false;
            }
        }
        if (value.cast(&TdataUnknown::fsMetaclass)) {
            message = "unknown type name \"" + std::string(value.letter()->typeName().view()) +
                      "\" (a chunk of an unknown kind is written as bytes)";
            return false;
        }
        if (value.tag().value() != tag) {
            message = "the value's chunk tag is " + tagName(value.tag().value()) + ", not " + tagName(tag);
            return false;
        }
        if (!payload(value, data)) {
            message = "the value cannot be written";
            return false;
        }
        return true;
    } catch (const std::exception& e) {
        message = std::string("the value cannot be made: ") + e.what();
        return false;
    }
}

std::string idText(TuInt32 id) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned char c = static_cast<unsigned char>(id >> shift);
        text += c >= 32 && c < 127 ? static_cast<char>(c) : '?';
    }
    return text;
}

} // namespace iffText
