#pragma once

// The evaluator's tokens.

#include <string>
#include <string_view>

namespace grundel::detail {

enum class EvalTok { End, Number, String, Name, Punct };

// Reads the text one token at a time; each call costs time linear in the
// characters it passes.
class EvalLexer {
public:
    explicit EvalLexer(std::string_view source) : fSrc(source) {}

    // Moves to the next token: 0, or the code of a malformed one.
    int next();
    // p is one or two characters of punctuation.
    bool isPunct(const char* p) const;
    bool isName(std::string_view name) const { return tok == EvalTok::Name && text == name; }

    EvalTok tok = EvalTok::End;
    std::string_view text; // a name's or a punctuation's characters
    double number = 0;
    std::string string;    // a string's bytes, escapes resolved
    int level = -1;        // a binary operator's precedence, 0 ("||") to 5 ("*"); -1 otherwise

private:
    int readNumber();
    int readString();

    std::string_view fSrc;
    std::size_t fPos = 0;
};

} // namespace grundel::detail
