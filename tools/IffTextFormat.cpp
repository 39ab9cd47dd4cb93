// The text of a document, its reader, and the bytes of a document.
#include "IffText.h"

#include <grundel/iff/FLfile.h>

#include <cstdio>

namespace iffText {
namespace {

struct GroupKind {
    TuInt32 id;
    const char* family; // the keyword that opens the group in text
    TuInt32 mask;
};

constexpr GroupKind kGroups[] = {
    {FLmakeid("FORM"), "form", 1}, {FLmakeid("FOR4"), "form", 3}, {FLmakeid("FOR8"), "form", 7},
    {FLmakeid("CAT "), "cat", 1},  {FLmakeid("CAT4"), "cat", 3},  {FLmakeid("CAT8"), "cat", 7},
    {FLmakeid("LIST"), "list", 1}, {FLmakeid("LIS4"), "list", 3}, {FLmakeid("LIS8"), "list", 7},
    {FLmakeid("PROP"), "prop", 1}, {FLmakeid("PRO4"), "prop", 3}, {FLmakeid("PRO8"), "prop", 7},
};

const GroupKind* groupOf(TuInt32 id) {
    for (const GroupKind& group : kGroups)
        if (group.id == id)
            return &group;
    return nullptr;
}

constexpr std::string_view kKeywords[] = {"form", "list", "cat", "prop", "raw", "gend", "eovc", "bytes", "time", "}"};

bool isKeyword(std::string_view word) {
    for (std::string_view keyword : kKeywords)
        if (word == keyword)
            return true;
    return false;
}

constexpr char kGendBytes[8] = {'G', 'E', 'N', 'D', 0, 0, 0, 0};
constexpr char kEovcBytes[8] = {'E', 'O', 'V', 'C', char(0x80), 0, 0, 0};
constexpr TuInt32 kMaxLength = 0x7FFFFFFF;

bool isUnknown(TuInt32 size) { return size >= kFLsizeUnknown && size <= kFLsizeUnknownLast; }

TuInt64 padding(TuInt32 sizeField, TuInt32 mask) {
    return isUnknown(sizeField) ? 0 : ((TuInt64(sizeField) + mask) & ~TuInt64(mask)) - sizeField;
}

const char kHex[] = "0123456789abcdef";

void appendHex(std::string& out, std::string_view bytes) {
    for (unsigned char c : bytes) {
        out += kHex[c >> 4];
        out += kHex[c & 15];
    }
}

// -- Writing --------------------------------------------------------------------------

std::string quoted(std::string_view bytes) {
    std::string out = "\"";
    for (unsigned char c : bytes) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        case 0: out += "\\0"; break;
        default:
            if (c >= 32 && c < 127) {
                out += char(c);
            } else {
                out += "\\x";
                out += kHex[c >> 4];
                out += kHex[c & 15];
            }
        }
    }
    return out + "\"";
}

std::string idToken(TuInt32 id) {
    std::string text;
    bool bare = true;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned char c = static_cast<unsigned char>(id >> shift);
        bare = bare && c > 32 && c < 127 && c != '"' && c != '\\' && c != '{' && c != '}';
        text += char(c);
    }
    bare = bare && text[0] != '#' && !isKeyword(text);
    return bare ? text : quoted(text);
}

std::string sizeToken(TuInt32 size) {
    char text[24];
    std::snprintf(text, sizeof text, size > kMaxLength ? "size=0x%08X" : "size=%u", size);
    return text;
}

std::string padToken(std::string_view pad) {
    std::string out = "pad=";
    if (pad.empty())
        return out + "none";
    appendHex(out, pad);
    return out;
}

// Text, with some zero bytes at its end at most: shown in quotes.
bool looksLikeText(std::string_view bytes) {
    std::size_t end = bytes.size();
    while (end > 0 && bytes[end - 1] == '\0')
        --end;
    if (end == 0)
        return false;
    for (std::size_t i = 0; i < end; ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (!((c >= 32 && c < 127) || c == '\n' || c == '\t' || c == '\r'))
            return false;
    }
    return true;
}

