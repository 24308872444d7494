// Helpers shared by the test programs.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "core/array.h"
#include "core/mxtypes.h"

namespace vttest {

// The values as an array, indices from iFirst on.
inline A1Val<double> arFOf(const std::vector<double>& v, Long iFirst = 1) {
    A1Val<double> ar(iFirst, iFirst + static_cast<Long>(v.size()) - 1);
    for (std::size_t i = 0; i < v.size(); i++) ar[iFirst + static_cast<Long>(i)] = v[i];
    return ar;
}
inline Vd<double> vdfOf(const std::vector<double>& v, Long lo = 0) {
    Vd<double> vdf(lo, lo + static_cast<Long>(v.size()) - 1);
    for (std::size_t i = 0; i < v.size(); i++) vdf[lo + static_cast<Long>(i)] = v[i];
    return vdf;
}

// Reads a whole file; an empty string when it does not exist.
std::string readFile(const std::string& szPath);
void writeFile(const std::string& szPath, const std::string& szText);
bool fileExists(const std::string& szPath);

// Result of running a command through the shell.
struct RunResult {
    int iExit;          // exit status, or 128 + signal number
    std::string szOut;  // standard output
    std::string szErr;  // standard error
};
// Runs szCmd in directory szDir with a time limit (seconds).
RunResult runCommand(const std::string& szCmd, const std::string& szDir, int iTimeoutS = 60);

// Path of the vantorell program built beside the tests.
std::string szProgram();
// Escapes a literal text for the death-test regular expressions.
std::string szRe(const std::string& sz);
// Copies a file from tests/data (relative path) to szDest.
void copyTestData(const std::string& szRel, const std::string& szDest);
// The death-test pattern of a failed assertion `szExpr` in a file whose name
// starts with szFileStem.
std::string szAssertRe(const std::string& szExpr, const std::string& szFileStem);
// Whatever fn writes to the stream it is given, as a string.
std::string szPrintedFn(void (*pfn)(std::FILE*, void*), void* pv);
template <class Fn>
std::string szPrinted(Fn fn) {
    return szPrintedFn([](std::FILE* pf, void* pvFn) { (*static_cast<Fn*>(pvFn))(pf); }, &fn);
}

}  // namespace vttest

// A fixture that runs each test in a fresh temporary directory, because the
// program writes its files ("fe.log", reports) into the current directory.
class InTempDir : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    std::string szDir;

private:
    std::string szOldDir;
};
