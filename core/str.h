// A small owning text string.
//
// Str holds its characters itself and copies deeply; sz() gives the
// NUL-terminated text, valid until the string is next changed or destroyed.
// Besides plain appending it renders numbers with a caller's field width and
// precision in the three C conversions: "%*.*e", "%*.*f" and "%*.*g".
#pragma once

#include <string>

#include "core/types.h"

class Str {
public:
    Str() = default;
    explicit Str(const char* sz) : _s(sz == nullptr ? "" : sz) {}

    const char* sz() const { return _s.c_str(); }
    Long n() const { return static_cast<Long>(_s.size()); }
    bool bEmpty() const { return _s.empty(); }

    Str& cat(const char* sz);
    Str& cat(const Str& str) { return cat(str.sz()); }
    Str& catCh(char ch, Long nRepeat = 1);

    // Appends f as "%*.*e", "%*.*f" or "%*.*g" with width iNChWidth and
    // precision iNChPrec (a negative precision means the C default of 6).
    Str& catF64E(Long iNChWidth, Long iNChPrec, double f);
    Str& catF64F(Long iNChWidth, Long iNChPrec, double f);
    Str& catF64G(Long iNChWidth, Long iNChPrec, double f);

    static Str strFmF64E(Long iNChWidth, Long iNChPrec, double f);
    static Str strFmF64F(Long iNChWidth, Long iNChPrec, double f);
    static Str strFmF64G(Long iNChWidth, Long iNChPrec, double f);

    bool operator==(const Str& str) const { return _s == str._s; }

private:
    Str& catFmt(const char* szFmt, Long iNChWidth, Long iNChPrec, double f);
    std::string _s;
};
