// grundel-iff dump, totext and fromtext: chunk files as typed values and as
// text.
#include "IffDataCommands.h"

#include "IffText.h"

#include <grundel/core/Tfile.h>
#include <grundel/data/Tdata.h>
#include <grundel/data/TdataChunk.h>
#include <grundel/data/TdataUnknown.h>
#include <grundel/data/TmetaLetter.h>
#include <grundel/iff/FLfile.h>
#include <grundel/iff/TiffFile.h>
#include <grundel/object/Tmetaclass.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

namespace {

const char* const kProgram = "grundel-iff";

const char* libraryName(const char* name, bool writing) {
    return std::strcmp(name, "-") == 0 ? (writing ? "stdout" : "stdin") : name;
}

int report(const char* name, int code, const std::string& detail = std::string()) {
    std::fprintf(stderr, "%s: %s: (%d) %s%s\n", kProgram, name, code, FLstrerror(code), detail.c_str());
    return 1;
}

// Opens a name typed on the command line: every name form is understood.
_FLfile* openTyped(const char* name, const char* mode) {
    const TiffSpecialNames typed;
    return FLopen(libraryName(name, mode[0] == 'w'), mode);
}

// The whole of a file or stream; false after a message.
bool readAll(const char* name, std::string& bytes) {
    _FLfile* file = openTyped(name, "r");
    if (!file)
        return report(name, FLerror()), false;
    char block[64 * 1024];
    long got = 0;
    while ((got = FLread(file, block, sizeof block)) > 0)
        bytes.append(block, std::size_t(got));
    const int code = got < 0 ? FLerror() : kFLnoError;
    if (FLclose(file) != 0 && code == kFLnoError)
        return report(name, FLerror()), false;
    return code == kFLnoError || (report(name, code), false);
}

// -- dump -------------------------------------------------------------------------------

std::string describe(TiffTag tag, const char* data, TuInt32 size) {
    const std::string_view bytes(data, size);
    Tdata value;
    TuInt32 unread = 0;
    const int result = TdataChunk::decode(tag, data, size, value, &unread);
    if (result == TdataChunk::kRefused) {
        const Tmetaclass* record = TmetaLetter::findTypeid(tag);
        return "bytes " + iffText::bytesPreview(bytes, 32) + "  (" + (record ? record->name() : "its class") +
               " refuses them)";
    }
    if (value.cast(&TdataUnknown::fsMetaclass))
        return "bytes " + iffText::bytesPreview(bytes, 32);
    if (value.isAnimTime())
        return "time " + std::to_string(value.timeValue().inTicks()) + " ticks";
    Tfile out;
    out.setFullDigits(true);
    if (value.isLetter()) {
        out.putString(value.letter()->typeName().view());
        out.putChar(' ');
    } else {
        out.putString("Tdata ");
    }
    value.writeASCII(out, 0);
    std::string text = out.text();
    for (char& c : text)
        if (c == '\n' || c == '\r')
            c = ' ';
    if (unread)
        text += "  (" + std::to_string(unread) + " bytes after the value)";
    return text;
}

int dumpLevel(TiffFile& file, int depth) {
    const std::string indent(std::size_t(depth < 32 ? depth : 32) * 2, ' ');
    for (;;) {
        TiffTag tag;
        Tint32 size = 0;
        int code = file.beginGet(tag, &size);
        if (code == kFLend)
            return kFLnoError;
        if (code != kFLnoError && code != kFLgroupHeader)
            return code;
        const TuInt64 at = file.flFile()->context->start - 8;
        char sizeText[24];
        std::snprintf(sizeText, sizeof sizeText, size < 0 ? "unknown" : "%ld", static_cast<long>(size));
        std::printf("%10llu %10s  %s%s", static_cast<unsigned long long>(at), sizeText, indent.c_str(),
                    iffText::idText(tag.value()).c_str());
        if (code == kFLgroupHeader) {
            TiffTag id, type;
            if ((code = file.beginReadGroup(id, type)) != kFLnoError)
                return code;
            std::printf(" '%s'\n", iffText::idText(type.value()).c_str());
            if ((code = dumpLevel(file, depth + 1)) != kFLnoError)
                return code;
            if ((code = file.endReadGroup()) != kFLnoError)
                return code;
            continue;
        }
        if (size < 0) {
            std::printf("  (not decoded: its size is unknown)\n");
        } else {
            const void* data = size > 0 ? file.beginRead(std::size_t(size)) : "";
            if (!data) {
                std::printf("\n");
                return file.error();
            }
            std::printf("  %s\n", describe(tag, static_cast<const char*>(data), TuInt32(size)).c_str());
        }
        if ((code = file.endGet()) != kFLnoError)
            return code;
    }
}

} // namespace