// "bytes N" and the bytes: on the same line when short, else on lines of
// their own below, 32 bytes of hexadecimal or up to 64 characters of text
// (broken after line ends) each.
void appendBytes(std::string& out, const char* keyword, std::string_view bytes, std::size_t indent) {
    out += keyword;
    out += ' ';
    out += std::to_string(bytes.size());
    std::vector<std::string> pieces;
    if (looksLikeText(bytes)) {
        for (std::size_t at = 0; at < bytes.size();) {
            std::size_t end = at;
            while (end < bytes.size() && end - at < 64 && bytes[end] != '\n')
                ++end;
            if (end < bytes.size() && bytes[end] == '\n')
                ++end;
            pieces.push_back(quoted(bytes.substr(at, end - at)));
            at = end;
        }
    } else {
        for (std::size_t at = 0; at < bytes.size(); at += 32) {
            std::string line;
            for (std::size_t word = at; word < bytes.size() && word < at + 32; word += 4) {
                if (word != at)
                    line += ' ';
                appendHex(line, bytes.substr(word, 4));
            }
            pieces.push_back(std::move(line));
        }
    }
    if (pieces.size() == 1 && pieces[0].size() <= 72) {
        out += ' ';
        out += pieces[0];
        out += '\n';
        return;
    }
    out += '\n';
    for (const std::string& piece : pieces) {
        out.append(indent + 4, ' ');
        out += piece;
        out += '\n';
    }
}

void writeNodes(const std::vector<Node>& nodes, int depth, std::string& out) {
    const std::size_t indent = 2 * std::size_t(depth < 32 ? depth : 32);
    for (const Node& node : nodes) {
        out.append(indent, ' ');
        switch (node.kind) {
        case Node::Kind::group: {
            const GroupKind* group = groupOf(node.id);
            out += group ? group->family : "form";
            out += ' ' + idToken(node.id) + ' ' + idToken(node.type);
            if (node.hasSize)
                out += ' ' + sizeToken(node.size);
            out += " {\n";
            writeNodes(node.children, depth + 1, out);
            out.append(indent, ' ');
            out += '}';
            if (node.hasPad)
                out += ' ' + padToken(node.pad);
            out += '\n';
            break;
        }
        case Node::Kind::chunk:
            out += idToken(node.id);
            if (node.hasSize)
                out += ' ' + sizeToken(node.size);
            if (node.hasPad)
                out += ' ' + padToken(node.pad);
            out += ' ';
            if (node.valueText.empty()) {
                appendBytes(out, "bytes", node.bytes, indent);
            } else {
                out += node.valueText;
                out += '\n';
            }
            break;
        case Node::Kind::raw: appendBytes(out, "raw", node.bytes, indent); break;
        case Node::Kind::gend: out += "gend\n"; break;
        case Node::Kind::eovc: out += "eovc\n"; break;
        }
    }
}

// -- Reading --------------------------------------------------------------------------

struct Token {
    std::string text; // with the quotes taken off and the escapes decoded
    bool quoted = false;
    std::size_t begin = 0; // in the line
};

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool parseNumber(std::string_view text, TuInt64 limit, TuInt64& value) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty() || text.size() > 12)
        return false;
    value = 0;
    for (char c : text) {
        const int digit = hexValue(c);
        if (digit < 0 || digit >= base)
            return false;
        value = value * TuInt64(base) + TuInt64(digit);
    }
    return value <= limit;
}

class Parser {
public:
    Parser(Document& document, std::string& message) : fMessage(message) { fLevels.push_back(&document.nodes); }

    bool parse(std::string_view text) {
        bool sawMagic = false;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t end = text.find('\n', at);
            if (end == std::string_view::npos)
                end = text.size();
            fLine = text.substr(at, end - at);
            at = end + 1;
            ++fLineNumber;
            fPos = 0;
            skipBlanks();
            if (fPos == fLine.size() || fLine[fPos] == '#')
                continue;
            if (!sawMagic) {
                std::string_view first = fLine.substr(fPos);
                while (!first.empty() && (first.back() == ' ' || first.back() == '\t' || first.back() == '\r'))
                    first.remove_suffix(1);
                if (first != kMagic)
                    return notText();
                sawMagic = true;
                continue;
            }
            if (!(fPending ? moreBytes() : statement()))
                return false;
        }
        if (!sawMagic) {
            fLineNumber = 1;
            return notText();
        }
        if (fPending) {
            fLineNumber = fPendingLine;
            return fail(std::to_string(fPendingNeed) + " byte(s) declared but not given");
        }
        if (!fGroups.empty()) {
            fLineNumber = fGroups.back()->line;
            return fail("the group " + idText(fGroups.back()->id) + " is not closed by \"}\"");
        }
        return true;
    }

