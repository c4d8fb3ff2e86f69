// Callers whose first bytes are still to come.
#pragma once

#include <poll.h>

#include <vector>

#include "netservice/ListenProc.h"

/// Holds accepted sockets until so many bytes wait on them that the receiver can read at once. So a caller that says
/// nothing holds up nobody. A bounded number: when it is full, the oldest caller goes. One thread.
class CPendingCallers {
public:
    static constexpr size_t MAX_CALLERS = 64;

    CPendingCallers() { m_callers.reserve(MAX_CALLERS); }
    /// Closes the sockets that are left.
    ~CPendingCallers();
    CPendingCallers(const CPendingCallers&) = delete;
    CPendingCallers& operator=(const CPendingCallers&) = delete;

    /// Takes a socket over. It is given out by TakeReady once `firstBytes` bytes wait on it or its peer has closed, and
    /// closed when neither happens within `wait` milliseconds.
    void Add(const CLIENT_SOCK_INFO& info, int firstBytes, unsigned int wait);

    /// Fills one entry per caller, to be polled, and gives their number.
    size_t Watch(pollfd* pWatched) const;
    /// Milliseconds until the next caller is late; -1 without one.
    int NextWait() const;
    /// Reads what came of the entries, as Watch filled them and with no Add since, and closes those that are late.
    void Note(const pollfd* pWatched);
    /// Gives out a caller that is ready; its socket then belongs to the one who asked.
    bool TakeReady(CLIENT_SOCK_INFO& info);

private:
    struct CALLER {
        CLIENT_SOCK_INFO info;
        tint64 deadline;  // milliseconds of the monotonic clock
        bool bReady;
    };

    static void Drop(const CALLER& caller, const char* pWhy);

    std::vector<CALLER> m_callers;  // in order of arrival; never grows beyond what is reserved
};
