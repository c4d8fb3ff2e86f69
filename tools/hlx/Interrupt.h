#pragma once

#include <atomic>
#include <chrono>
#include <thread>

// SIGINT and SIGTERM as an event that the main thread waits for. The first one asks for an orderly end, the second ends
// the process at once. Make it before any other thread, so that every thread inherits the blocked signals; SIGPIPE is
// ignored from then on.
class CInterrupt {
public:
    CInterrupt();
    ~CInterrupt();
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    // With true already the first signal ends the process at once: nothing is open that needs an orderly end.
    void QuitAtOnce(bool bAtOnce) { m_bQuitAtOnce = bAtOnce; }

    // The first signal that came, 0 for none.
    int Signal() const { return m_nSignal; }

    // Blocks until a signal, a Wake or the time is over. Wakes that came since the last Wait count.
    void Wait(std::chrono::milliseconds longest);

    // Ends a Wait, from any thread.
    void Wake();

    // Readable after a signal or a Wake, for a poll of one's own.
    int Fd() const { return m_nWakeFd; }

private:
    void SignalProc();

    int m_nWakeFd;
    int m_nStopFd;
    int m_nSignalFd;
    std::atomic<int> m_nSignal{0};
    std::atomic<bool> m_bQuitAtOnce{true};
    std::thread m_thread;  // runs SignalProc; the destructor ends it
};
