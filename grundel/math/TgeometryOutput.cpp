// Stream output and debug dumps of the geometric value types. Numbers go
// through the stream's own floating format; the float types print as their
// double twins do.

#include "grundel/core/TdebugOutput.h"
#include "grundel/math/T2dFltPoint.h"
#include "grundel/math/T2dFltVector.h"
#include "grundel/math/TdblGeometry.h"
#include "grundel/math/TfltGeometry.h"
#include "grundel/math/Tscale.h"
#include "grundel/math/Tshear.h"

#include <cinttypes>
#include <ostream>

namespace {

template <class S>
std::ostream& printComponents(std::ostream& out, std::initializer_list<S> values, const char* tail) {
    out << '<';
    const char* separator = "";
    for (S v : values) {
        out << separator << v;
        separator = ", ";
    }
    return out << tail;
}

template <class S>
std::ostream& printMatrix(std::ostream& out, const S (&m)[4][4]) {
    out << '[';
    for (int r = 0; r < 4; ++r) {
        out << (r ? ", [" : "[");
        for (int c = 0; c < 4; ++c)
            out << (c ? ", " : "") << m[r][c];
        out << ']';
    }
    return out << ']';
}

template <class S>
void debugMatrix(TdebugOutput& out, unsigned int indent, const char* kind, const void* address, const S (&m)[4][4]) {
    const int pad = static_cast<int>(indent);
    out.printf("%*s4x4 Matrix of %s [%#" PRIxPTR "]\n", pad, "", kind, reinterpret_cast<std::uintptr_t>(address));
    for (const auto& row : m)
        out.printf("%*s| %g %g %g %g |\n", pad, "", double(row[0]), double(row[1]), double(row[2]), double(row[3]));
}

} // namespace

std::ostream& operator<<(std::ostream& out, const T4dDblVector& v) { return printComponents(out, {v.x, v.y, v.z}, ">"); }
std::ostream& operator<<(std::ostream& out, const T4dFltVector& v) { return printComponents(out, {v.x, v.y, v.z}, ">"); }
std::ostream& operator<<(std::ostream& out, const T4dDblPoint& p) {
    return printComponents(out, {p.x, p.y, p.z, p.w}, ">");
}
std::ostream& operator<<(std::ostream& out, const T4dFltPoint& p) {
    return printComponents(out, {p.x, p.y, p.z, p.w}, ">");
}
std::ostream& operator<<(std::ostream& out, const T3dDblPoint& p) {
    return printComponents(out, {p.x, p.y, p.z}, ", 1.0>");
}
std::ostream& operator<<(std::ostream& out, const T3dFltPoint& p) {
    return printComponents(out, {p.x, p.y, p.z}, ", 1.0>");
}
std::ostream& operator<<(std::ostream& out, const Ttuple& t) { return printComponents(out, {t.x, t.y, t.z, t.w}, ">"); }
std::ostream& operator<<(std::ostream& out, const TfltTuple& t) {
    return printComponents(out, {t.x, t.y, t.z, t.w}, ">");
}
std::ostream& operator<<(std::ostream& out, const T2dFltVector& v) { return printComponents(out, {v.x, v.y}, ">"); }
std::ostream& operator<<(std::ostream& out, const T2dFltPoint& p) { return printComponents(out, {p.x, p.y}, ">"); }
std::ostream& operator<<(std::ostream& out, const T4dDblMatrix& m) { return printMatrix(out, m.m); }
std::ostream& operator<<(std::ostream& out, const T4dFltMatrix& m) { return printMatrix(out, m.m); }

void T4dDblMatrix::debug(TdebugOutput& out, unsigned int indent) const {
    debugMatrix(out, indent, "doubles", this, m);
}

void T4dDblMatrix::debugMe(const T4dDblMatrix* matrix) {
    if (matrix)
        matrix->debug(TdebugOutput::sStandardError());
}

void T4dFltMatrix::debug(TdebugOutput& out, unsigned int indent) const {
    debugMatrix(out, indent, "floats", this, m);
}

void T4dFltMatrix::debugMe(const T4dFltMatrix* matrix) {
    if (matrix)
        matrix->debug(TdebugOutput::sStandardError());
}

std::ostream& operator<<(std::ostream& out, const Tscale& s) {
    return out << "[x: " << s.x << ", y: " << s.y << ", z: " << s.z << ']';
}
std::ostream& operator<<(std::ostream& out, const Tshear& s) {
    return out << "[xy: " << s.xy << ", xz: " << s.xz << ", yz: " << s.yz << ']';
}
std::ostream& operator<<(std::ostream& out, const Tshear2& s) {
    return out << "[xy: " << s.xy << ", xz: " << s.xz << ", yz: " << s.yz << ']';
}
