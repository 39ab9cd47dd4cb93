// Built alone, referring to no letter class by name, so that with the
// static library nothing but the registry can pull the letters in.
#include <grundel/data/TdataLetter.h>
#include <grundel/data/TmetaLetter.h>
#include <grundel/object/Tmetaclass.h>

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(TdataBuiltins, EveryBuiltInLetterIsFoundByTagAndName) {
    const struct {
        const char* tag;
        const char* name;
        const char* className;
    } entries[] = {
        {"DBL2", "double2", "Tdata2Double"}, {"DBL3", "double3", "Tdata3Double"}, {"DBL4", "double4", "Tdata4Double"},
        {"FLT2", "float2", "Tdata2Float"},   {"FLT3", "float3", "Tdata3Float"},   {"LNG2", "long2", "Tdata2Int32"},
        {"LNG3", "long3", "Tdata3Int32"},    {"SRT2", "short2", "Tdata2Int16"},   {"SRT3", "short3", "Tdata3Int16"},
        {"MATR", "matrix", "TdataMatrix"},   {"SRGB", "spectrumRGB", "TdataSpectrum"},
        {"RRGB", "reflectanceRGB", "TdataReflectance"}, {"VOID", "void", "TdataVoidPtr"},
    };
    for (const auto& e : entries) {
        Tmetaclass* record = TmetaLetter::findTypeid(TiffTag(e.tag));
        ASSERT_NE(record, nullptr) << e.tag;
        EXPECT_EQ(std::string_view(record->name()), e.className);
        EXPECT_EQ(TmetaLetter::findTypeid(e.name), record) << e.name;
        TdataLetter* letter = TmetaLetter::construct(TiffTag(e.tag));
        ASSERT_NE(letter, nullptr);
        EXPECT_EQ(letter->typeof(), record);
        EXPECT_EQ(letter->typeName().view(), e.name);
        letter->reference();
        letter->unreference();
    }
}

} // namespace
