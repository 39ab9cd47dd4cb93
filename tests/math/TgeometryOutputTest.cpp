#include "grundel/core/TdebugOutput.h"
#include "grundel/math/T2dFltPoint.h"
#include "grundel/math/TdblGeometry.h"
#include "grundel/math/TfltGeometry.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace {

template <class T>
std::string printed(const T& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

TEST(TgeometryOutput, PrintedForms) {
    EXPECT_EQ(printed(T3dDblPoint(1, 2, 3)), "<1, 2, 3, 1.0>");
    EXPECT_EQ(printed(T3dFltPoint(1, 2.5f, 3)), "<1, 2.5, 3, 1.0>");
    EXPECT_EQ(printed(T4dDblPoint(1, -2, 3, 0.5)), "<1, -2, 3, 0.5>");
    EXPECT_EQ(printed(T4dFltPoint(0.1f, 0, 0, 1)), "<0.1, 0, 0, 1>");
    EXPECT_EQ(printed(T4dDblVector(1.5, 0, 1e-20)), "<1.5, 0, 1e-20>");
    EXPECT_EQ(printed(T4dFltVector(1, 2, 3)), "<1, 2, 3>");
    EXPECT_EQ(printed(Ttuple(1, 2, 3, 4)), "<1, 2, 3, 4>");
    EXPECT_EQ(printed(TfltTuple(1, 2, 3, 4)), "<1, 2, 3, 4>");
    EXPECT_EQ(printed(T2dFltPoint(1, 2)), "<1, 2>");
    EXPECT_EQ(printed(T4dDblMatrix()), "[[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]");
    EXPECT_EQ(printed(T4dFltMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0.25f)),
              "[[1, 2, 3, 4], [5, 6, 7, 8], [9, 10, 11, 12], [13, 14, 15, 0.25]]");

    std::ostringstream out;
    out.precision(3);
    out << T4dDblVector(3.14159, 0, 0); // the stream's own format
    EXPECT_EQ(out.str(), "<3.14, 0, 0>");
}

std::string debugText(void (*dump)(TdebugOutput&)) {
    std::FILE* file = std::tmpfile();
    TdebugOutput out(file);
    dump(out);
    out.flush();
    std::rewind(file);
    std::string text;
    char buffer[256];
    while (std::size_t n = std::fread(buffer, 1, sizeof buffer, file))
        text.append(buffer, n);
    std::fclose(file);
    return text;
}

TEST(TgeometryOutput, DebugDumps) {
    static const T4dDblMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0.5);
    char header[64];
    std::snprintf(header, sizeof header, "4x4 Matrix of doubles [%#lx]\n", reinterpret_cast<unsigned long>(&m));
    EXPECT_EQ(debugText([](TdebugOutput& out) { m.debug(out); }),
              std::string(header) + "| 1 2 3 4 |\n| 5 6 7 8 |\n| 9 10 11 12 |\n| 13 14 15 0.5 |\n");

    static const T4dFltMatrix f;
    std::snprintf(header, sizeof header, "  4x4 Matrix of floats [%#lx]\n", reinterpret_cast<unsigned long>(&f));
    EXPECT_EQ(debugText([](TdebugOutput& out) { f.debug(out, 2); }),
              std::string(header) + "  | 1 0 0 0 |\n  | 0 1 0 0 |\n  | 0 0 1 0 |\n  | 0 0 0 1 |\n");
}

} // namespace
