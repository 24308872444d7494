#include "fuzzutil.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>

void enterFuzzDir() {
    static bool bEntered = false;
    if (bEntered) return;
    char szTemplate[] = "/tmp/vt_fuzz_XXXXXX";
    if (mkdtemp(szTemplate) == nullptr || chdir(szTemplate) != 0) std::abort();
    bEntered = true;
}

void writeFuzzFile(const char* szFile, const std::uint8_t* pData, std::size_t nSize) {
    std::FILE* pfile = std::fopen(szFile, "wb");
    if (pfile == nullptr) std::abort();
    if (nSize > 0 && std::fwrite(pData, 1, nSize, pfile) != nSize) std::abort();
    std::fclose(pfile);
}

bool bFileHasNonFinite(const char* szFile) {
    std::FILE* pfile = std::fopen(szFile, "rb");
    if (pfile == nullptr) return false;
    std::string sz;
    int ch;
    while ((ch = std::fgetc(pfile)) != EOF) sz += static_cast<char>(std::tolower(ch));
    std::fclose(pfile);
    return sz.find("nan") != std::string::npos || sz.find("inf") != std::string::npos;
}
