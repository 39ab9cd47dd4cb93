// Paths held as text, separator "/".
#include "grundel/core/Tstring.h"

namespace {

// Position of the dot that starts the extension of the text after slash,
// or -1; a dot that starts the last component does not count.
int extensionDot(const Tstring& s, int slash) noexcept {
    const int dot = s.rindex('.');
    return dot > slash + 1 ? dot : -1;
}

} // namespace

Tstring Tstring::tail() const noexcept {
    const int slash = rindex('/');
    return slash < 0 ? *this : substring(slash + 1, static_cast<int>(length()) - 1);
}

Tstring Tstring::directoryPath() const noexcept {
    const int slash = rindex('/');
    if (slash < 0)
        return Tstring();
    return slash == 0 ? Tstring("/") : substring(0, slash - 1);
}

Tstring Tstring::extension() const noexcept {
    const int dot = extensionDot(*this, rindex('/'));
    return dot < 0 ? Tstring() : substring(dot + 1, static_cast<int>(length()) - 1);
}

Tstring Tstring::root() const noexcept {
    const int dot = extensionDot(*this, rindex('/'));
    return dot < 0 ? *this : substring(0, dot - 1);
}

Tstring Tstring::baseName() const noexcept { return tail().root(); }

Tstring& Tstring::stripPath() noexcept {
    *this = tail();
    return *this;
}

Tstring& Tstring::stripExtension() noexcept {
    *this = root();
    return *this;
}