private:
    bool fail(const std::string& text) {
        fMessage = "line " + std::to_string(fLineNumber) + ": " + text;
        return false;
    }

    bool notText() { return fail("not a grundel-iff text: it begins with the line \"" + std::string(kMagic) + "\""); }

    void skipBlanks() {
        while (fPos < fLine.size() && (fLine[fPos] == ' ' || fLine[fPos] == '\t' || fLine[fPos] == '\r'))
            ++fPos;
    }

    // The next token; false at the end of the line (or on an error, with
    // fMessage set and fBad).
    bool next(Token& token) {
        skipBlanks();
        if (fPos == fLine.size())
            return false;
        token = Token();
        token.begin = fPos;
        if (fLine[fPos] != '"') {
            while (fPos < fLine.size() && fLine[fPos] != ' ' && fLine[fPos] != '\t' && fLine[fPos] != '\r')
                token.text += fLine[fPos++];
            return true;
        }
        token.quoted = true;
        for (++fPos; fPos < fLine.size(); ++fPos) {
            char c = fLine[fPos];
            if (c == '"') {
                ++fPos;
                return true;
            }
            if (c == '\\') {
                if (++fPos == fLine.size())
                    break;
                switch (fLine[fPos]) {
                case 'n': c = '\n'; break;
                case 't': c = '\t'; break;
                case 'r': c = '\r'; break;
                case '0': c = '\0'; break;
                case '"': c = '"'; break;
                case '\\': c = '\\'; break;
                case 'x': {
                    const int high = fPos + 1 < fLine.size() ? hexValue(fLine[fPos + 1]) : -1;
                    const int low = fPos + 2 < fLine.size() ? hexValue(fLine[fPos + 2]) : -1;
                    if (high < 0 || low < 0)
                        return bad("\"\\x\" takes two hexadecimal digits");
                    c = char(high * 16 + low);
                    fPos += 2;
                    break;
                }
                default: return bad(std::string("unknown escape \"\\") + fLine[fPos] + "\" in quotes");
                }
            }
            token.text += c;
        }
        return bad("quotes opened and not closed on the line");
    }

    bool bad(const std::string& text) {
        fBad = true;
        return fail(text);
    }

    bool tag(const Token& token, const char* what, TuInt32& value) {
        if (token.text.size() != 4 || (!token.quoted && isKeyword(token.text)))
            return fail(std::string("\"") + token.text.substr(0, 40) + "\" is not " + what +
                        " of four characters (quote one with blanks: \"ODD \")");
        value = 0;
        for (char c : token.text)
            value = value << 8 | static_cast<unsigned char>(c);
        return true;
    }

    bool notBytes(const Token& token) {
        std::string text = "\"" + token.text.substr(0, 40) + "\" is neither pairs of hexadecimal digits nor text in quotes";
        if (fPendingLine != fLineNumber)
            text += " (" + std::to_string(fPendingNeed) + " more of the " + std::to_string(fPendingDeclared) +
                    " bytes declared on line " + std::to_string(fPendingLine) + " expected)";
        return fail(text);
    }

    // Byte tokens up to the end of the line into the pending target.
    bool moreBytes() {
        Token token;
        while (next(token)) {
            std::string& into = *fPendingInto;
            if (token.quoted) {
                if (token.text.size() > fPendingNeed)
                    return fail("more bytes than the " + std::to_string(fPendingDeclared) + " declared on line " +
                                std::to_string(fPendingLine));
                into += token.text;
                fPendingNeed -= token.text.size();
                continue;
            }
            if (token.text.size() % 2 != 0)
                return notBytes(token);
            if (token.text.size() / 2 > fPendingNeed)
                return fail("more bytes than the " + std::to_string(fPendingDeclared) + " declared on line " +
                            std::to_string(fPendingLine));
            for (std::size_t i = 0; i < token.text.size(); i += 2) {
                const int high = hexValue(token.text[i]), low = hexValue(token.text[i + 1]);
                if (high < 0 || low < 0)
                    return notBytes(token);
                into += char(high * 16 + low);
            }
            fPendingNeed -= token.text.size() / 2;
        }
        if (fBad)
            return false;
        if (fPendingNeed == 0)
            fPending = false;
        return true;
    }

    // "N" then byte tokens, for a chunk's data or raw bytes.
    bool bytesFollow(std::string& into) {
        Token count;
        TuInt64 n = 0;
        if (!next(count))
            return fBad ? false : fail("the count of bytes is missing");
        if (count.quoted || !parseNumber(count.text, kMaxLength, n))
            return fail("\"" + count.text.substr(0, 40) + "\" is not a count of bytes (0 to 2147483647)");
        fPending = true;
        fPendingInto = &into;
        fPendingNeed = n;
        fPendingDeclared = n;
        fPendingLine = fLineNumber;
        return moreBytes();
    }

    bool atEnd() {
        Token extra;
        if (next(extra))
            return fail("\"" + extra.text.substr(0, 40) + "\" where the line should end");
        return !fBad;
    }

    std::vector<Node>& level() { return *fLevels.back(); }

    bool statement() {
        Token first;
        if (!next(first))
            return !fBad;
        const std::string& word = first.quoted ? std::string() : first.text;
        if (word == "}")
            return closeGroup();
        if (word == "form" || word == "list" || word == "cat" || word == "prop")
            return openGroup(word);
        Node node;
        node.line = fLineNumber;
        if (word == "gend" || word == "eovc") {
            node.kind = word == "gend" ? Node::Kind::gend : Node::Kind::eovc;
            level().push_back(std::move(node));
            return atEnd();
        }
        if (word == "raw") {
            level().push_back(std::move(node));
            return bytesFollow(level().back().bytes);
        }
        return chunk(first, std::move(node));
    }

    // "size=N" or "pad=HEX" (each where allowed): 1 when token is one, 0
    // when it is something else, -1 for a malformed one.
    int annotation(const Token& token, Node& node, bool sizeAllowed, bool padAllowed) {
        if (token.quoted)
            return 0;
        const std::string_view text = token.text;
        const std::string shown = "\"" + token.text.substr(0, 40) + "\"";
        if (sizeAllowed && text.substr(0, 5) == "size=") {
            TuInt64 value = 0;
            if (!parseNumber(text.substr(5), 0xFFFFFFFFu, value))
                return fail(shown + ": size= takes 0 to 4294967295, or 0x and up to 8 hexadecimal digits"), -1;
            node.hasSize = true;
            node.size = TuInt32(value);
            return 1;
        }
        if (padAllowed && text.substr(0, 4) == "pad=") {
            const std::string_view hex = text.substr(4);
            node.hasPad = true;
            node.pad.clear();
            if (hex == "none")
                return 1;
            if (hex.empty() || hex.size() % 2 != 0 || hex.size() > 64)
                return fail(shown + ": pad= takes up to 32 bytes in hexadecimal, or none"), -1;
            for (std::size_t i = 0; i < hex.size(); i += 2) {
                const int high = hexValue(hex[i]), low = hexValue(hex[i + 1]);
                if (high < 0 || low < 0)
                    return fail(shown + ": pad= takes hexadecimal digits"), -1;
                node.pad += char(high * 16 + low);
            }
            return 1;
        }
        return 0;
    }

    bool openGroup(const std::string& family) {
        Node node;
        node.kind = Node::Kind::group;
        node.line = fLineNumber;
        Token id, type, token;
        if (!next(id) || !next(type))
            return fBad ? false : fail(family + " needs an identifier, a type and \"{\"");
        if (!tag(id, "an identifier", node.id) || !tag(type, "a type", node.type))
            return false;
        const GroupKind* group = groupOf(node.id);
        if (!group)
            return fail("\"" + idText(node.id) + "\" is not the identifier of a group");
        if (family != group->family)
            return fail("\"" + idText(node.id) + "\" opens a " + group->family + ", not a " + family);
        bool opened = false;
        while (next(token)) {
            if (!token.quoted && token.text == "{") {
                opened = true;
                break;
            }
            const int found = annotation(token, node, true, false);
            if (found < 0)
                return false;
            if (found == 0)
                return fail("\"" + token.text.substr(0, 40) + "\" where \"{\" should stand");
        }
        if (fBad)
            return false;
        if (!opened)
            return fail("the group line ends without \"{\"");
        if (fGroups.size() >= kFLmaxDepth)
            return fail("groups nested deeper than " + std::to_string(kFLmaxDepth));
        if (!atEnd())
            return false;
        level().push_back(std::move(node));
        fGroups.push_back(&level().back());
        fLevels.push_back(&fGroups.back()->children);
        return true;
    }

    bool closeGroup() {
        if (fGroups.empty())
            return fail("\"}\" without an open group");
        Node& group = *fGroups.back();
        Token token;
        while (next(token)) {
            const int found = annotation(token, group, false, true);
            if (found < 0)
                return false;
            if (found == 0)
                return fail("\"" + token.text.substr(0, 40) + "\" after \"}\" (only pad= may stand there)");
        }
        if (fBad)
            return false;
        fGroups.pop_back();
        fLevels.pop_back();
        return true;
    }

    bool chunk(const Token& first, Node node) {
        node.kind = Node::Kind::chunk;
        if (!tag(first, "an identifier", node.id))
            return false;
        if (groupOf(node.id))
            return fail("\"" + idText(node.id) + "\" is a group's identifier: write \"" + groupOf(node.id)->family + " " +
                        idText(node.id) + " TYPE {\"");
        Token token;
        for (;;) {
            if (!next(token))
                return fBad ? false : fail("the chunk " + idText(node.id) + " has no contents (\"bytes 0\" for none)");
            const int found = annotation(token, node, true, true);
            if (found < 0)
                return false;
            if (found == 0)
                break;
        }
        level().push_back(std::move(node));
        Node& added = level().back();
        if (!token.quoted && token.text == "bytes")
            return bytesFollow(added.bytes);
        std::string_view text = fLine.substr(token.begin);
        while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
            text.remove_suffix(1);
        std::string problem;
        if (!valueBytes(added.id, text, added.bytes, problem))
            return fail("chunk " + idText(added.id) + ": " + problem);
        added.valueText.assign(text);
        return true;
    }

    std::string& fMessage;
    std::vector<std::vector<Node>*> fLevels; // the root's nodes, then each open group's children
    std::vector<Node*> fGroups;
    std::string_view fLine;
    std::size_t fPos = 0;
    int fLineNumber = 0;
    bool fBad = false;
    bool fPending = false; // bytes declared on an earlier line still to come
    std::string* fPendingInto = nullptr;
    TuInt64 fPendingNeed = 0;
    TuInt64 fPendingDeclared = 0;
    int fPendingLine = 0;
};

