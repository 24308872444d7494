// A small owning text string (see str.h).
#include "core/str.h"

#include <cstdio>

Str& Str::cat(const char* sz) {
    if (sz != nullptr) _s += sz;
    return *this;
}

Str& Str::catCh(char ch, Long nRepeat) {
    if (nRepeat > 0) _s.append(static_cast<std::size_t>(nRepeat), ch);
    return *this;
}

Str& Str::catFmt(const char* szFmt, Long iNChWidth, Long iNChPrec, double f) {
    // Measure first, then render into the string's own storage: no width or
    // precision can overrun a fixed buffer.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int nCh = std::snprintf(nullptr, 0, szFmt, iNChWidth, iNChPrec, f);
    if (nCh <= 0) return *this;
    const std::size_t nOld = _s.size();
    _s.resize(nOld + static_cast<std::size_t>(nCh));
    std::snprintf(_s.data() + nOld, static_cast<std::size_t>(nCh) + 1, szFmt, iNChWidth, iNChPrec,
                  f);
#pragma GCC diagnostic pop
    return *this;
}

Str& Str::catF64E(Long iNChWidth, Long iNChPrec, double f) {
    return catFmt("%*.*e", iNChWidth, iNChPrec, f);
}
Str& Str::catF64F(Long iNChWidth, Long iNChPrec, double f) {
    return catFmt("%*.*f", iNChWidth, iNChPrec, f);
}
Str& Str::catF64G(Long iNChWidth, Long iNChPrec, double f) {
    return catFmt("%*.*g", iNChWidth, iNChPrec, f);
}

Str Str::strFmF64E(Long iNChWidth, Long iNChPrec, double f) {
    return Str().catF64E(iNChWidth, iNChPrec, f);
}
Str Str::strFmF64F(Long iNChWidth, Long iNChPrec, double f) {
    return Str().catF64F(iNChWidth, iNChPrec, f);
}
Str Str::strFmF64G(Long iNChWidth, Long iNChPrec, double f) {
    return Str().catF64G(iNChWidth, iNChPrec, f);
}
