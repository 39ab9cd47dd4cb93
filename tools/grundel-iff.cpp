// grundel-iff: the command-line face of the chunk file library.
//
//   grundel-iff tree FILE     the chunk tree: offset, size, identifier, group
//                             type and padding of every chunk
//   grundel-iff check FILE    reads every chunk; reports the first problem
//   grundel-iff demo [FILE]   writes a sample file, then prints its tree
//   grundel-iff dump FILE     the chunks with their contents as typed values
//   grundel-iff totext FILE   the whole file as text, to standard output
//   grundel-iff fromtext TEXT OUT   the file back from that text
//
// FILE "-" is standard input (tree, check) or standard output (demo). Data
// goes to standard output, messages to standard error.
//
// Exit status: 0 when all went well, 1 for a problem with the file, 2 for a
// wrong command line.
#include "IffDataCommands.h"
#include "IffText.h"

#include <grundel/grundel.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char* const kProgram = "grundel-iff";

const char kUsage[] =
    "usage: grundel-iff <command> [arguments]\n"
    "\n"
    "commands:\n"
    "  tree FILE     print the chunk tree of an IFF file\n"
    "  check FILE    read every chunk of an IFF file and report the first problem\n"
    "  demo [FILE]   write a sample file (default grundel-demo.iff) and print its tree\n"
    "  dump FILE     print every chunk, data chunks decoded as typed values\n"
    "  totext FILE   write the whole file as text (to standard output)\n"
    "  fromtext TEXT OUT\n"
    "                make the chunk file OUT from such a text, byte for byte\n"
    "\n"
    "FILE may be \"-\" for standard input or output, or any name the chunk library opens:\n"
    "a path, \"stdin\", \"stdout\", \"|command\", \"mmap:path\"...\n"
    "Run \"grundel-iff <command> --help\" for more.\n";

const char kTreeHelp[] =
    "usage: grundel-iff tree FILE\n"
    "\n"
    "Prints one line per chunk: the offset of its header, its size as declared\n"
    "(\"unknown\" for sizes not known when written), its identifier indented by\n"
    "nesting depth, the type of a group in quotes, and the zero bytes of padding\n"
    "that follow its data. Exits 1 at the first problem, after the lines so far.\n";

const char kCheckHelp[] =
    "usage: grundel-iff check FILE\n"
    "\n"
    "Walks the whole file and reads the data of every chunk. Prints a summary and\n"
    "exits 0 when the file is sound; otherwise prints the library's code and\n"
    "message for the first problem and exits 1. A file cut anywhere fails.\n";

const char kDemoHelp[] =
    "usage: grundel-iff demo [FILE]\n"
    "\n"
    "Writes a sample file (default grundel-demo.iff) with nested groups of the\n"
    "2-, 4- and 8-byte families, a list with properties and a concatenation,\n"
    "then prints its tree. With FILE \"-\" or \"stdout\" the file goes to standard\n"
    "output and nothing else does.\n";

bool wantsHelp(int argc, char** argv) {
    for (int i = 2; i < argc; ++i)
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0)
            return true;
    return false;
}

using iffText::idText;

// "-" is standard input or output.
const char* libraryName(const char* name, bool writing) {
    return std::strcmp(name, "-") == 0 ? (writing ? "stdout" : "stdin") : name;
}

bool isStandardOutput(const char* name) { return std::strcmp(libraryName(name, true), "stdout") == 0; }

int report(const char* name, int code, const std::string& detail = std::string()) {
    std::fprintf(stderr, "%s: %s: (%d) %s%s\n", kProgram, name, code, FLstrerror(code), detail.c_str());
    return 1;
}

struct Walk {
    bool print = true;
    bool readData = false;
    long chunks = 0;
    long groups = 0;
    TuInt64 dataBytes = 0;
    std::vector<char> block; // one buffer for the data of every chunk
    // Where a file ended too soon: the chunk that runs past it, or a header
    // cut short (id 0).
    bool cut = false;
    TuInt64 cutAt = 0;
    TuInt32 cutId = 0;

