// The registry: first registration wins, lookups by tag and by name, and
// registrations that end remove only what they made.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

std::unique_ptr<TdataLetter, void (*)(TdataLetter*)> owned(TdataLetter* letter) {
    return {letter, [](TdataLetter* l) { delete l; }};
}

TEST(TmetaLetter, TheFirstClassRegisteredUnderATagKeepsIt) {
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("TST1")), &TcountedLetter::fsMetaclass);
    const auto made = owned(TmetaLetter::construct(TiffTag("TST1")));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->typeof(), &TcountedLetter::fsMetaclass);
    // The later class is still found by its own name.
    const auto late = owned(TmetaLetter::construct("TlateLetter"));
    ASSERT_NE(late, nullptr);
    EXPECT_EQ(late->typeof(), &TlateLetter::fsMetaclass);
    EXPECT_EQ(late->iffTag(), TiffTag("TST1"));
}

TEST(TmetaLetter, BuiltInRegistrations) {
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("DBLE")), &Tdata::fsMetaclass);
    EXPECT_EQ(TmetaLetter::findTypeid("Tdata"), &Tdata::fsMetaclass);
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("UNKN")), &TdataUnknown::fsMetaclass);
    EXPECT_EQ(TmetaLetter::findTypeid("TdataUnknown"), &TdataUnknown::fsMetaclass);
    // Tdata is not a letter: the registry cannot make one of it.
    EXPECT_EQ(TmetaLetter::construct(TiffTag("DBLE")), nullptr);
    EXPECT_EQ(TmetaLetter::construct("Tdata"), nullptr);
}

TEST(TmetaLetter, UnknownTagsAndNamesBecomeUnknownLettersThatKeepThem) {
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("ZZZZ")), nullptr);
    EXPECT_EQ(TmetaLetter::findTypeid(""), nullptr);
    EXPECT_EQ(TmetaLetter::findTypeid(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(TmetaLetter::findTypeid("nobody"), nullptr);

    const auto byTag = owned(TmetaLetter::construct(TiffTag("ZZZZ")));
    ASSERT_NE(byTag, nullptr);
    ASSERT_EQ(byTag->typeof(), &TdataUnknown::fsMetaclass);
    EXPECT_EQ(byTag->iffTag(), TiffTag("ZZZZ"));
    EXPECT_EQ(byTag->typeName(), "");

    const auto byName = owned(TmetaLetter::construct("nobody"));
    ASSERT_NE(byName, nullptr);
    EXPECT_EQ(byName->typeName(), "nobody");
    EXPECT_EQ(byName->iffTag(), TiffTag("UNKN"));

    const auto unnamed = owned(TmetaLetter::construct(static_cast<const char*>(nullptr)));
    ASSERT_NE(unnamed, nullptr);
    EXPECT_EQ(unnamed->typeName(), "");
}

TEST(TmetaLetter, ConstructMakesOnlyLetters) {
    EXPECT_EQ(TdataLetter::construct(nullptr), nullptr);
    EXPECT_EQ(TdataLetter::construct(&Tdata::fsMetaclass), nullptr);
    const auto counted = owned(TdataLetter::construct(&TcountedLetter::fsMetaclass));
    ASSERT_NE(counted, nullptr);
    EXPECT_EQ(counted->typeof(), &TcountedLetter::fsMetaclass);
    EXPECT_EQ(counted->referenceCount(), 0);

    EXPECT_EQ(TmetaLetter::findTypeid("testValue"), &TcountedLetter::fsMetaclass); // its type name
    EXPECT_EQ(TmetaLetter::findTypeid("TcountedLetter"), nullptr);
    const TmetaLetter record(&TcountedLetter::fsMetaclass); // refused under the tag
    EXPECT_EQ(record.iffTag(), TiffTag("TST1"));
    EXPECT_STREQ(record.name(), "TcountedLetter");
    EXPECT_EQ(record.typeId(), TcountedLetter::fsMetaclass.typeId());
    const auto made = owned(record.createDataLetter());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->typeof(), &TcountedLetter::fsMetaclass);
}

TEST(TmetaLetter, EndingARegistrationRemovesOnlyItsOwnEntries) {
    {
        // Refused under both keys: ending it must leave the first ones.
        const TmetaLetter again(&TlateLetter::fsMetaclass);
    }
    EXPECT_EQ(TmetaLetter::findTypeid("TlateLetter"), &TlateLetter::fsMetaclass);
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("TST1")), &TcountedLetter::fsMetaclass);

    Tmetaclass* selfPtr = nullptr;
    Tmetaclass temporary(&selfPtr, "TtemporaryLetter", TuInt16(sizeof(TcountedLetter)),
                         [](Tmetaclass*) -> void* { return new TcountedLetter(); }, TiffTag("TST9"), false,
                         &TdataLetter::fsMetaclassPtr);
    {
        const TmetaLetter registration(&temporary);
        EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("TST9")), &temporary);
        EXPECT_EQ(TmetaLetter::findTypeid("TtemporaryLetter"), &temporary);
        const auto made = owned(TmetaLetter::construct(TiffTag("TST9")));
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->typeof(), &TcountedLetter::fsMetaclass);
    }
    EXPECT_EQ(TmetaLetter::findTypeid(TiffTag("TST9")), nullptr);
    EXPECT_EQ(TmetaLetter::findTypeid("TtemporaryLetter"), nullptr);
}

} // namespace
