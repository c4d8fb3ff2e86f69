// Assertions and traces that have no effect.
#pragma once

/// States what the writer takes for granted. Checks nothing.
inline void MyAssert(bool) {}

/// Writes nothing.
template <class... Arguments>
void MyLog(const char*, const Arguments&...) {}
