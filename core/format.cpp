// Number, time and text formatting (see format.h).
#include "core/format.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstdarg>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

#include "core/logerror.h"

namespace {

const char* const aszMonth[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool bWs(char ch) { return std::isspace(static_cast<unsigned char>(ch)) != 0; }

// Appends printf output to a std::string (formats here are literals).
template <class... Args>
void catFmt(std::string* ps, const char* szFmt, Args... args) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int nCh = std::snprintf(nullptr, 0, szFmt, args...);
    if (nCh <= 0) return;
    const std::size_t nOld = ps->size();
    ps->resize(nOld + static_cast<std::size_t>(nCh));
    std::snprintf(ps->data() + nOld, static_cast<std::size_t>(nCh) + 1, szFmt, args...);
#pragma GCC diagnostic pop
}

}  // namespace

// ---- numbers ---------------------------------------------------------------------

void iSignFMantIExpF(Long* piSign, double* pfMant, Long* piExp, double f) {
    VT_ASSERT(std::isfinite(f));
    if (f == 0.0) {
        *piSign = 0;
        *pfMant = 0.0;
        *piExp = 0;
        return;
    }
    *piSign = (f > 0.0) ? 1 : -1;
    const double fAbs = std::fabs(f);
    Long iExp = static_cast<Long>(std::ceil(std::log10(fAbs)));
    double fMant = fAbs / std::pow(10.0, static_cast<double>(iExp));
    // The bounds on fMant keep the loops finite where 10^iExp overflows
    // (|f| of 1e308 and more); the assertions below then report it.
    while (fMant < 0.1 && fMant > 0.0) {
        fMant *= 10.0;
        iExp--;
    }
    while (fMant >= 1.0 && std::isfinite(fMant)) {
        fMant /= 10.0;
        iExp++;
    }
    VT_ASSERT(fabs( f - *piSign*fMant*pow( 10.0, (F64) iExp ) ) < 1.0e-10 * fabs( f ));
    VT_ASSERT(*piSign * f > 0.0);
    VT_ASSERT((fMant >= 0.1) && (fMant < 1.0));
    *pfMant = fMant;
    *piExp = iExp;
}

unsigned char bInRangeISignFSigIExpChSIPrefixF(Long* piSign, double* pfSig, Long* piExpPrefix,
                                               char* pchPrefix, double f) {
    static const char achPrefix[] = "afpnum kMGTP";
    double fMant;
    Long iExp;
    iSignFMantIExpF(piSign, &fMant, &iExp, f);
    const Long e = iExp - 1;  // decimal exponent of the leading digit
    if (e < -18 || e > 17) {
        *piExpPrefix = 0;
        *pfSig = f;
        *pchPrefix = ' ';
        return 0;
    }
    // Round down to a multiple of 3 (e + 18 is not negative here).
    const Long iExpPrefix = (e + 18) / 3 * 3 - 18;
    *piExpPrefix = iExpPrefix;
    *pchPrefix = achPrefix[(iExpPrefix + 18) / 3];
    *pfSig = f / std::pow(10.0, static_cast<double>(iExpPrefix));
    return 1;
}