// -- Encoding -------------------------------------------------------------------------

void appendBE32(std::string& out, TuInt32 value) {
    out += char(value >> 24);
    out += char(value >> 16);
    out += char(value >> 8);
    out += char(value);
}

void patchBE32(std::string& out, std::size_t at, TuInt32 value) {
    out[at] = char(value >> 24);
    out[at + 1] = char(value >> 16);
    out[at + 2] = char(value >> 8);
    out[at + 3] = char(value);
}

bool encodeNodes(const std::vector<Node>& nodes, TuInt32 mask, std::string& out, std::string& message) {
    for (const Node& node : nodes) {
        switch (node.kind) {
        case Node::Kind::raw: out += node.bytes; break;
        case Node::Kind::gend: out.append(kGendBytes, 8); break;
        case Node::Kind::eovc: out.append(kEovcBytes, 8); break;
        case Node::Kind::chunk: {
            const TuInt32 field = node.hasSize ? node.size : TuInt32(node.bytes.size());
            appendBE32(out, node.id);
            appendBE32(out, field);
            out += node.bytes;
            if (node.hasPad)
                out += node.pad;
            else
                out.append(padding(field, mask), '\0');
            break;
        }
        case Node::Kind::group: {
            const GroupKind* group = groupOf(node.id);
            const TuInt32 inner = group && group->mask > mask ? group->mask : mask;
            const std::size_t at = out.size();
            appendBE32(out, node.id);
            appendBE32(out, 0);
            appendBE32(out, node.type);
            if (!encodeNodes(node.children, inner, out, message))
                return false;
            const std::size_t length = out.size() - at - 8;
            if (!node.hasSize && length > kMaxLength) {
                message = "line " + std::to_string(node.line) + ": the group " + idText(node.id) +
                          " holds more than a size field can count";
                return false;
            }
            const TuInt32 field = node.hasSize ? node.size : TuInt32(length);
            patchBE32(out, at + 4, field);
            if (node.hasPad)
                out += node.pad;
            else
                out.append(padding(field, inner), '\0');
            break;
        }
        }
    }
    return true;
}

} // namespace

std::string bytesPreview(std::string_view bytes, std::size_t limit) {
    const std::string_view shown = bytes.substr(0, limit);
    std::string out;
    if (looksLikeText(bytes)) {
        out = quoted(shown);
    } else {
        for (std::size_t at = 0; at < shown.size(); at += 4) {
            if (at)
                out += ' ';
            appendHex(out, shown.substr(at, 4));
        }
    }
    if (shown.size() < bytes.size())
        out += " ... (" + std::to_string(bytes.size()) + " bytes)";
    return out;
}

std::string writeText(const Document& document) {
    std::string out(kMagic);
    out += '\n';
    if (document.flattened)
        out += "# The chunks of this file overlap: it is kept whole, as it stands.\n";
    writeNodes(document.nodes, 0, out);
    return out;
}

bool parseText(std::string_view text, Document& document, std::string& message) {
    document = Document();
    message.clear();
    Parser parser(document, message);
    if (parser.parse(text))
        return true;
    document = Document();
    return false;
}

bool encode(const Document& document, std::string& file, std::string& message) {
    file.clear();
    return encodeNodes(document.nodes, 1, file, message);
}

} // namespace iffText
