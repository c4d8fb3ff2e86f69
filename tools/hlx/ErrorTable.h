#pragma once

#include <cstdint>
#include <span>

#include "ExitCodes.h"

// One error number of the library in words.
struct ERROR_ROW {
    uint32_t dwNumber;      // an HLX_ERROR value
    const char* sName;      // its name in HLX.h
    const char* sSentence;  // what a person reads; starts small, no full stop
    EXIT_CODE eExit;        // how the tool ends on it
};

// All rows, the row of number n at place n.
std::span<const ERROR_ROW> ErrorTable();

// The row of a number; a row of its own for a number that HLX.h does not have.
const ERROR_ROW& ErrorRow(uint32_t dwNumber);
