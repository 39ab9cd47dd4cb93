#include "grundel/data/TdataLetter.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/Tdata.h"

#include <new>

namespace {

void* newLetter(Tmetaclass*) { return new (std::nothrow) TdataLetter(); }

[[noreturn]] void mismatch() { throw Tdata::fsDataMismatch; }

} // namespace

Tmetaclass* TdataLetter::fsMetaclassPtr = nullptr;
Tmetaclass TdataLetter::fsMetaclass(&TdataLetter::fsMetaclassPtr, "TdataLetter", TuInt16(sizeof(TdataLetter)),
                                    &newLetter, TiffTag(), false);

void* TdataLetter::cast(Tmetaclass* type) noexcept {
    return grundel::detail::castClass(grundel::detail::TparentList<>{}, this, type);
}

TdataLetter* TdataLetter::construct(Tmetaclass* record) {
    if (!record || !record->isa(&fsMetaclass))
        return nullptr;
    return static_cast<TdataLetter*>(record->construct());
}

TdataLetter::~TdataLetter() = default;

void TdataLetter::debug(TdebugOutput& out, unsigned int) const {
    out.printf("%s %p: %d references\n", typeName().asC(), static_cast<const void*>(this), referenceCount());
}

void TdataLetter::reset() {}

TdataLetter* TdataLetter::copy() const { return nullptr; }

void TdataLetter::_getFootprint(TfootprintInfo& info) const { info.setSize(typeof()->size(), typeof()->name()); }

bool TdataLetter::operator==(const Tdata&) const { mismatch(); }
bool TdataLetter::operator==(const TdataLetter&) const { mismatch(); }
bool TdataLetter::operator!=(const Tdata&) const { mismatch(); }
bool TdataLetter::operator!=(const TdataLetter&) const { mismatch(); }
bool TdataLetter::operator<=(const Tdata&) const { mismatch(); }
bool TdataLetter::operator<=(const TdataLetter&) const { mismatch(); }
bool TdataLetter::operator>=(const Tdata&) const { mismatch(); }
bool TdataLetter::operator>=(const TdataLetter&) const { mismatch(); }
bool TdataLetter::operator<(const Tdata&) const { mismatch(); }
bool TdataLetter::operator<(const TdataLetter&) const { mismatch(); }
bool TdataLetter::operator>(const Tdata&) const { mismatch(); }
bool TdataLetter::operator>(const TdataLetter&) const { mismatch(); }

TdataLetter* TdataLetter::operator+(const TdataLetter&) const { mismatch(); }
TdataLetter* TdataLetter::operator-(const TdataLetter&) const { mismatch(); }
TdataLetter* TdataLetter::operator*(const TdataLetter&) const { mismatch(); }
TdataLetter* TdataLetter::operator/(const TdataLetter&) const { mismatch(); }

TdataLetter& TdataLetter::operator+=(const Tdata&) { mismatch(); }
TdataLetter& TdataLetter::operator+=(const TdataLetter&) { mismatch(); }
TdataLetter& TdataLetter::operator-=(const Tdata&) { mismatch(); }
TdataLetter& TdataLetter::operator-=(const TdataLetter&) { mismatch(); }
TdataLetter& TdataLetter::operator*=(const Tdata&) { mismatch(); }
TdataLetter& TdataLetter::operator*=(const TdataLetter&) { mismatch(); }
TdataLetter& TdataLetter::operator/=(const Tdata&) { mismatch(); }
TdataLetter& TdataLetter::operator/=(const TdataLetter&) { mismatch(); }

double TdataLetter::doubleValue() const { return 0.0; }

void TdataLetter::madeIntoWriter() { addWriter(); }
void TdataLetter::madeIntoNonWriter() { removeWriter(); }
bool TdataLetter::hasWriter() const { return writerCount() > 0; }

int TdataLetter::readASCII(const TargList&, int&, unsigned int) { return -1; }
int TdataLetter::readBinary(TiffTag, TuInt32&, const char*&) { return -1; }
int TdataLetter::writeASCII(Tfile&, int) const { return -1; }
int TdataLetter::writeBinary(TiffFile&) const { return -1; }

Tstring TdataLetter::typeName() const { return Tstring(typeof()->name()); }
TiffTag TdataLetter::iffTag() const { return typeof()->tag(); }