const char kDumpHelp[] =
    "usage: grundel-iff dump FILE\n"
    "\n"
    "Prints every chunk like tree, each data chunk with its contents decoded\n"
    "through the typed data registry: the type's name and the value in its\n"
    "text form (doubles with 17 significant digits, floats with 9), \"time N\n"
    "ticks\" for a time, and the first bytes of a chunk no class reads (\"bytes\").\n";

const char kToTextHelp[] =
    "usage: grundel-iff totext FILE\n"
    "\n"
    "Writes the whole chunk file as text to standard output: every group with\n"
    "its family, identifier and type, typed values in their text forms, other\n"
    "chunks as bytes, and whatever else the file holds (end markers, unusual\n"
    "sizes and padding, bytes after the last chunk) so that fromtext gives the\n"
    "same file back, byte for byte. A file check refuses is refused here too.\n";

const char kFromTextHelp[] =
    "usage: grundel-iff fromtext TEXT OUT\n"
    "\n"
    "Makes the chunk file OUT from TEXT as totext writes it (edited or not).\n"
    "Group sizes are counted afresh and padding follows the alignment, except\n"
    "where the text gives size= or pad=. A text that breaks the format, or that\n"
    "makes a file the chunk library would refuse, is reported with its line\n"
    "and nothing is written.\n";

int dumpCommand(const char* name) {
    TiffFile file;
    file.setFLfile(openTyped(name, "r"));
    if (!file.isActive())
        return report(name, FLerror());
    std::printf("%10s %10s  %s\n", "offset", "size", "chunk");
    int code = kFLnoError;
    try {
        code = dumpLevel(file, 0);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s: %s: %s\n", kProgram, name, e.what());
        return 1;
    }
    if (code != kFLnoError)
        return report(name, code);
    if (file.close() != 0)
        return report(name, FLerror());
    return 0;
}

int toTextCommand(const char* name) {
    std::string bytes;
    if (!readAll(name, bytes))
        return 1;
    iffText::Document document;
    std::string where;
    if (const int code = iffText::readFile(bytes, document, where))
        return report(name, code, where.empty() ? where : ": " + where);
    if (document.flattened)
        std::fprintf(stderr, "%s: %s: chunks overlap; the text holds the file whole, as bytes\n", kProgram, name);
    const std::string text = iffText::writeText(document);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "%s: standard output: %s\n", kProgram, std::strerror(errno));
        return 1;
    }
    return 0;
}

int fromTextCommand(const char* textName, const char* outName) {
    std::string text;
    if (!readAll(textName, text))
        return 1;
    iffText::Document document;
    std::string message, bytes;
    if (!iffText::parseText(text, document, message) || !iffText::encode(document, bytes, message)) {
        std::fprintf(stderr, "%s: %s: %s\n", kProgram, textName, message.c_str());
        return 1;
    }
    iffText::Document proof;
    std::string where;
    if (const int code = iffText::readFile(bytes, proof, where)) {
        std::fprintf(stderr, "%s: %s: the chunk library would refuse this file: (%d) %s%s%s\n", kProgram, textName,
                     code, FLstrerror(code), where.empty() ? "" : ": ", where.c_str());
        return 1;
    }
    _FLfile* out = openTyped(outName, "w");
    if (!out)
        return report(outName, FLerror());
    const bool written = bytes.empty() || FLwrite(out, bytes.data(), bytes.size()) == long(bytes.size());
    const int code = written ? kFLnoError : FLerror();
    if (FLclose(out) != 0 || !written)
        return report(outName, code ? code : FLerror());
    return 0;
}
