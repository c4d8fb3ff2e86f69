#include "main_utility/device/TcpConnector.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <mutex>

#include "main_utility/device/FirstBlock.h"
#include "netservice/ConnectProc.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr tint64 INTERRUPT_STEP = 200;  // milliseconds between looks at the interrupt flag
constexpr int MAX_SOCKET_FAILURES = 3;  // in a row, then the system has no sockets

tint64 NowMilliseconds() { return TimeSource().MonotonicMicroseconds() / 1000; }

/// Milliseconds of the next piece of a wait.
int NextStep(tint64 deadline, tint64 step) {
    return static_cast<int>(std::clamp<tint64>(deadline - NowMilliseconds(), 0, step));
}

/// "[::1]" and "::1" are the same address.
std::string WithoutBrackets(const std::string& host) {
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') return host.substr(1, host.size() - 2);
    return host;
}

std::string NumericText(const addrinfo& address) {
    char text[NI_MAXHOST] = {};
    getnameinfo(address.ai_addr, address.ai_addrlen, text, sizeof(text), nullptr, 0, NI_NUMERICHOST);
    return text;
}

/// Destroys the connect object, which closes a socket that it still owns.
struct DestroyConnect {
    void operator()(CSWL_ConnectProcEx* pConnect) const { pConnect->Destroy(); }
};

}  // namespace

void CTcpConnector::SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes) {
    m_dwConnWaitTime = dwWaitTime;
    m_dwConnTryTimes = dwTryTimes;
}

bool CTcpConnector::ConnectServerUseTCP(const char* sDVRIP, WORD wDVRPort, SWL_socket_t& sock, PRE_SEND_DATA& pre,
                                        const std::atomic<bool>* pbGone) {
    const std::string host = WithoutBrackets(sDVRIP);
    const AddrList addresses = Resolve(host, wDVRPort);
    const std::string target = PickTarget(host, addresses.get(), pbGone);
    if (target.empty()) return Failure(HLX_NETWORK_FAIL_CONNECT);
    sock = Connect(target, wDVRPort, pbGone);
    if (sock == -1) return false;
    if (ReadPreSendData(sock, pre, pbGone)) return true;
    SWL_CloseSocket(sock);
    sock = -1;
    return Failure(HLX_NETWORK_ERRORDATA);
}

/// A number needs no name service and does not wait for those who ask one.
CTcpConnector::AddrList CTcpConnector::Resolve(const std::string& host, WORD wDVRPort) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    hints.ai_flags = AI_CANONNAME | AI_NUMERICHOST;
    const std::string port = std::to_string(wDVRPort);
    addrinfo* pFound = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &pFound) == 0) return AddrList(pFound);
    hints.ai_flags = AI_CANONNAME;
    std::lock_guard guard(m_GetAddrInfoLock);
    if (m_bInteruptConnect || getaddrinfo(host.c_str(), port.c_str(), &hints, &pFound) != 0) return nullptr;
    return AddrList(pFound);
}

/// The text to connect to: the first IPv4 address that answers, else the host itself if one of its IPv6 addresses does.
std::string CTcpConnector::PickTarget(const std::string& host, const addrinfo* pAddresses,
                                      const std::atomic<bool>* pbGone) {
    for (const int family : {AF_INET, AF_INET6}) {
        for (const addrinfo* pAddress = pAddresses; pAddress; pAddress = pAddress->ai_next) {
            if (pAddress->ai_family != family || !Probe(*pAddress, pbGone)) continue;
            return family == AF_INET ? NumericText(*pAddress) : "[" + host + "]";
        }
    }
    return {};
}

/// Connects and closes again, to see whether the address answers. Takes one connect wait at most.
bool CTcpConnector::Probe(const addrinfo& address, const std::atomic<bool>* pbGone) {
    SWL_socket_t sock = -1;
    for (int failures = 0; sock == -1; ++failures) {
        if (failures == MAX_SOCKET_FAILURES) return false;
        sock = SWL_CreateSocket(address.ai_family, address.ai_socktype, address.ai_protocol);
    }
    const tint64 deadline = NowMilliseconds() + m_dwConnWaitTime;
    bool bAnswers = false;
    for (bool bWaiting = true; bWaiting && !bAnswers && !Interrupted(pbGone);) {
        const int step = NextStep(deadline, INTERRUPT_STEP);
        const tint64 before = NowMilliseconds();
        bAnswers = SWL_Connect(sock, address.ai_addr, address.ai_addrlen, step) == 0;
        bWaiting = step > 0 && NowMilliseconds() - before >= step;  // else it was refused
    }
    SWL_CloseSocket(sock);
    return bAnswers;
}

/// Makes the link. The wait of one try is cut into steps, so that an interrupt ends it.
SWL_socket_t CTcpConnector::Connect(const std::string& target, WORD wDVRPort, const std::atomic<bool>* pbGone) {
    const std::unique_ptr<CSWL_ConnectProcEx, DestroyConnect> connect(
        CSWL_ConnectProcEx::NewConnectProc(target.c_str(), wDVRPort));
    if (!connect) return Failure(HLX_PROGRAM_EXCEPTION, SWL_socket_t{-1});
    for (DWORD tries = m_dwConnTryTimes; tries > 0; --tries) {
        const tint64 deadline = NowMilliseconds() + m_dwConnWaitTime;
        for (bool bWaiting = true; bWaiting && !Interrupted(pbGone);) {
            const int step = NextStep(deadline, INTERRUPT_STEP);
            const tint64 before = NowMilliseconds();
            const SWL_socket_t sock = connect->ConnectSynEx(step);
            if (sock != -1) return sock;
            bWaiting = step > 0 && NowMilliseconds() - before >= step;  // else it was refused
        }
    }
    return Failure(HLX_NETWORK_FAIL_CONNECT, SWL_socket_t{-1});
}

bool CTcpConnector::ReadPreSendData(SWL_socket_t sock, PRE_SEND_DATA& pre, const std::atomic<bool>* pbGone) {
    CFirstBlock block;
    const tint64 deadline = NowMilliseconds() + m_dwConnWaitTime;
    while (block.State() == CFirstBlock::STATE::UNFINISHED && !Interrupted(pbGone)) {
        const auto room = block.Room();
        const int got = SWL_Recv(sock, room.data(), static_cast<int>(room.size()), 0);
        if (got > 0) {
            block.Received(static_cast<size_t>(got));
            continue;
        }
        const tint64 left = deadline - NowMilliseconds();
        if (got == 0 || !SDK_SWL_EWOULDBLOCK() || left <= 0) break;
        pollfd readable{static_cast<int>(sock), POLLIN, 0};
        ClockPoll(&readable, 1, static_cast<int>(std::min(left, INTERRUPT_STEP)));
    }
    if (block.State() != CFirstBlock::STATE::WHOLE) return false;
    pre = block.Get();
    return true;
}
