// Calls of the library that the system may refuse go through SystemCall: one that a signal interrupts is made again,
// and in builds with HLX_SYSTEM_FAULTS tests make it fail.
#pragma once

#include <cerrno>
#include <cstddef>

enum class SYSTEM_CALL {
    SOCKET,
    CONNECT,
    BIND,
    LISTEN,
    ACCEPT,
    RECV,
    SEND,
    EPOLL_CREATE,
    EPOLL_CTL,
    EPOLL_WAIT,
    EVENT_FD,
    OPEN_FILE,
    WRITE_FILE,
    MAP_MEMORY,
    START_THREAD,
    ALLOCATE,
};
constexpr int SYSTEM_CALL_COUNT = static_cast<int>(SYSTEM_CALL::ALLOCATE) + 1;

/// What becomes of one call: error is its errno (0: the call is made), longest the most bytes that it may move.
struct SYSTEM_FAULT {
    int error = 0;
    size_t longest = static_cast<size_t>(-1);
};

#ifdef HLX_SYSTEM_FAULTS
/// Asked before each call, on the thread that makes it; may be entered by several threads at once and must not
/// allocate.
using SYSTEM_FAULT_HOOK = SYSTEM_FAULT (*)(SYSTEM_CALL call);

/// Puts a hook in force, null for none.
void SetSystemFaultHook(SYSTEM_FAULT_HOOK hook);
SYSTEM_FAULT NextSystemFault(SYSTEM_CALL call);
#else
constexpr SYSTEM_FAULT NextSystemFault(SYSTEM_CALL) { return {}; }
#endif

/// How often a call is made that signals interrupt.
constexpr int INTERRUPTED_TRIES = 10;

/// `call` gets the most bytes that it may move. Its result, or `failure` with errno when it is to fail.
template <class Call, class Result>
Result SystemCall(SYSTEM_CALL which, Result failure, Call call) {
    Result result = failure;
    for (int tries = 0; tries < INTERRUPTED_TRIES; ++tries) {
        const SYSTEM_FAULT fault = NextSystemFault(which);
        if (fault.error == 0) {
            result = static_cast<Result>(call(fault.longest));
        } else {
            errno = fault.error;
        }
        if (result != failure || errno != EINTR) break;
    }
    return result;
}