namespace {

__extension__ typedef unsigned __int128 U128;

// Below this magnitude, with at most 9 decimals, pchPutFixed writes the
// digits itself: N (below) is then under 2^53, and fits in 64 bits.
constexpr double fFixedExactMax = 9007199.0;  // about 2^53 / 10^9

// printf's "%.Pf" text of f, |f| < fFixedExactMax and P <= 9, into
// szDigits; returns its length. f = m 2^-s exactly, with m < 2^53 an
// integer and s >= 29 (the exponent of f is at most 23; s = 1074 for the
// subnormals), so f 10^P = m 10^P / 2^s exactly, with m 10^P < 2^83.
// printf writes that number rounded to an integer N, half-way cases to the
// even one (the C library converts exactly, in the default rounding mode),
// as N / 10^P with P decimals. With q = floor(m 10^P / 2^s) and the
// remainder r, N is q + 1 when r is above 2^(s-1), or equal to it with q
// odd, and q otherwise. For s above 100, m 10^P < 2^83 < 2^(s-1): N = 0.
// The sign is that of f, also where N = 0 ("-0.00", as printf writes it).
int nChFixedExact(char* szDigits, double f, int iPrec) {
    static constexpr std::uint64_t aiPow10[10] = {1,      10,      100,      1000,      10000,
                                                  100000, 1000000, 10000000, 100000000, 1000000000};
    const std::uint64_t iBits = std::bit_cast<std::uint64_t>(f);
    const int iExpBits = static_cast<int>((iBits >> 52) & 0x7ff);
    const std::uint64_t iFrac = iBits & ((std::uint64_t{1} << 52) - 1);
    const std::uint64_t m = iExpBits == 0 ? iFrac : (iFrac | (std::uint64_t{1} << 52));
    const int s = iExpBits == 0 ? 1074 : 1075 - iExpBits;
    std::uint64_t n = 0;
    if (s <= 100) {
        const U128 x = static_cast<U128>(m) * aiPow10[iPrec];
        const U128 q = x >> s;
        const U128 r = x - (q << s);
        const U128 half = static_cast<U128>(1) << (s - 1);
        n = static_cast<std::uint64_t>(q) + ((r > half || (r == half && (q & 1) != 0)) ? 1 : 0);
    }
    char* pch = szDigits;
    if ((iBits >> 63) != 0) *pch++ = '-';
    pch = std::to_chars(pch, pch + 20, n / aiPow10[iPrec]).ptr;
    if (iPrec > 0) {
        *pch++ = '.';
        std::uint64_t iDec = n % aiPow10[iPrec];
        for (int i = iPrec - 1; i >= 0; i--) {
            pch[i] = static_cast<char>('0' + iDec % 10);
            iDec /= 10;
        }
        pch += iPrec;
    }
    return static_cast<int>(pch - szDigits);
}

}  // namespace

char* pchPutFixed(char* pch, double f, int iWidth, int iPrec) {
    char szDigits[340];
    int nCh;
    if (std::fabs(f) < fFixedExactMax && iPrec >= 0 && iPrec <= 9) {
        nCh = nChFixedExact(szDigits, f, iPrec);
    } else if (std::isfinite(f) && iPrec >= 0 && iPrec <= 17) {
        const std::to_chars_result res = std::to_chars(szDigits, szDigits + sizeof szDigits, f,
                                                       std::chars_format::fixed, iPrec);
        nCh = static_cast<int>(res.ptr - szDigits);
    } else {
        nCh = std::snprintf(szDigits, sizeof szDigits, "%.*f", iPrec, f);
    }
    for (int i = nCh; i < iWidth; i++) *pch++ = ' ';
    std::memcpy(pch, szDigits, static_cast<std::size_t>(nCh));
    return pch + nCh;
}

void printFE(std::FILE* pfile, Long iNChSize, Long iNChPrec, double f) {
    Long iSign;
    double fMant;
    Long iExp;
    iSignFMantIExpF(&iSign, &fMant, &iExp, f);
    // Mantissa in [1, 10) rather than [0.1, 1); zero stays 0 with exponent 0.
    if (iSign != 0) {
        fMant *= 10.0;
        iExp -= 1;
    }
    const Long nDecimal = iNChPrec > 1 ? iNChPrec - 1 : 0;
    std::string szMant;
    catFmt(&szMant, "%0.*f", nDecimal, fMant);
    if (iSign != 0 && szMant.size() > 1 && szMant[0] == '1' && szMant[1] == '0') {
        // 9.9996 with three decimals would read 10.000: write 1.000 and carry.
        szMant.clear();
        catFmt(&szMant, "%0.*f", nDecimal, fMant / 10.0);
        iExp += 1;
    }
    // Width of the exponent field: 2 for -9..9, up to 5 for -9999..-1000.
    if (iExp < -9999) VT_ASSERT(0);
    const Long iExpAbs = iExp < 0 ? -iExp : iExp;
    const Long nChExp = iExpAbs < 10 ? 2 : iExpAbs < 100 ? 3 : iExpAbs < 1000 ? 4 : 5;
    const Long nChSign = (iSign < 0) ? 1 : 0;
    const Long nChUsed = static_cast<Long>(szMant.size()) + nChSign + 1 + nChExp;
    iNBlPFILE(iNChSize - nChUsed, pfile);
    if (iSign < 0) std::fputc('-', pfile);
    std::fputs(szMant.c_str(), pfile);
    std::fputc('e', pfile);
    std::fprintf(pfile, iExp >= 0 ? "+%i" : "%i", iExp);
}

// ---- date and time -------------------------------------------------------------------

