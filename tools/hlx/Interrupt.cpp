#include "Interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

#include "ExitCodes.h"

namespace {

int MakeSignalFd() {
    signal(SIGPIPE, SIG_IGN);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_CLOEXEC);
}

void Raise(int nEventFd) {
    const uint64_t nOne = 1;
    if (write(nEventFd, &nOne, sizeof nOne) < 0) return;  // only a full counter fails, which is raised anyhow
}

}  // namespace

CInterrupt::CInterrupt()
    : m_nWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_nStopFd(eventfd(0, EFD_CLOEXEC)),
      m_nSignalFd(MakeSignalFd()),
      m_thread([this] { SignalProc(); }) {}

CInterrupt::~CInterrupt() {
    Raise(m_nStopFd);
    m_thread.join();
    for (int nFd : {m_nWakeFd, m_nStopFd, m_nSignalFd}) close(nFd);
}

void CInterrupt::Wait(std::chrono::milliseconds longest) {
    pollfd wait{m_nWakeFd, POLLIN, 0};
    poll(&wait, 1, static_cast<int>(std::clamp<int64_t>(longest.count(), 0, 3'600'000)));
    uint64_t nCount = 0;
    if (read(m_nWakeFd, &nCount, sizeof nCount) < 0) return;  // nothing was raised
}

void CInterrupt::Wake() { Raise(m_nWakeFd); }

void CInterrupt::SignalProc() {
    for (;;) {
        pollfd waits[] = {{m_nStopFd, POLLIN, 0}, {m_nSignalFd, POLLIN, 0}};
        if (poll(waits, 2, -1) < 0) continue;
        if (waits[0].revents != 0) return;
        signalfd_siginfo info{};
        if (read(m_nSignalFd, &info, sizeof info) != sizeof info) continue;
        const int nSignal = static_cast<int>(info.ssi_signo);
        if (m_nSignal != 0 || m_bQuitAtOnce) _exit(SignalExitCode(nSignal));
        m_nSignal = nSignal;
        Wake();
    }
}
