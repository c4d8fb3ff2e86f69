#include "netservice/PendingCallers.h"

#include <arpa/inet.h>

#include <algorithm>

#include "sdk_common/TimeSource.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr tint64 LONGEST_WAIT = 3600000;  // milliseconds of one poll

tint64 NowMilliseconds() { return TimeSource().MonotonicMicroseconds() / 1000; }

}  // namespace

CPendingCallers::~CPendingCallers() {
    for (const CALLER& caller : m_callers) SWL_CloseSocket(caller.info.pTcpSock);
}

void CPendingCallers::Drop(const CALLER& caller, const char* pWhy) {
    YLOG(YLOG_WARN, "caller %08x: dropped, %s", ntohl(caller.info.dwIP), pWhy);
    SWL_CloseSocket(caller.info.pTcpSock);
}

void CPendingCallers::Add(const CLIENT_SOCK_INFO& info, int firstBytes, unsigned int wait) {
    if (m_callers.size() == MAX_CALLERS) {
        Drop(m_callers.front(), "too many callers");
        m_callers.erase(m_callers.begin());
    }
    // The system then calls the socket readable with that many bytes, or once the peer has closed.
    SWL_SetOption(info.pTcpSock, SOL_SOCKET, SO_RCVLOWAT, firstBytes);
    m_callers.push_back({info, NowMilliseconds() + wait, false});
}

size_t CPendingCallers::Watch(pollfd* pWatched) const {
    for (const CALLER& caller : m_callers) *pWatched++ = {static_cast<int>(caller.info.pTcpSock), POLLIN, 0};
    return m_callers.size();
}

int CPendingCallers::NextWait() const {
    const auto next = std::ranges::min_element(m_callers, {}, &CALLER::deadline);
    if (next == m_callers.end()) return -1;
    return static_cast<int>(std::clamp<tint64>(next->deadline - NowMilliseconds(), 0, LONGEST_WAIT));
}

void CPendingCallers::Note(const pollfd* pWatched) {
    const tint64 now = NowMilliseconds();
    for (CALLER& caller : m_callers) caller.bReady = pWatched++->revents != 0;
    std::erase_if(m_callers, [&](const CALLER& caller) {
        const bool bLate = !caller.bReady && caller.deadline <= now;
        if (bLate) Drop(caller, "it said too little");
        return bLate;
    });
}

bool CPendingCallers::TakeReady(CLIENT_SOCK_INFO& info) {
    const auto ready = std::ranges::find(m_callers, true, &CALLER::bReady);
    if (ready == m_callers.end()) return false;
    info = ready->info;
    m_callers.erase(ready);
    SWL_SetOption(info.pTcpSock, SOL_SOCKET, SO_RCVLOWAT, 1);
    return true;
}
