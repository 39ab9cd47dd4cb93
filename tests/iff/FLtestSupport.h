#pragma once

// Helpers for the chunk library's tests: memory names, a chunk tree that can
// be written and read back, and temporary files.

#include "grundel/iff/FLfile.h"

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace fltest {

using Bytes = std::vector<unsigned char>;

inline std::string memName(const void* data, std::size_t size) {
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", data, size);
    return name;
}

inline std::string idText(TuInt32 id) {
    std::string s(4, ' ');
    for (int i = 0; i < 4; ++i)
        s[i] = static_cast<char>(id >> (24 - 8 * i));
    return s;
}

/// A chunk or a group, to write and to compare with what is read back.
struct Node {
    TuInt32 id = 0;
    TuInt32 type = 0; // groups
    Bytes data;       // data chunks
    std::vector<Node> children;
    bool isGroup() const { return type != 0; }
    bool operator==(const Node& o) const {
        return id == o.id && type == o.type && data == o.data && children == o.children;
    }
};

inline Node chunk(const char (&id)[5], Bytes data) {
    Node n;
    n.id = FLmakeid(id);
    n.data = std::move(data);
    return n;
}

inline Node group(const char (&id)[5], const char (&type)[5], std::vector<Node> children) {
    Node n;
    n.id = FLmakeid(id);
    n.type = FLmakeid(type);
    n.children = std::move(children);
    return n;
}

/// Writes node and everything in it; 0 or the first failing code.
inline int write(_FLfile* file, const Node& node) {
    if (!node.isGroup())
        return FLputchunk(file, node.id, static_cast<Tint32>(node.data.size()), node.data.data());
    if (int code = FLbgnwgroup(file, node.id, node.type))
        return code;
    for (const Node& child : node.children)
        if (int code = write(file, child))
            return code;
    return FLendwgroup(file);
}

/// Reads every chunk of the current level into out; 0 at a clean end, or the
/// first failing code.
inline int readLevel(_FLfile* file, std::vector<Node>& out) {
    for (;;) {
        TuInt32 id = 0;
        Tint32 size = 0;
        const int code = FLbgnget(file, &id, &size);
        if (code == kFLend)
            return 0;
        Node node;
        node.id = id;
        if (code == kFLgroupHeader) {
            TuInt32 type = 0;
            if (int c = FLbgnrgroup(file, &type, &size))
                return c;
            node.type = type;
            if (int c = readLevel(file, node.children))
                return c;
            if (int c = FLendrgroup(file))
                return c;
        } else if (code == kFLnoError) {
            if (size < 0)
                return kFLbadSize;
            node.data.resize(static_cast<std::size_t>(size));
            if (int c = FLget(file, node.data.data(), node.data.size()))
                return c;
            if (int c = FLendget(file))
                return c;
        } else {
            return code;
        }
        out.push_back(std::move(node));
    }
}

/// Reads a whole file.
inline int readAll(const std::string& name, std::vector<Node>& out, const char* mode = "r") {
    _FLfile* file = FLopen(name.c_str(), mode);
    if (!file)
        return FLerror();
    const int code = readLevel(file, out);
    const int closed = FLclose(file);
    return code ? code : closed;
}

/// A temporary file path, removed with the object.
class TempFile {
public:
    explicit TempFile(const char* suffix = ".iff") {
        char pattern[] = "/tmp/grundel_iff_XXXXXX";
        const int fd = ::mkstemp(pattern);
        if (fd >= 0)
            ::close(fd);
        fPath = std::string(pattern) + suffix;
        std::rename(pattern, fPath.c_str());
    }
    ~TempFile() { std::remove(fPath.c_str()); }
    const std::string& path() const { return fPath; }
    Bytes bytes() const {
        Bytes out;
        if (std::FILE* f = std::fopen(fPath.c_str(), "rb")) {
            int c;
            while ((c = std::fgetc(f)) != EOF)
                out.push_back(static_cast<unsigned char>(c));
            std::fclose(f);
        }
        return out;
    }
    void setBytes(const Bytes& b) const {
        if (std::FILE* f = std::fopen(fPath.c_str(), "wb")) {
            if (!b.empty())
                std::fwrite(b.data(), 1, b.size(), f);
            std::fclose(f);
        }
    }

private:
    std::string fPath;
};

/// Writes root into a fresh "mem:" file and returns the bytes.
inline Bytes writeToMemory(const Node& root, int* result = nullptr) {
    const TiffSpecialNames names;
    _FLfile* file = FLopen("mem:", "w");
    const int code = file ? write(file, root) : FLerror();
    void* data = nullptr;
    std::size_t size = 0;
    const int closed = FLclosemem(file, &data, &size);
    if (result)
        *result = code ? code : closed;
    Bytes out(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
    std::free(data);
    return out;
}

inline Bytes be(std::initializer_list<int> bytes) {
    Bytes out;
    for (int b : bytes)
        out.push_back(static_cast<unsigned char>(b));
    return out;
}

inline Bytes text(const char* s) { return Bytes(s, s + std::char_traits<char>::length(s)); }

inline Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

/// A chunk header: the identifier and the size, big-endian.
inline Bytes headerBytes(const char* id, TuInt32 size) {
    return cat({text(id), be({int(size >> 24), int((size >> 16) & 0xFF), int((size >> 8) & 0xFF), int(size & 0xFF)})});
}

/// depth "FORM" groups of known size, one inside the other, the innermost
/// holding one 4-byte chunk.
inline Bytes nestedForms(int depth) {
    Bytes inside = cat({headerBytes("DATA", 4), text("leaf")});
    for (int i = 0; i < depth; ++i)
        inside = cat({headerBytes("FORM", TuInt32(4 + inside.size())), text("NEST"), inside});
    return inside;
}

/// levels pairs of a "FORM" of known size whose data is only the header of
/// a "FORM" of unknown size, which holds the next pair. Every known group
/// ends where the unknown one inside it begins, so a reader that does not
/// end the unknown group with its parent reads the rest again for each
/// level: time doubling per level.
inline Bytes unknownSizeChain(int levels) {
    Bytes out;
    for (int i = 0; i < levels; ++i)
        out = cat({out, headerBytes("FORM", 16), text("KNWN"), headerBytes("FORM", kFLsizePatched), text("UNKN")});
    return out;
}

} // namespace fltest