Str strDateTimeFmTm(const std::tm& tm, unsigned char bDate, unsigned char bTime,
                    unsigned char bTimeS, unsigned char bTime24Hr) {
    VT_ASSERT(tm.tm_mon >= 0 && tm.tm_mon <= 11);
    std::string s;
    if (bDate) catFmt(&s, "%02i%3s%02i", tm.tm_year, aszMonth[tm.tm_mon], tm.tm_mday);
    if (bDate && bTime) s += "  ";
    if (bTime) {
        const int iHr = tm.tm_hour, iMin = tm.tm_min, iSec = tm.tm_sec;
        if (bTimeS) {
            if (bTime24Hr)
                catFmt(&s, "%02i:%02i:%02i", iHr, iMin, iSec);
            else if (iHr < 12)
                catFmt(&s, "%i:%02i:%02i AM", iHr, iMin, iSec);
            else  // deliberately 12:30:05 reads 0:30:05 PM
                catFmt(&s, "%i:%02i:%02i PM", iHr - 12, iMin, iSec);
        } else {
            if (bTime24Hr)
                catFmt(&s, "%02i:%02i", iHr, iMin);
            else if (iHr < 12)
                catFmt(&s, "%i:%02i AM", iHr, iMin);
            else if (iHr == 12)  // here the noon hour keeps its 12
                catFmt(&s, "%i:%02i PM", iHr, iMin);
            else
                catFmt(&s, "%i:%02i PM", iHr - 12, iMin);
        }
    }
    return Str(s.c_str());
}

Str* pstrDateTime(unsigned char bDate, unsigned char bTime, unsigned char bTimeS,
                  unsigned char bTime24Hr) {
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    return new Str(strDateTimeFmTm(tm, bDate, bTime, bTimeS, bTime24Hr));
}

// ---- pages ---------------------------------------------------------------------------

Long iNBlPFILE(Long n, std::FILE* pfile) {
    Long i = 0;
    for (; i < n; i++) std::fputc(' ', pfile);
    return i;
}

void printHeadLineOnPFILE(Str* pstrTitle, Str* pstrSub, Long iPage, Long iNChPage,
                          Long iNChLine, std::FILE* pfile) {
    std::string szPage;
    catFmt(&szPage, "Page %*i", iNChPage, iPage);
    const Long nChTitle = pstrTitle == nullptr ? 0 : pstrTitle->n();
    const Long nChSub = pstrSub == nullptr ? 0 : pstrSub->n();
    const Long nChPage = static_cast<Long>(szPage.size());
    Long iCol = 0;
    if (pstrTitle != nullptr) std::fputs(pstrTitle->sz(), pfile);
    iCol += nChTitle;
    if (nChSub > 0) {
        Long iColSub = (iNChLine - nChSub) / 2;
        if (iColSub < iCol + (iCol > 0 ? 1 : 0)) iColSub = iCol + (iCol > 0 ? 1 : 0);
        iCol += iNBlPFILE(iColSub - iCol, pfile);
        std::fputs(pstrSub->sz(), pfile);
        iCol += nChSub;
    }
    Long iColPage = iNChLine - nChPage;
    if (iColPage < iCol + (iCol > 0 ? 1 : 0)) iColPage = iCol + (iCol > 0 ? 1 : 0);
    iNBlPFILE(iColPage - iCol, pfile);
    std::fputs(szPage.c_str(), pfile);
    std::fputc('\n', pfile);
}

void printSubHeaderLineOnPFILE(Str* pstrSub, Long iNChLine, std::FILE* pfile) {
    const Long nChSub = pstrSub == nullptr ? 0 : pstrSub->n();
    iNBlPFILE((iNChLine - nChSub) / 2, pfile);
    if (pstrSub != nullptr) std::fputs(pstrSub->sz(), pfile);
    std::fputc('\n', pfile);
    for (Long i = 0; i < iNChLine; i++) std::fputc('-', pfile);
    std::fputc('\n', pfile);
}

// ---- whitespace ----------------------------------------------------------------------

Long iFirstNonWsSz(const char* sz) {
    for (Long i = 0; sz[i] != '\0'; i++)
        if (!bWs(sz[i])) return i;
    return -1;
}

Long iLastNonWsSz(const char* sz) {
    Long iLast = -1;
    for (Long i = 0; sz[i] != '\0'; i++)
        if (!bWs(sz[i])) iLast = i;
    return iLast;
}

Long iNextWsAfterSzI(const char* sz, Long i) {
    VT_ASSERT(i >= 0);
    const Long nCh = static_cast<Long>(std::strlen(sz));
    for (Long k = i + 1; k < nCh; k++)
        if (bWs(sz[k])) return k;
    return nCh;
}

