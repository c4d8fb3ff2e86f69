// What the library bears: many channels, many recorders, many logins, many lives. Each proof gives a sentence of what was wrong,
// empty when nothing was, and its figures in `sFigures`. HLX_Init is theirs.
#pragma once

#include <string>

/// Live streams of `recorders` recorders with `channels` channels each for `seconds`: every frame whole, in order, none lost, and
/// memory that does not grow.
std::string ProveLive(unsigned recorders, unsigned channels, double speed, int seconds, std::string& sFigures);

/// Logins and logouts of one recorder: threads and descriptors as before; at most 256 KiB more in memory than after the first tenth,
/// where `bMemory` says that this machine's memory tells it.
std::string ProveLogins(int count, bool bMemory, std::string& sFigures);

/// HLX_Init and HLX_Cleanup, likewise.
std::string ProveLives(int count, bool bMemory, std::string& sFigures);

/// dlopen, a login in and dlclose of the shared library `sLibrary`, likewise.
std::string ProveLoads(int count, bool bMemory, const std::string& sLibrary, std::string& sFigures);

/// A login, a stream and a logout behind so many open descriptors. Nothing is proved, and `sFigures` says so, where the system
/// allows fewer.
std::string ProveHighDescriptors(int count, std::string& sFigures);
