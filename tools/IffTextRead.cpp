// A chunk file into a document: the chunk library walks the file (so that
// the structure is the one grundel-iff check accepts), and every byte
// between the places it stops at is accounted for in some node.
#include "IffText.h"

#include <grundel/iff/FLfile.h>

#include <cstdio>
#include <cstring>

namespace iffText {
namespace {

constexpr TuInt32 kGend = FLmakeid("GEND");
constexpr char kGendBytes[8] = {'G', 'E', 'N', 'D', 0, 0, 0, 0};
constexpr char kEovcBytes[8] = {'E', 'O', 'V', 'C', char(0x80), 0, 0, 0};

TuInt32 be32(const char* at) {
    const auto* b = reinterpret_cast<const unsigned char*>(at);
    return TuInt32(b[0]) << 24 | TuInt32(b[1]) << 16 | TuInt32(b[2]) << 8 | TuInt32(b[3]);
}

bool isUnknown(TuInt32 size) { return size >= kFLsizeUnknown && size <= kFLsizeUnknownLast; }

TuInt64 padded(TuInt64 length, TuInt32 mask) { return (length + mask) & ~TuInt64(mask); }

class Reader {
public:
    Reader(std::string_view bytes, _FLfile* file) : fBytes(bytes), fFile(file) {}

    // Walks the level open in the file into nodes; cursor is where the bytes
    // not yet accounted for begin, and moves past the level's last chunk.
    int walk(std::vector<Node>& nodes, TuInt64& cursor) {
        for (;;) {
            TuInt32 id = 0;
            Tint32 size = 0;
            const TuInt64 before = position();
            int code = FLbgnget(fFile, &id, &size);
            _FLcontext* level = fFile->context;
            if (code == kFLend) {
                if (level->id == kGend) {
                    const TuInt64 header = level->start - 8;
                    addRaw(nodes, cursor, header);
                    addMarker(nodes, header, kGendBytes, Node::Kind::gend);
                    cursor = header + 8;
                } else {
                    addRaw(nodes, cursor, position()); // zeros skipped before the end
                    cursor = position();
                }
                return 0;
            }
            if (code != kFLnoError && code != kFLgroupHeader)
                return failed(code, before, 0);
            const TuInt64 header = level->start - 8;
            addRaw(nodes, cursor, header);
            const TuInt32 sizeField = be32(fBytes.data() + header + 4);
            const TuInt64 start = level->start;
            const TuInt32 mask = level->chunkMask;
            Node node;
            node.id = id;
            if (code == kFLgroupHeader) {
                node.kind = Node::Kind::group;
                node.type = level->type;
                TuInt32 type = 0;
                if ((code = FLbgnrgroup(fFile, &type, &size)) != kFLnoError)
                    return failed(code, header, id);
                TuInt64 inside = start + 4;
                if ((code = walk(node.children, inside)) != kFLnoError)
                    return code;
                if ((code = FLendrgroup(fFile)) != kFLnoError)
                    return failed(code, header, id);
                finish(node, sizeField, inside - start, inside, mask, nodes);
            } else {
                node.kind = Node::Kind::chunk;
                if ((code = FLendget(fFile)) != kFLnoError)
                    return failed(code, header, id);
                const TuInt64 end = clamp(position());
                TuInt64 dataEnd = isUnknown(sizeField) ? end : clamp(start + TuInt64(size));
                // A stream's data of unknown size ends where its "EOVC" stands.
                if (sizeField == kFLsizeStream && dataEnd >= start + 8 &&
                    std::memcmp(fBytes.data() + dataEnd - 8, kEovcBytes, 8) == 0)
                    dataEnd -= 8;
                node.bytes.assign(fBytes.substr(start, dataEnd - start));
                if (!isUnknown(sizeField) && !valueText(id, node.bytes, node.valueText))
                    node.valueText.clear();
                finish(node, sizeField, node.bytes.size(), dataEnd, mask, nodes);
            }
            cursor = position();
        }
    }

    TuInt64 position() const {
        const long at = FLtell(fFile);
        return TuInt64(at < 0 ? 0 : at) + (fFile->context->id ? fFile->context->start : 0);
    }

    TuInt64 clamp(TuInt64 at) const { return at < fBytes.size() ? at : fBytes.size(); }