char* szStripTrailWs(char* szDst, const char* szSrc) {
    const Long iLast = iLastNonWsSz(szSrc);
    std::memmove(szDst, szSrc, static_cast<std::size_t>(iLast + 1));
    szDst[iLast + 1] = '\0';
    return szDst;
}

char* szStripLeadTrailWs(char* szDst, const char* szSrc) {
    const Long iFirst = iFirstNonWsSz(szSrc);
    if (iFirst < 0) {
        szDst[0] = '\0';
        return szDst;
    }
    const Long iLast = iLastNonWsSz(szSrc);
    std::memmove(szDst, szSrc + iFirst, static_cast<std::size_t>(iLast - iFirst + 1));
    szDst[iLast - iFirst + 1] = '\0';
    return szDst;
}

// ---- reading text files line by line -------------------------------------------------

namespace {

// Reads one line (without '\n' and a '\r' before it) into sz of nChSz
// characters. With bCut a longer line is cut to fit, else it is a fatal error.
// Returns false at the end of the file when nothing was read.
bool bReadLine(char* sz, Long nChSz, bool bCut, std::FILE* pfile) {
    Long nCh = 0;
    int ich;
    bool bAny = false;
    while ((ich = std::fgetc(pfile)) != EOF) {
        bAny = true;
        if (ich == '\n') break;
        if (nCh < nChSz - 1) {
            sz[nCh++] = static_cast<char>(ich);
        } else if (!bCut) {
            fatalErrorSzFmtI("text file line longer than %i characters", nChSz - 1);
        }
    }
    if (nCh > 0 && sz[nCh - 1] == '\r') nCh--;
    sz[nCh] = '\0';
    return bAny;
}

// A file's text in a fatal message: '%' would be read as a format there.
std::string szSafe(const char* sz) {
    std::string s(sz);
    for (char& ch : s)
        if (ch == '%') ch = '?';
    if (s.size() > 200) s.resize(200);
    return s;
}

}  // namespace

unsigned char readLineWithSzNonWsInPFILE(char* sz, std::FILE* pfile) {
    while (bReadLine(sz, nChLineMax, false, pfile)) {
        const Long iFirst = iFirstNonWsSz(sz);
        if (iFirst >= 0 && sz[iFirst] != '#') return 1;
    }
    sz[0] = '\0';
    return 0;
}

void checkLineSzNonWsInPFILE(const char* szExpected, std::FILE* pfile) {
    char szLine[nChLineMax];
    std::string szWant(szExpected);
    szStripLeadTrailWs(szWant.data(), szWant.c_str());
    szWant.resize(std::strlen(szWant.c_str()));
    if (!readLineWithSzNonWsInPFILE(szLine, pfile)) {
        const std::string szMsg = "text file ends where the line \"" + szSafe(szWant.c_str()) +
                                  "\" was expected";
        fatalErrorSzMsg(szMsg.c_str());
    }
    szStripLeadTrailWs(szLine, szLine);
    if (szWant != szLine) {
        const std::string szMsg = "text file has \"" + szSafe(szLine) + "\" where \"" +
                                  szSafe(szWant.c_str()) + "\" was expected";
        fatalErrorSzMsg(szMsg.c_str());
    }
}

void skipLineInPFILE(std::FILE* pfile) {
    int ich;
    while ((ich = std::fgetc(pfile)) != EOF && ich != '\n') {
    }
}

char* szILinePFILE(char* sz, Long iLine, Long nChSz, std::FILE* pfile) {
    VT_ASSERT(iLine >= 0);
    VT_ASSERT(nChSz > 0);
    std::rewind(pfile);
    for (Long i = 0; i < iLine; i++) {
        int ich;
        while ((ich = std::fgetc(pfile)) != EOF && ich != '\n') {
        }
        if (ich == EOF) return nullptr;
    }
    return bReadLine(sz, nChSz, true, pfile) ? sz : nullptr;
}

void skipINLinePFILE(Long iNLine, std::FILE* pfile) {
    VT_ASSERT(iNLine > 0);
    for (Long i = 0; i < iNLine; i++) skipLineInPFILE(pfile);
}

std::string szFmt(const char* szFormat, ...) {
    char szBuf[512];
    va_list args;
    va_start(args, szFormat);
    std::vsnprintf(szBuf, sizeof szBuf, szFormat, args);
    va_end(args);
    return szBuf;
}
