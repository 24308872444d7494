// Shared pieces of the fuzz targets.
#pragma once

#include <cstddef>
#include <cstdint>

// Moves the process into a private temporary directory (once), so the fixed
// file names the program reads and writes never touch the source tree.
void enterFuzzDir();
// Writes the fuzz input to a file of the given name in that directory.
void writeFuzzFile(const char* szFile, const std::uint8_t* pData, std::size_t nSize);
// True when the file exists and contains "nan" or "inf" in any case: a report
// written with such a value is a silently wrong report.
bool bFileHasNonFinite(const char* szFile);
