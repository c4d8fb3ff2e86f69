#include "simulator/ControlLoop.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

namespace {

constexpr size_t LONGEST_LINE = 4096;

}  // namespace

CControlLoop::CControlLoop() {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signalFd = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

CControlLoop::~CControlLoop() { close(m_signalFd); }

void CControlLoop::WaitUntil(SIM_TIME due, bool& bSignal, bool& bInput) const {
    using std::chrono::nanoseconds;
    const SIM_TIME now = SIM_CLOCK::now();
    const nanoseconds wait = std::clamp<nanoseconds>(std::max(due, now) - now, nanoseconds(0), std::chrono::hours(1));
    const timespec timeout{static_cast<time_t>(wait.count() / 1000000000),
                           static_cast<long>(wait.count() % 1000000000)};
    pollfd sources[] = {{m_signalFd, POLLIN, 0}, {m_take ? STDIN_FILENO : -1, POLLIN, 0}};
    const bool bAny = ppoll(sources, std::size(sources), &timeout, nullptr) > 0;
    bSignal = bAny && sources[0].revents != 0;
    bInput = bAny && sources[1].revents != 0;
}

void CControlLoop::Run(SIM_TIME end) {
    for (;;) {
        m_schedule.RunDue(SIM_CLOCK::now());
        bool bSignal = false, bInput = false;
        WaitUntil(std::min(end, m_schedule.NextDue()), bSignal, bInput);
        if (bSignal || SIM_CLOCK::now() >= end) return;
        if (bInput) ReadInput();
    }
}

void CControlLoop::ReadInput() {
    char chunk[4096];
    const ssize_t got = read(STDIN_FILENO, chunk, sizeof(chunk));
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return;
    for (ssize_t n = 0; n < got; ++n) {
        if (chunk[n] == '\n') {
            TakeLine();
        } else if (m_sLine.size() < LONGEST_LINE) {
            m_sLine += chunk[n];
        }
    }
    if (got > 0) return;
    if (!m_sLine.empty()) TakeLine();
    m_take = nullptr;
}

void CControlLoop::TakeLine() { m_take(std::exchange(m_sLine, {})); }
