// Run log, fatal errors and assertions (see logerror.h).
#include "core/logerror.h"

#include <sys/time.h>

#include <cstdlib>
#include <cstring>

// The formatting variants take their format from the caller by design, so
// non-literal formats are expected throughout this file.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// A log line longer than its 1024-byte buffer is cut there, by design.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace {

// The run log of the process, like its standard streams one per process:
// the open file, the date of its last date line, and the times its elapsed
// time lines count from.
std::FILE* pfileLog = nullptr;
Long iYr = 0, iMn = 0, iDay = 0;
bool bStopQuiet = false;  // only honoured by the throwing builds

struct Timeb {
    long lSec;
    int iMs;
};
Timeb timebInit{0, 0};
Timeb timebPrev{0, 0};

const char* const aszMonth[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const aszWeekday[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                   "Thursday", "Friday", "Saturday"};

const char szRule69[] =
    "#####################################################################";
const char szRule78[] =
    "\n##############################################################################\n";
static_assert(sizeof(szRule69) == 70, "opening rule is 69 '#'");
static_assert(sizeof(szRule78) == 81, "closing rule is 78 '#' between line feeds");

void writeLog(const char* sz) {
    // The program does not guard its log writes; with no log they are skipped.
    if (pfileLog != nullptr) std::fputs(sz, pfileLog);
}

std::tm tmNow() {
    std::time_t t = std::time(nullptr);
    std::tm tmLocal{};
    localtime_r(&t, &tmLocal);
    return tmLocal;
}

void logLineSzAt(const char* sz) {
    std::tm tmLocal = tmNow();
    logDateIfChanged(&tmLocal);
    // The date rule may have taken a new time for its own line; this line uses
    // the time read before it, as a single moment of writing.
    char szLogBuf[1024];
    std::snprintf(szLogBuf, sizeof szLogBuf, "%02i:%02i:%02i %s\n", tmLocal.tm_hour,
                  tmLocal.tm_min, tmLocal.tm_sec, sz);
    writeLog(szLogBuf);
}

Timeb timebNow() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return Timeb{static_cast<long>(tv.tv_sec), static_cast<int>(tv.tv_usec / 1000)};
}

// Whether a stop is reported on the standard error stream.
bool bReportStop() {
#ifdef VT_STOP_THROWS
    return !bStopQuiet;
#else
    return true;
#endif
}

[[noreturn]] void endProcess(int iStatus, const char* szWhat) {
#ifdef VT_STOP_THROWS
    throw ProgramStop{iStatus, szWhat};
#else
    (void)szWhat;
    if (iStatus == 1) std::exit(1);
    std::abort();
#endif
}

}  // namespace

std::FILE* pfileLogCurrent() { return pfileLog; }

void setStopReportQuiet(bool bQuiet) { bStopQuiet = bQuiet; }

void openLogFile(const char* szFile) {
    pfileLog = std::fopen(szFile, "w");
    if (pfileLog == nullptr) {
        std::fputs("Can't open log file.  Not using one.\n", stderr);
        return;
    }
    logLineSz("LOG FILE OPENED");
    writeLog("\n");
}

void closeLogFile() {
    writeLog("\n");
    logLineSz("LOG FILE CLOSING");
    if (pfileLog != nullptr) {
        std::fclose(pfileLog);
        pfileLog = nullptr;
    }
}

void flushLog() {
    if (pfileLog != nullptr) std::fflush(pfileLog);
}

void logDateIfChanged(std::tm* ptm) {
    if (ptm->tm_mday == iDay && ptm->tm_mon == iMn && ptm->tm_year + 1900 == iYr) return;
    iYr = ptm->tm_year + 1900;
    iMn = ptm->tm_mon;
    iDay = ptm->tm_mday;
    if (ptm->tm_mon < 0 || ptm->tm_mon > 11 || ptm->tm_wday < 0 || ptm->tm_wday > 6)
        cantHappen("logDateIfChanged1");
    // Nested on purpose: the date line is itself a time-stamped line, whose
    // own date rule returns at once because the date is now stored.
    char szDate[1024];
    std::snprintf(szDate, sizeof szDate, "DATE -- %04i/%3s/%02i (%s)\n", iYr,
                  aszMonth[ptm->tm_mon], iDay, aszWeekday[ptm->tm_wday]);
    logLineSzAt(szDate);
}

void logSz(const char* sz) { writeLog(sz); }

void logLineSz(const char* sz) { logLineSzAt(sz); }

#define VT_LOG_FMT_PAIR(suffix, params, args)        \
    void logSzFmt##suffix params {                   \
        char szLine[1024];                           \
        std::snprintf(szLine, sizeof szLine, szFmt, args); \
        writeLog(szLine);                            \
    }                                                \
    void logLineSzFmt##suffix params {               \
        char szLine[1024];                           \
        std::snprintf(szLine, sizeof szLine, szFmt, args); \
        logLineSzAt(szLine);                         \
    }