    void addRaw(std::vector<Node>& nodes, TuInt64 from, TuInt64 to) {
        to = clamp(to);
        if (to <= from) {
            fOverlap = fOverlap || to < from;
            return;
        }
        Node raw;
        raw.bytes.assign(fBytes.substr(from, to - from));
        nodes.push_back(std::move(raw));
    }

    // A marker as its own node when its bytes are the usual ones.
    void addMarker(std::vector<Node>& nodes, TuInt64 at, const char (&usual)[8], Node::Kind kind) {
        if (at + 8 <= fBytes.size() && std::memcmp(fBytes.data() + at, usual, 8) == 0) {
            Node marker;
            marker.kind = kind;
            nodes.push_back(std::move(marker));
        } else {
            addRaw(nodes, at, at + 8);
        }
    }

    // The size field, padding and end marker of a chunk whose contents end
    // at contentEnd, length bytes after its data's start.
    void finish(Node& node, TuInt32 sizeField, TuInt64 length, TuInt64 contentEnd, TuInt32 mask,
                std::vector<Node>& nodes) {
        const TuInt64 end = clamp(position());
        if (end < contentEnd)
            fOverlap = true;
        const bool unknown = isUnknown(sizeField);
        node.hasSize = sizeField != length;
        node.size = sizeField;
        TuInt64 trailerEnd = end > contentEnd ? end : contentEnd;
        bool eovc = false;
        if (unknown && trailerEnd - contentEnd >= 8 &&
            std::memcmp(fBytes.data() + trailerEnd - 8, kEovcBytes, 8) == 0) {
            eovc = true;
            trailerEnd -= 8;
        }
        const std::string_view trailer = fBytes.substr(contentEnd, trailerEnd - contentEnd);
        const TuInt64 usual = unknown ? 0 : padded(sizeField, mask) - sizeField;
        if (trailer.size() != usual || trailer.find_first_not_of('\0') != std::string_view::npos) {
            node.hasPad = true;
            node.pad.assign(trailer);
        }
        nodes.push_back(std::move(node));
        if (eovc) {
            Node marker;
            marker.kind = Node::Kind::eovc;
            nodes.push_back(std::move(marker));
        }
    }

    int failed(int code, TuInt64 at, TuInt32 id) {
        if (fWhere.empty()) {
            char text[96];
            if (id)
                std::snprintf(text, sizeof text, "chunk \"%s\" at offset %llu", idText(id).c_str(),
                              static_cast<unsigned long long>(at));
            else
                std::snprintf(text, sizeof text, "at offset %llu", static_cast<unsigned long long>(at));
            fWhere = text;
        }
        return code;
    }

    const std::string& where() const { return fWhere; }
    bool overlapped() const { return fOverlap; }

private:
    std::string_view fBytes;
    _FLfile* fFile;
    std::string fWhere;
    bool fOverlap = false;
};

} // namespace

int readFile(std::string_view file, Document& document, std::string& where) {
    document = Document();
    where.clear();
    if (file.empty())
        return 0;
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", static_cast<const void*>(file.data()), file.size());
    _FLfile* opened = nullptr;
    {
        const TiffSpecialNames memory; // our own block
        opened = FLopen(name, "r");
    }
    if (!opened)
        return FLerror();
    Reader reader(file, opened);
    TuInt64 cursor = 0;
    int code = reader.walk(document.nodes, cursor);
    if (code == kFLnoError)
        reader.addRaw(document.nodes, cursor, file.size()); // bytes after the last chunk
    const int closed = FLclose(opened);
    if (code != kFLnoError) {
        where = reader.where();
        document.nodes.clear();
        return code;
    }
    if (closed != 0)
        return FLerror() ? FLerror() : kFLio;
    // The proof: the document must give the file back. Where the library
    // read some bytes twice (a size that ends inside a chunk's padding) it
    // cannot, and the file is kept whole.
    std::string again, ignored;
    if (reader.overlapped() || !encode(document, again, ignored) || again != file) {
        document.nodes.clear();
        Node whole;
        whole.bytes.assign(file);
        document.nodes.push_back(std::move(whole));
        document.flattened = true;
    }
    return 0;
}

} // namespace iffText
