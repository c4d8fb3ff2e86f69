// Recorded sessions whose bytes are changed at random.
#pragma once

/// Runs `count` of them, several at once, and prints what became of them. True when the process holds no more thread, descriptor or
/// memory than after the first tenth and every session ended. A session that does not end within a minute ends the process, so
/// that it can be looked at. HLX_Init is its own.
bool RunMutations(unsigned count);
