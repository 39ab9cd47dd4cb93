#include "grundel/data/TdataUnknown.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"

GRUNDEL_DEFINE_CLASS(TdataUnknown, "UNKN", TdataLetter)

namespace {
const TmetaLetter kTdataUnknownRegistration(&TdataUnknown::fsMetaclass);
} // namespace

TdataUnknown::TdataUnknown(const TdataUnknown& other)
    : TdataLetter(other), fTag(other.fTag), fFromText(other.fFromText), fText(other.fText),
      fTypeName(other.fTypeName) {
    fBytes.copy(other.fBytes);
}

TdataLetter* TdataUnknown::copy() const { return new TdataUnknown(*this); }

void TdataUnknown::reset() {
    fBytes.reset();
    fText = Tstring();
    fFromText = false;
}

void TdataUnknown::debug(TdebugOutput& out, unsigned int) const {
    char tag[5];
    out.printf("TdataUnknown %p: tag %s, type \"%s\", %u bytes, text \"%s\"\n", static_cast<const void*>(this),
               iffTag().valueTchar(tag), fTypeName.asC(), unsigned(fBytes.length()), fText.asC());
}

void TdataUnknown::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(TdataUnknown) + fBytes.length() + fText.length(), "TdataUnknown");
}

int TdataUnknown::readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) {
    fTag = tag;
    fBytes.reset();
    if (remaining > 0)
        fBytes.addLast(reinterpret_cast<const TuInt8*>(cursor), remaining);
    cursor += remaining;
    remaining = 0;
    return 0;
}

int TdataUnknown::writeBinary(TiffFile& file) const {
    if (fBytes.length() == 0)
        return 0;
    return file.put(fBytes.begin(), fBytes.length()) == 0 ? 0 : -1;
}

int TdataUnknown::readASCII(const TargList& args, int& index, unsigned int) {
    if (index < 0)
        return -1;
    fText = args.join(index);
    fFromText = true;
    index = args.count() - 1;
    return 0;
}

int TdataUnknown::writeASCII(Tfile& file, int) const {
    const int a = file.putChar(' ');
    const int b = file.putString(fText.view());
    return a == 0 && b == 0 ? 0 : -1;
}
