// What the lines of the log are made of.
#pragma once

#include <string>

#include "protocol/WireTypes.h"

/// The path of the program file, empty if the system does not tell it.
std::string GetModuleFileName();

/// Its directory ("." if unknown) and its name.
std::string ModuleDirectory();
std::string ModuleName();

/// "yyyymmdd" of the local day of a wall time in microseconds.
std::string LogDate(tint64 wallMicroseconds);

/// All of a line before its text: local time, level, process, with `bThreadID` the thread, and `pFile` (may be null)
/// without its directories, with the line.
std::string LogHead(int level, const char* pFile, int iLine, bool bThreadID);

/// The text without line feeds at its end and with '?' for every other control character.
std::string CleanText(std::string text);

/// Lines of "offset: 16 bytes" in hexadecimal.
std::string HexDump(const unsigned char* pBytes, size_t length);