    // Notes where code 8 arose (the innermost place only) and passes code on.
    int failed(int code, TuInt64 at, TuInt32 id) {
        if (code == kFLincomplete && !cut) {
            cut = true;
            cutAt = at;
            cutId = id;
        }
        return code;
    }
    std::string cutDetail() const {
        if (!cut)
            return std::string();
        const std::string what = cutId ? "chunk \"" + idText(cutId) + "\"" : std::string("the header");
        return ": " + what + " at offset " + std::to_string(cutAt) + " runs past the end";
    }
};

void printLine(const _FLcontext* level, TuInt32 id, Tint32 size, TuInt32 type, bool group, int depth) {
    char sizeText[24];
    if (size < 0)
        std::snprintf(sizeText, sizeof sizeText, "unknown");
    else
        std::snprintf(sizeText, sizeof sizeText, "%ld", static_cast<long>(size));
    std::string line(static_cast<std::size_t>(depth) * 2, ' ');
    line += idText(id);
    if (group)
        line += " '" + idText(type) + "'";
    if (size >= 0) {
        const TuInt64 padded = (TuInt64(size) + level->chunkMask) & ~TuInt64(level->chunkMask);
        if (padded > TuInt64(size))
            line += "  pad " + std::to_string(padded - TuInt64(size));
    }
    std::printf("%10llu %10s  %s\n", static_cast<unsigned long long>(level->start - 8), sizeText, line.c_str());
}

int walkLevel(_FLfile* file, Walk& walk, int depth) {
    for (;;) {
        const long headerAt = FLtell(file);
        TuInt32 id = 0;
        Tint32 size = 0;
        int code = FLbgnget(file, &id, &size);
        if (code == kFLend)
            return 0;
        if (code != kFLnoError && code != kFLgroupHeader)
            return walk.failed(code, TuInt64(headerAt), 0);
        const TuInt64 at = file->context->start - 8;
        const bool group = code == kFLgroupHeader;
        if (walk.print)
            printLine(file->context, id, size, FLgrouptype(file), group, depth);
        if (group) {
            ++walk.groups;
            TuInt32 type = 0;
            if ((code = FLbgnrgroup(file, &type, &size)) != kFLnoError)
                return walk.failed(code, at, id);
            if ((code = walkLevel(file, walk, depth + 1)) != kFLnoError)
                return code;
            if ((code = FLendrgroup(file)) != kFLnoError)
                return walk.failed(code, at, id);
            continue;
        }
        ++walk.chunks;
        if (walk.readData && size > 0) {
            for (Tint32 left = size; left > 0;) {
                const std::size_t take = std::min(static_cast<std::size_t>(left), walk.block.size());
                if ((code = FLget(file, walk.block.data(), take)) != kFLnoError)
                    return walk.failed(code, at, id);
                left -= static_cast<Tint32>(take);
                walk.dataBytes += take;
            }
        }
        if ((code = FLendget(file)) != kFLnoError)
            return walk.failed(code, at, id);
    }
}

// Opens a name typed on the command line: every name form is understood.
_FLfile* openTyped(const char* name, const char* mode) {
    const TiffSpecialNames typed;
    return FLopen(name, mode);
}

// Walks a whole file; 0 when it is sound and holds at least one chunk.
int walkFile(const char* name, Walk& walk) {
    _FLfile* file = openTyped(libraryName(name, false), "r");
    if (!file)
        return report(name, FLerror());
    if (walk.print)
        std::printf("%10s %10s  %s\n", "offset", "size", "chunk");
    const int code = walkLevel(file, walk, 0);
    const bool closed = FLclose(file) == 0;
    if (code != kFLnoError)
        return report(name, code, walk.cutDetail());
    if (!closed) {
        std::fprintf(stderr, "%s: %s: could not be closed (a command that failed?)\n", kProgram, name);
        return 1;
    }
    if (walk.chunks + walk.groups == 0) {
        std::fprintf(stderr, "%s: %s: no chunks: the file is empty\n", kProgram, name);
        return 1;
    }
    return 0;
}

int tree(const char* name) {
    Walk walk;
    return walkFile(name, walk);
}

