// Reading and writing of plain bool run flags that two threads share.
#pragma once

#include <atomic>

/// Run flags cross the thread interface as `bool*`; these two are the only ways to touch one.
inline bool RunFlagSet(const bool& bRun) { return std::atomic_ref<bool>(const_cast<bool&>(bRun)).load(); }
inline void SetRunFlag(bool& bRun, bool bValue) { std::atomic_ref<bool>(bRun).store(bValue); }
