// Number, time and text formatting for reports, and helpers for reading text
// files line by line.
//
// Numbers: the sign/mantissa/exponent split, the engineering exponent with
// its SI prefix letter, and a fixed-width exponent print. Time: a date and
// time string in the forms reports use. Pages: blanks, heading lines. Text:
// whitespace helpers (whitespace is what isspace() says) and line readers.
#pragma once

#include <cstdio>
#include <ctime>
#include <string>

#include "core/str.h"
#include "core/types.h"

// ---- numbers ---------------------------------------------------------------------

// f = *piSign * *pfMant * 10^*piExp with the mantissa in [0.1, 1) and the sign
// +1 or -1; for f = 0 all three are 0. 1000 gives 1, 0.1, 4. f must be finite
// (assertion "std::isfinite(f)"); from about 1e308 on, 10^*piExp is no longer
// a double and the first of the closing assertions fails.
void iSignFMantIExpF(Long* piSign, double* pfMant, Long* piExp, double f);

// Engineering exponent (a multiple of 3) and SI prefix letter for f, chosen by
// the decimal exponent e of f's leading digit: in range for -18 <= e <= 17
// ('a' 'f' 'p' 'n' 'u' 'm' ' ' 'k' 'M' 'G' 'T' 'P'), then the significand is
// f / 10^exponent (with f's sign) and the result is 1. Zero counts as e = -1:
// exponent -3, prefix 'm', significand 0. Out of range: 0, with exponent 0,
// significand f and a blank prefix. 4700 gives 4.7, 3, 'k'.
unsigned char bInRangeISignFSigIExpChSIPrefixF(Long* piSign, double* pfSig, Long* piExpPrefix,
                                               char* pchPrefix, double f);

// Writes f as "[-]d.ddde+x" with the mantissa in [1, 10) and iNChPrec - 1
// decimals, right-aligned in iNChSize characters (never cut when wider). The
// exponent has no leading zeros ("e+0", "e-12"). A mantissa that rounds up to
// 10 is written as 1 with the next exponent. Zero is written "0.000e+0".
void printFE(std::FILE* pfile, Long iNChSize, Long iNChPrec, double f);

// Writes f as printf's "%W.Pf" would (W = iWidth, P = iPrec, 0..17) in the
// C locale, at pch, and returns the end of what it wrote (no terminating
// zero). pch must have room for 330 + iWidth + iPrec characters. The digits
// of a finite value come from std::to_chars, which is specified to give
// printf's digits for a precision; other values go through snprintf itself.
char* pchPutFixed(char* pch, double f, int iWidth, int iPrec);

// ---- date and time -------------------------------------------------------------------

// The current local date and time as a new Str, owned by the caller.
//   date:  "%02i%3s%02i": the year counted from 1900 as the C library keeps it
//          (108 in 2008, deliberately not converted), "Jan".."Dec", the day;
//   time:  24-hour "13:05:09" / "13:05"; 12-hour with seconds "1:05:09 PM",
//          where 12:30:05 reads "0:30:05 PM"; 12-hour without seconds keeps
//          the hour 12 for the noon hour ("12:30 PM"). Midnight is hour 0 in
//          both 12-hour forms. These asymmetries are long-standing and kept.
//   Two blanks separate date and time when both are asked for; bTimeS and
//   bTime24Hr matter only with bTime.
Str* pstrDateTime(unsigned char bDate, unsigned char bTime, unsigned char bTimeS,
                  unsigned char bTime24Hr);
// The same text for a given broken-down time (month 0-11, else an assertion).
Str strDateTimeFmTm(const std::tm& tm, unsigned char bDate, unsigned char bTime,
                    unsigned char bTimeS, unsigned char bTime24Hr);

// ---- pages ---------------------------------------------------------------------------

// Writes n blanks (none when n <= 0); returns how many were written.
Long iNBlPFILE(Long n, std::FILE* pfile);

// One heading line iNChLine wide: the title at the left, the second text
// centred, and "Page %*i" (page number iNChPage wide) at the right, then a
// line feed. Parts that do not fit are kept apart by single blanks.
void printHeadLineOnPFILE(Str* pstrTitle, Str* pstrSub, Long iPage, Long iNChPage,
                          Long iNChLine, std::FILE* pfile);
// The text centred in iNChLine columns, a line feed, a rule of iNChLine '-'
// and a line feed.
void printSubHeaderLineOnPFILE(Str* pstrSub, Long iNChLine, std::FILE* pfile);

// ---- whitespace ----------------------------------------------------------------------

// Index of the first / last non-whitespace character, -1 when there is none.
Long iFirstNonWsSz(const char* sz);
Long iLastNonWsSz(const char* sz);
// Index of the first whitespace character after index i (i itself not
// included), or the length of sz when none follows. i must lie in sz.
Long iNextWsAfterSzI(const char* sz, Long i);
// Copy szSrc into szDst without trailing / leading and trailing whitespace
// and return szDst. szDst may be szSrc (in place); otherwise it must hold
// strlen(szSrc) + 1 characters.
char* szStripTrailWs(char* szDst, const char* szSrc);
char* szStripLeadTrailWs(char* szDst, const char* szSrc);

// ---- reading text files line by line -------------------------------------------------
//
// Line buffers hold nChLineMax characters. A line longer than that is a fatal
// error naming the problem. Lines end at '\n'; a '\r' before it is dropped.

constexpr Long nChLineMax = 1024;

// Reads the next line that is neither blank nor a comment (first non-blank
// character '#') into sz, without its line end. Returns 1, or 0 at the end
// of the file (sz is then empty).
unsigned char readLineWithSzNonWsInPFILE(char* sz, std::FILE* pfile);
// Reads the next such line and requires it to equal szExpected apart from
// leading and trailing whitespace; anything else is a fatal error.
void checkLineSzNonWsInPFILE(const char* szExpected, std::FILE* pfile);
// Skips the rest of the current line (up to and including its '\n').
void skipLineInPFILE(std::FILE* pfile);
// Line iLine (0 is the first) of the file, read from its start, into sz of
// nChSz characters (a longer line is cut to fit). Returns sz, or null when
// the file has fewer lines. Assertion "iLine >= 0".
char* szILinePFILE(char* sz, Long iLine, Long nChSz, std::FILE* pfile);
// Skips iNLine lines. Assertion "iNLine > 0".
void skipINLinePFILE(Long iNLine, std::FILE* pfile);

// printf into a std::string, for one-line messages (cut at 511 characters).
std::string szFmt(const char* szFormat, ...) __attribute__((format(printf, 1, 2)));