#define VT_ARGS(...) __VA_ARGS__
VT_LOG_FMT_PAIR(I, (const char* szFmt, Long i), VT_ARGS(i))
VT_LOG_FMT_PAIR(Id, (const char* szFmt, ULong i), VT_ARGS(i))
VT_LOG_FMT_PAIR(U, (const char* szFmt, ULong u), VT_ARGS(u))
VT_LOG_FMT_PAIR(P, (const char* szFmt, const unsigned char* p),
                VT_ARGS(static_cast<const void*>(p)))
VT_LOG_FMT_PAIR(Sz, (const char* szFmt, const char* sz), VT_ARGS(sz))
VT_LOG_FMT_PAIR(Ch, (const char* szFmt, char ch), VT_ARGS(ch))
VT_LOG_FMT_PAIR(F32, (const char* szFmt, float f), VT_ARGS(static_cast<double>(f)))
VT_LOG_FMT_PAIR(F64, (const char* szFmt, double f), VT_ARGS(f))
VT_LOG_FMT_PAIR(B, (const char* szFmt, unsigned char b), VT_ARGS(b ? "true" : "false"))
VT_LOG_FMT_PAIR(II, (const char* szFmt, Long i1, Long i2), VT_ARGS(i1, i2))
VT_LOG_FMT_PAIR(PP, (const char* szFmt, const unsigned char* p1, const unsigned char* p2),
                VT_ARGS(static_cast<const void*>(p1), static_cast<const void*>(p2)))
#undef VT_LOG_FMT_PAIR
#undef VT_ARGS

void fatalError(const char* sz) {
    char szErrLogBuf[1024];
    std::snprintf(szErrLogBuf, sizeof szErrLogBuf, "FATAL ERROR --\n    %s\n", sz);
    writeLog("\n");
    logLineSzAt(szRule69);
    writeLog(szErrLogBuf);
    writeLog(szRule78);
    if (pfileLog != nullptr) std::fclose(pfileLog);
    // The process ends right after this, so nothing can write to the closed
    // stream; clearing the pointer keeps the throwing builds safe as well.
    pfileLog = nullptr;
    // The message itself is the format string, as the system has always done:
    // a '%' in a fatal message is interpreted a second time. Messages are
    // therefore written without '%' characters.
    if (bReportStop()) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
        std::fprintf(stderr, szErrLogBuf);
#pragma GCC diagnostic pop
        std::fflush(stderr);
    }
    endProcess(1, szErrLogBuf);
}

void fatalErrorSzMsg(const char* sz) { fatalError(sz); }

void fatalErrorSzFmtI(const char* szFmt, Long i) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, i);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtII(const char* szFmt, Long i1, Long i2) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, i1, i2);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtIII(const char* szFmt, Long i1, Long i2, Long i3) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, i1, i2, i3);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtSzI(const char* szFmt, const char* sz, Long i) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, sz, i);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtSzII(const char* szFmt, const char* sz, Long i1, Long i2) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, sz, i1, i2);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtSzIII(const char* szFmt, const char* sz, Long i1, Long i2, Long i3) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, sz, i1, i2, i3);
    fatalError(szErrLogBuf1);
}
void fatalErrorSzFmtF64(const char* szFmt, double f) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1, szFmt, f);
    fatalError(szErrLogBuf1);
}

void cantHappen(const char* sz) {
    char szErrLogBuf1[1024];
    std::snprintf(szErrLogBuf1, sizeof szErrLogBuf1,
                  "CAN'T HAPPEN -- Program bug -- will try and continue, but disaster may "
                  "ensue!\n    %s",
                  sz);
    writeLog("\n");
    logLineSzAt(szRule69);
    writeLog(szErrLogBuf1);
    writeLog(szRule78);
    if (bReportStop()) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
        std::fprintf(stderr, szErrLogBuf1);
#pragma GCC diagnostic pop
        std::fputs("\n", stderr);
    }
    // The text promises to continue; the program never does (required).
    assertFailed("0", __FILE__, __LINE__);
}

void initTiming() {
    timebInit = timebNow();
    timebPrev = timebInit;
}

void logTimeStepSz(const char* sz) {
    Timeb timebCur = timebNow();
    double fStep = static_cast<double>(timebCur.lSec - timebPrev.lSec) +
                   (timebCur.iMs - timebPrev.iMs) * 0.001;
    double fTotal = static_cast<double>(timebCur.lSec - timebInit.lSec) +
                    (timebCur.iMs - timebInit.iMs) * 0.001;
    char szLine[1024];
    std::snprintf(szLine, sizeof szLine, "%-28s took %8.3f sec; time from start %8.3f sec", sz,
                  fStep, fTotal);
    logLineSzAt(szLine);
    timebPrev = timebCur;
}

void assertFailed(const char* szExpr, const char* szFile, int iLine) {
    // The log is deliberately not closed: buffered text may be lost, as with
    // the platform's own assertion report.
    if (bReportStop()) {
        std::fprintf(stderr, "Assertion failed: %s, file %s, line %d\n", szExpr, szFile, iLine);
        std::fflush(stderr);
    }
    endProcess(134, szExpr);
}
