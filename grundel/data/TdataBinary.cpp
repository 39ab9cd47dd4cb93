#include "grundel/data/TdataBinary.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/iff/TiffFile.h"

#include <cassert>
#include <cstring>

GRUNDEL_DEFINE_CLASS(TdataBinary, "BINA", TdataLetter)

namespace {

int hexDigit(char c) noexcept {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

void TdataBinary::assign(const void* data, TuInt32 n) {
    // Filled before the old bytes go: data may point into them.
    TuInt8Array fresh;
    if (n)
        (void)fresh.addLast(static_cast<const TuInt8*>(data), n);
    fBytes.swap(fresh);
}

void TdataBinary::debug(TdebugOutput& out, unsigned int) const {
    out.printf("Binary Data %u bytes\n", unsigned(byteCount()));
    for (TuInt32 i = 0; i < byteCount(); ++i)
        out.printf("%2.2x", unsigned(fBytes[i]));
    out.printf("\n");
}

void TdataBinary::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(*this) + fBytes.physicalSize(), "TdataBinary");
}

bool TdataBinary::operator==(const TdataLetter& other) const {
    if (other.typeof() != typeof())
        return false;
    const auto& that = static_cast<const TdataBinary&>(other);
    return that.byteCount() == byteCount() && (byteCount() == 0 || std::memcmp(bytes(), that.bytes(), byteCount()) == 0);
}

int TdataBinary::readASCII(const TargList& args, int& index, unsigned int) {
    if (index < 0 || index >= args.count())
        return -1;
    TuInt32 n = 0;
    if (!grundel::detail::parseTextCount(args[index].view(), 0xFFFFFFFFu, n))
        return -1;
    if (n == 0) {
        fBytes.reset();
        return 0;
    }
    // The digits must be present before the count sizes anything.
    const std::string_view digits = args[index + 1].view();
    if (digits.size() != std::size_t(n) * 2)
        return -1;
    TuInt8Array read;
    (void)read.create(n, grundel::detail::kDefaultSizeIncrement);
    for (TuInt32 i = 0; i < n; ++i) {
        const int high = hexDigit(digits[2 * i]);
        const int low = hexDigit(digits[2 * i + 1]);
        if (high < 0 || low < 0)
            return -1;
        read[i] = TuInt8(high << 4 | low);
    }
    fBytes.swap(read);
    index += 1;
    return 0;
}

int TdataBinary::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    assert((cursor || remaining == 0) && "readBinary() without bytes");
    assign(cursor, remaining);
    cursor += remaining;
    remaining = 0;
    return 0;
}

int TdataBinary::writeBinary(TiffFile& file) const {
    if (byteCount() == 0)
        return 0;
    return file.put(bytes(), byteCount()) == 0 ? 0 : -1;
}

int TdataBinary::writeASCII(Tfile& file, int) const {
    int result = file.putUInt(byteCount());
    result |= file.putChar(' ');
    if (byteCount()) {
        static const char kDigits[] = "0123456789abcdef";
        std::string text(std::size_t(byteCount()) * 2, '0');
        for (TuInt32 i = 0; i < byteCount(); ++i) {
            text[2 * i] = kDigits[fBytes[i] >> 4];
            text[2 * i + 1] = kDigits[fBytes[i] & 15];
        }
        result |= file.putString(text);
        result |= file.putChar(' ');
    }
    return result == 0 ? 0 : -1;
}
