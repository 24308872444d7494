// Run log, fatal errors, impossible-state reports and assertions.
//
// The run log "fe.log" is rewritten on every run in the current directory.
// Every time-stamped line is preceded, when the local date has changed since
// the last one (and always before the very first), by a date line and a blank
// line. Data and user errors end the program through fatalError() and its
// formatting variants: a framed record goes to the log and the message to the
// standard error stream, and the process exits with status 1. Broken
// preconditions are VT_ASSERT failures: expression text, file and line on the
// standard error stream, then abort() -- in every build type, NDEBUG or not.
//
// All functions use shared static buffers and are not reentrant; the program
// calls them from one thread. Callers keep messages well under 1024 bytes.
#pragma once

#include <cstdio>
#include <string>
#include <ctime>

#include "core/types.h"

// ---- lifecycle -------------------------------------------------------------
// Opens (rewrites) the run log; the program's is "fe.log" in the current
// directory.
void openLogFile(const char* szFile = "fe.log");
void closeLogFile();
void flushLog();
void logDateIfChanged(std::tm* ptm);

// The open log stream, or null before opening, after closing and when the
// log could not be opened.
std::FILE* pfileLogCurrent();

// ---- writing ---------------------------------------------------------------
void logSz(const char* sz);
void logLineSz(const char* sz);

void logSzFmtI(const char* szFmt, Long i);
void logSzFmtId(const char* szFmt, ULong i);
void logSzFmtU(const char* szFmt, ULong u);
void logSzFmtP(const char* szFmt, const unsigned char* p);
void logSzFmtSz(const char* szFmt, const char* sz);
void logSzFmtCh(const char* szFmt, char ch);
void logSzFmtF32(const char* szFmt, float f);
void logSzFmtF64(const char* szFmt, double f);
void logSzFmtB(const char* szFmt, unsigned char b);
void logSzFmtII(const char* szFmt, Long i1, Long i2);
void logSzFmtPP(const char* szFmt, const unsigned char* p1, const unsigned char* p2);

void logLineSzFmtI(const char* szFmt, Long i);
void logLineSzFmtId(const char* szFmt, ULong i);
void logLineSzFmtU(const char* szFmt, ULong u);
void logLineSzFmtP(const char* szFmt, const unsigned char* p);
void logLineSzFmtSz(const char* szFmt, const char* sz);
void logLineSzFmtCh(const char* szFmt, char ch);
void logLineSzFmtF32(const char* szFmt, float f);
void logLineSzFmtF64(const char* szFmt, double f);
void logLineSzFmtB(const char* szFmt, unsigned char b);
void logLineSzFmtII(const char* szFmt, Long i1, Long i2);
void logLineSzFmtPP(const char* szFmt, const unsigned char* p1, const unsigned char* p2);

// ---- errors ----------------------------------------------------------------
[[noreturn]] void fatalError(const char* sz);
[[noreturn]] void fatalErrorSzMsg(const char* sz);
[[noreturn]] void fatalErrorSzFmtI(const char* szFmt, Long i);
[[noreturn]] void fatalErrorSzFmtII(const char* szFmt, Long i1, Long i2);
[[noreturn]] void fatalErrorSzFmtIII(const char* szFmt, Long i1, Long i2, Long i3);
[[noreturn]] void fatalErrorSzFmtSzI(const char* szFmt, const char* sz, Long i);
[[noreturn]] void fatalErrorSzFmtSzII(const char* szFmt, const char* sz, Long i1, Long i2);
[[noreturn]] void fatalErrorSzFmtSzIII(const char* szFmt, const char* sz, Long i1, Long i2,
                                       Long i3);
[[noreturn]] void fatalErrorSzFmtF64(const char* szFmt, double f);

// Reports an impossible state. Despite its text ("will try and continue"),
// it always ends the program with a failed assertion "0".
[[noreturn]] void cantHappen(const char* sz);

// ---- timing ----------------------------------------------------------------
void initTiming();
void logTimeStepSz(const char* sz);

// ---- assertions --------------------------------------------------------------
[[noreturn]] void assertFailed(const char* szExpr, const char* szFile, int iLine);

// Fires in every build type (NDEBUG does not silence it).
#define VT_ASSERT(expr) \
    (static_cast<bool>(expr) ? static_cast<void>(0) : assertFailed(#expr, __FILE__, __LINE__))

// ---- how the program stops --------------------------------------------------
// In the fuzzing and robustness builds (VT_STOP_THROWS defined), the specified
// ways of stopping -- a fatal error (exit status 1), an assertion or an
// impossible state -- throw ProgramStop instead of ending the process, so a
// harness can tell them apart from real crashes. Normal builds never throw.
struct ProgramStop {
    int iStatus;         // 1 for a fatal error, 134 for an assertion
    std::string szWhat;  // the report's text
};

// In those builds a host that reports the stop itself (the Python module
// turns it into an exception carrying the message) may silence the report
// on the standard error stream; the run log, when open, still gets its
// record. Normal builds always report.
void setStopReportQuiet(bool bQuiet);
