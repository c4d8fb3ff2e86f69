// Standard error for a library: nobody waits for it.
#pragma once

#include <string_view>

/// Prints text to standard error. A pipe or terminal that nobody reads holds up no thread: what it has no room for now
/// is dropped, and the number of lines dropped stands in front of the next text that goes through. A piece of at most
/// PIPE_BUF bytes goes out whole or not at all. Any thread, any lock may be held; keeps errno and throws nothing. Only
/// a writer outside the library that fills the same pipe at the very same moment can hold up one line of one thread.
void PrintConsole(std::string_view text);

/// The same with a format; the text is cut at 511 bytes.
void PrintConsoleF(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));
