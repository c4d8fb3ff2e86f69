#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

#include "ErrorTable.h"

// Data goes to standard output, everything else to standard error. All of this is called from the main thread.

// Writes the whole text to standard output. 0, or the errno of the write that failed.
int PrintData(std::string_view strText);

// Writes one JSON record as a line to standard output; bytes that are no UTF-8 are replaced. Result as PrintData.
int PrintJson(const nlohmann::ordered_json& record);

// The exit code after a write to standard output: a reader that went away is a normal end, other errors are told.
EXIT_CODE PrintedExit(int nErrno);

// One line on standard error.
void PrintNote(std::string_view strText);

// A line on a terminal's standard error that the next figures line takes the place of. Nothing without a terminal.
void PrintFigures(std::string_view strText);
bool FiguresShown();

// Takes the line of figures away, where there is one.
void ClearFigures();

// Tells a failure: "hlx: <what>: <sentence> (<name>, <number>)" on standard error, with bJson also a record
// {"event":"error",...} on standard output. Returns the row's exit code.
EXIT_CODE Fail(bool bJson, std::string_view strWhat, const ERROR_ROW& row);

// The same for a failure that is not the library's: "hlx: <sentence>".
EXIT_CODE Fail(bool bJson, std::string_view strSentence, EXIT_CODE eExit);

// From now on standard error is ours alone: what the library writes there is dropped.
void SilenceLibrary();