int check(const char* name) {
    Walk walk;
    walk.print = false;
    walk.readData = true;
    walk.block.resize(64 * 1024);
    const int status = walkFile(name, walk);
    if (status == 0)
        std::printf("%s: ok: %ld groups, %ld data chunks, %llu bytes of data\n", name, walk.groups, walk.chunks,
                    static_cast<unsigned long long>(walk.dataBytes));
    return status;
}

int demo(const char* name) {
    {
        TiffFile out;
        out.setFLfile(openTyped(libraryName(name, true), "w"));
        if (!out.isActive())
            return report(name, FLerror());
        const char text[] = "written by grundel-iff demo";
        const unsigned char numbers[] = {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3};
        int code = out.beginWriteGroup(TiffTag("FOR4"), TiffTag("DEMO"));
        code = code ? code : out.putChunk(TiffTag("TEXT"), static_cast<Tint32>(sizeof text), text);
        code = code ? code : out.beginWriteGroup(TiffTag("FORM"), TiffTag("SHRT"));
        code = code ? code : out.putChunk(TiffTag("ODD "), 3, "abc");
        code = code ? code : out.putChunk(TiffTag("NUMS"), static_cast<Tint32>(sizeof numbers), numbers);
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.beginWriteGroup(TiffTag("FOR8"), TiffTag("WIDE"));
        code = code ? code : out.putChunk(TiffTag("ODD "), 5, "vwxyz");
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.beginWriteGroup(TiffTag("LIS4"), TiffTag("LIST"));
        code = code ? code : out.beginWriteGroup(TiffTag("PRO4"), TiffTag("PROP"));
        code = code ? code : out.putChunk(TiffTag("NAME"), 6, "shared");
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.beginWriteGroup(TiffTag("FOR4"), TiffTag("ITEM"));
        code = code ? code : out.putChunk(TiffTag("SIZE"), 4, numbers + 8);
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.beginWriteGroup(TiffTag("CAT4"), TiffTag("MORE"));
        code = code ? code : out.beginWriteGroup(TiffTag("FOR4"), TiffTag("LAST"));
        code = code ? code : out.putChunk(TiffTag("BYTE"), 1, "!");
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.endWriteGroup();
        code = code ? code : out.endWriteGroup();
        if (code)
            return report(name, code);
        if (out.close() != 0)
            return report(name, FLerror());
    }
    if (isStandardOutput(name)) {
        std::fprintf(stderr, "%s: wrote the sample to standard output\n", kProgram);
        return 0;
    }
    std::fprintf(stderr, "%s: wrote %s\n", kProgram, name);
    return tree(name);
}

} // namespace

int main(int argc, char** argv) {
    FLsetprogname(kProgram);
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        std::fputs(kUsage, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    const std::string command = argv[1];
    const char* help = command == "tree"       ? kTreeHelp
                       : command == "check"    ? kCheckHelp
                       : command == "demo"     ? kDemoHelp
                       : command == "dump"     ? kDumpHelp
                       : command == "totext"   ? kToTextHelp
                       : command == "fromtext" ? kFromTextHelp
                                               : nullptr;
    if (!help) {
        std::fprintf(stderr, "%s: unknown command \"%s\"\n\n%s", kProgram, argv[1], kUsage);
        return 2;
    }
    if (wantsHelp(argc, argv)) {
        std::fputs(help, stdout);
        return 0;
    }
    if (command == "demo") {
        if (argc > 3) {
            std::fputs(help, stderr);
            return 2;
        }
        return demo(argc == 3 ? argv[2] : "grundel-demo.iff");
    }
    if (command == "fromtext") {
        if (argc != 4) {
            std::fputs(help, stderr);
            return 2;
        }
        return fromTextCommand(argv[2], argv[3]);
    }
    if (argc != 3) {
        std::fputs(help, stderr);
        return 2;
    }
    if (command == "dump")
        return dumpCommand(argv[2]);
    if (command == "totext")
        return toTextCommand(argv[2]);
    return command == "tree" ? tree(argv[2]) : check(argv[2]);
}
