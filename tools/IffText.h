#pragma once
// A whole chunk file as text and back, byte for byte: the document model
// that grundel-iff's totext and fromtext commands share, and that the tests
// and the fuzz target reach directly.
//
// A document is the file's chunks in order: groups with their identifier,
// type and children; data chunks with their bytes, shown as a typed value
// when the value's text form reads back to exactly those bytes; and
// whatever else the file holds ("GEND" and "EOVC" markers, stray bytes) as
// it stands. Where a chunk's size field or padding is not what writing it
// afresh would give, the node says so, so that encoding the document gives
// the original bytes again. The text format is described in the README's
// grundel-iff section.

#include <grundel/core/Ttypes.h>

#include <string>
#include <string_view>
#include <vector>

namespace iffText {

struct Node {
    enum class Kind { group, chunk, raw, gend, eovc };

    Kind kind = Kind::raw;
    TuInt32 id = 0;
    TuInt32 type = 0;          ///< a group's type code
    bool hasSize = false;      ///< the size field is size, not the length of what follows
    TuInt32 size = 0;
    bool hasPad = false;       ///< the padding is pad, not the zeros of the alignment
    std::string pad;
    std::string bytes;         ///< a chunk's data, or the raw bytes
    std::string valueText;     ///< a chunk's data as a typed value (empty: shown as bytes)
    std::vector<Node> children;
    int line = 0;              ///< where the node stood in the text (0: not from text)
};

struct Document {
    std::vector<Node> nodes;
    /// True when the file's structure could not be reproduced and the
    /// document holds the whole file as one raw node.
    bool flattened = false;
};

/// First line of every text.
inline constexpr std::string_view kMagic = "grundel-iff text 1";

/// Reads a chunk file held in memory. 0, or the chunk library's code of the
/// first problem (the one grundel-iff check reports), with where telling
/// which chunk. A file that reads but whose structure the text cannot
/// reproduce comes back flattened, never wrong.
[[nodiscard]] int readFile(std::string_view file, Document& document, std::string& where);

/// The text of a document.
std::string writeText(const Document& document);

/// Reads a text into a document. False with a message ("line N: ...") for
/// text that does not follow the format; time and memory are linear in the
/// text whatever it holds.
[[nodiscard]] bool parseText(std::string_view text, Document& document, std::string& message);

/// The bytes of a document. False with a message for a group whose contents
/// pass the 2 GiB a size field can count.
[[nodiscard]] bool encode(const Document& document, std::string& file, std::string& message);

/// The text form of one chunk's data as a typed value: through the typed
/// data registry, kept only when reading the text back gives exactly data
/// again. False when the data is to be shown as bytes.
[[nodiscard]] bool valueText(TuInt32 tag, std::string_view data, std::string& text);

/// The data of a chunk tagged tag from a value's text form ("-type NAME
/// ..." or a number, or "time TICKS"). False with a message for text that
/// is not a value, or a value whose own tag is not tag.
[[nodiscard]] bool valueBytes(TuInt32 tag, std::string_view text, std::string& data, std::string& message);

/// At most limit bytes for a person to look at: in quotes when they are
/// text, else in hexadecimal; "..." and the count when there are more.
std::string bytesPreview(std::string_view bytes, std::size_t limit);

/// Four characters for messages and for the text: printable ones as they
/// are, the others as '?'.
std::string idText(TuInt32 id);

} // namespace iffText
