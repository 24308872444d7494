#include "support/testutil.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vttest {

std::string readFile(const std::string& szPath) {
    std::ifstream in(szPath, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeFile(const std::string& szPath, const std::string& szText) {
    std::ofstream out(szPath, std::ios::binary);
    out << szText;
}

bool fileExists(const std::string& szPath) { return std::filesystem::exists(szPath); }

RunResult runCommand(const std::string& szCmd, const std::string& szDir, int iTimeoutS) {
    const std::string szOut = std::filesystem::temp_directory_path() /
                              ("vt_out_" + std::to_string(getpid()) + "_" + std::to_string(rand()));
    const std::string szErr = szOut + ".err";
    const std::string szFull = "cd '" + szDir + "' && timeout " + std::to_string(iTimeoutS) +
                               " " + szCmd + " >'" + szOut + "' 2>'" + szErr + "' </dev/null";
    int iStatus = std::system(szFull.c_str());
    RunResult r{};
    if (WIFEXITED(iStatus))
        r.iExit = WEXITSTATUS(iStatus);
    else if (WIFSIGNALED(iStatus))
        r.iExit = 128 + WTERMSIG(iStatus);
    else
        r.iExit = -1;
    r.szOut = readFile(szOut);
    r.szErr = readFile(szErr);
    std::filesystem::remove(szOut);
    std::filesystem::remove(szErr);
    return r;
}

std::string szProgram() { return VT_BIN; }

std::string szRe(const std::string& sz) {
    std::string szOut;
    for (char ch : sz) {
        if (std::string(".^$|()[]{}*+?\\").find(ch) != std::string::npos) szOut += '\\';
        szOut += ch;
    }
    return szOut;
}

void copyTestData(const std::string& szRel, const std::string& szDest) {
    std::filesystem::copy_file(std::string(VT_TEST_DATA) + "/" + szRel, szDest,
                               std::filesystem::copy_options::overwrite_existing);
}

std::string szAssertRe(const std::string& szExpr, const std::string& szFileStem) {
    return "Assertion failed: " + szRe(szExpr) + ", file .*" + szFileStem;
}

std::string szPrintedFn(void (*pfn)(std::FILE*, void*), void* pv) {
    char* pch = nullptr;
    std::size_t n = 0;
    std::FILE* pfile = open_memstream(&pch, &n);
    pfn(pfile, pv);
    std::fclose(pfile);
    std::string sz(pch, n);
    std::free(pch);
    return sz;
}

}  // namespace vttest

void InTempDir::SetUp() {
    szOldDir = std::filesystem::current_path();
    std::string szTemplate = (std::filesystem::temp_directory_path() / "vt_test_XXXXXX").string();
    char* pch = mkdtemp(szTemplate.data());
    ASSERT_NE(pch, nullptr);
    szDir = pch;
    std::filesystem::current_path(szDir);
}

void InTempDir::TearDown() {
    std::filesystem::current_path(szOldDir);
    std::error_code ec;
    std::filesystem::remove_all(szDir, ec);
}
