#include "grundel/core/TargList.h"

#include <string>

namespace {

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

const Tstring kEmpty;

} // namespace

int TargList::parse(std::string_view line) {
    fArgs.reset();
    std::string arg;
    std::size_t i = 0;
    const std::size_t n = line.size();
    while (i < n) {
        while (i < n && isBlank(line[i]))
            ++i;
        if (i == n)
            break;
        arg.clear();
        if (line[i] == '"') {
            for (++i; i < n && line[i] != '"'; ++i) {
                if (line[i] == '\\' && i + 1 < n && (line[i + 1] == '"' || line[i + 1] == '\\'))
                    ++i;
                arg.push_back(line[i]);
            }
            if (i < n)
                ++i; // the closing quote
        } else {
            for (; i < n && !isBlank(line[i]); ++i)
                arg.push_back(line[i]);
        }
        fArgs.addLast(Tstring(std::string_view(arg)));
    }
    return count();
}

void TargList::add(const Tstring& argument) { fArgs.addLast(argument); }

const Tstring& TargList::operator[](int i) const noexcept {
    return i >= 0 && i < count() ? fArgs[TuInt32(i)] : kEmpty;
}

Tstring TargList::join(int first) const {
    std::string line;
    const int start = first < 0 ? 0 : first;
    for (int i = start; i < count(); ++i) {
        if (i > start)
            line.push_back(' ');
        line += quote((*this)[i].view()).view();
    }
    return Tstring(std::string_view(line));
}

Tstring TargList::quote(std::string_view argument, bool always) {
    bool plain = !always && !argument.empty() && argument.front() != '"';
    for (char c : argument)
        plain = plain && !isBlank(c);
    if (plain)
        return Tstring(argument);
    std::string quoted = "\"";
    for (char c : argument) {
        if (c == '"' || c == '\\')
            quoted.push_back('\\');
        quoted.push_back(c);
    }
    quoted.push_back('"');
    return Tstring(std::string_view(quoted));
}
