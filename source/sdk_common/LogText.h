// What the lines of the log are made of.
#pragma once

#include <string>

#include "protocol/WireTypes.h"

/// The path of the program file, empty if the system does not tell it.
std::string GetModuleFileName();

/// A program file's directory ("." if unknown) and its name.
struct LOG_MODULE {
    std::string directory;
    std::string name;
};

/// Of a path as GetModuleFileName tells it, which has " (deleted)" behind it once the file was replaced or removed.
LOG_MODULE ModuleOf(std::string path);

/// Of this program. Looked up once: an upgrade of the running program changes nothing.
const LOG_MODULE& Module();

/// "yyyymmdd" of the local day of a wall time in microseconds.
std::string LogDate(tint64 wallMicroseconds);

/// All of a line before its text: local time, level, process, with `bThreadID` the thread, and `pFile` (may be null)
/// without its directories, with the line.
std::string LogHead(int level, const char* pFile, int iLine, bool bThreadID);

/// The text without line feeds at its end and with '?' for every other control character.
std::string CleanText(std::string text);

/// Lines of "offset: 16 bytes" in hexadecimal.
std::string HexDump(const unsigned char* pBytes, size_t length);
