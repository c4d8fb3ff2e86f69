#include "netservice/SWLSocket.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>

#include "netservice/LinkTrace.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/SystemFault.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr unsigned int SHORTAGE_PAUSE = 5;  // milliseconds

std::atomic<int> g_initCount{0};

int Number(SWL_socket_t sock) { return static_cast<int>(sock); }

tint64 NowMilliseconds() { return TimeSource().MonotonicMicroseconds() / 1000; }

/// EAGAIN means that the system is short of something and has begun nothing: there is nothing to wait for, so it is
/// tried again.
int BeginConnect(SWL_socket_t sock, const sockaddr* pServAddr, socklen_t len, tint64 deadline) {
    const auto connectNow = [&](size_t) { return connect(Number(sock), pServAddr, len); };
    while (SystemCall(SYSTEM_CALL::CONNECT, -1, connectNow) != 0) {
        if (errno != EAGAIN || NowMilliseconds() >= deadline) return -1;
        PUB_Sleep(SHORTAGE_PAUSE);
    }
    return 0;
}

/// A new link of the record; without the peer's address the socket was accepted.
void TraceOpened(SWL_socket_t sock, const sockaddr* pAddr, socklen_t len) try {
    char host[NI_MAXHOST] = "";
    char port[NI_MAXSERV] = "";
    const bool bNamed =
        pAddr && getnameinfo(pAddr, len, host, sizeof(host), port, sizeof(port), NI_NUMERICHOST | NI_NUMERICSERV) == 0;
    CLinkTrace::Instance().Opened(sock, bNamed ? std::string(host) + ":" + port : "accepted");
} catch (const std::bad_alloc&) {
    CLinkTrace::Instance().Stop();
}

int ConnectWithin(SWL_socket_t sock, const sockaddr* pServAddr, socklen_t len, int iTimeOut) {
    const tint64 deadline = NowMilliseconds() + std::max(iTimeOut, 0);
    if (BeginConnect(sock, pServAddr, len, deadline) == 0 || errno == EISCONN) return 0;
    if (errno != EINPROGRESS && errno != EALREADY) return -1;
    pollfd watched{Number(sock), POLLOUT, 0};
    if (ClockPoll(&watched, 1, static_cast<int>(std::max<tint64>(deadline - NowMilliseconds(), 0))) < 1) return -1;
    int error = 0;
    socklen_t size = sizeof(error);
    if (getsockopt(Number(sock), SOL_SOCKET, SO_ERROR, &error, &size) != 0) return -1;
    errno = error;
    return error == 0 ? 0 : -1;
}

}  // namespace

int SWL_Init() {
    if (g_initCount.fetch_add(1) == 0) signal(SIGPIPE, SIG_IGN);
    return 0;
}

int SWL_Quit() {
    for (int count = g_initCount; count > 0 && !g_initCount.compare_exchange_weak(count, count - 1);) {
    }
    return 0;
}

SWL_socket_t SWL_CreateSocket(int iDomain, int iType, int iProtocol) {
    const int sock = SystemCall(SYSTEM_CALL::SOCKET, -1, [&](size_t) {
        return socket(iDomain, iType | SOCK_NONBLOCK | SOCK_CLOEXEC, iProtocol);
    });
    if (sock >= 0) SWL_SetOption(sock, SOL_SOCKET, SO_REUSEADDR, 1);
    return sock;
}

int SWL_CloseSocket(SWL_socket_t sock) {
    if (sock < 0) return -1;
    if (CLinkTrace::IsOn()) CLinkTrace::Instance().Closed(sock);
    return close(Number(sock));
}

int SWL_Shutdown(SWL_socket_t sock, int iHow) { return shutdown(Number(sock), iHow); }

int SWL_Bind(SWL_socket_t sock, const sockaddr* pAddr, socklen_t len) {
    return SystemCall(SYSTEM_CALL::BIND, -1, [&](size_t) { return bind(Number(sock), pAddr, len); });
}

int SWL_Listen(SWL_socket_t sock, int iBacklog) {
    return SystemCall(SYSTEM_CALL::LISTEN, -1, [&](size_t) { return listen(Number(sock), iBacklog); });
}

SWL_socket_t SWL_Accept(SWL_socket_t sock, sockaddr* pAddr, socklen_t* pLen) {
    const SWL_socket_t accepted = SystemCall(SYSTEM_CALL::ACCEPT, SWL_INVALID_SOCKET, [&](size_t) {
        return accept4(Number(sock), pAddr, pLen, SOCK_NONBLOCK | SOCK_CLOEXEC);
    });
    if (accepted >= 0 && CLinkTrace::IsOn()) TraceOpened(accepted, nullptr, 0);
    return accepted;
}

int SWL_SetOption(SWL_socket_t sock, int iLevel, int iName, int iValue) {
    return setsockopt(Number(sock), iLevel, iName, &iValue, sizeof(iValue));
}

int SWL_Connect(SWL_socket_t sock, const sockaddr* pServAddr, socklen_t len, int iTimeOut) {
    const int result = ConnectWithin(sock, pServAddr, len, iTimeOut);
    if (result == 0 && CLinkTrace::IsOn()) TraceOpened(sock, pServAddr, len);
    return result;
}

int SWL_Send(SWL_socket_t sock, const void* pBuf, int iLen, int) {
    if (iLen < 0) return -1;
    const int sent = SystemCall(SYSTEM_CALL::SEND, -1, [&](size_t longest) {
        return send(Number(sock), pBuf, std::min(static_cast<size_t>(iLen), longest), MSG_NOSIGNAL | MSG_DONTWAIT);
    });
    if (CLinkTrace::IsOn()) CLinkTrace::Instance().Sent(sock, pBuf, sent);
    return sent;
}

int SWL_Recv(SWL_socket_t sock, void* pBuf, int iLen, int) {
    if (iLen < 0) return -1;
    const int received = SystemCall(SYSTEM_CALL::RECV, -1, [&](size_t longest) {
        return recv(Number(sock), pBuf, std::min(static_cast<size_t>(iLen), longest), MSG_DONTWAIT);
    });
    if (CLinkTrace::IsOn()) CLinkTrace::Instance().Received(sock, pBuf, received);
    return received;
}

bool SDK_SWL_EWOULDBLOCK() { return errno == EAGAIN || errno == EWOULDBLOCK; }

void SWL_PrintError(const char* pFile, int iLine) { PUB_PrintError(pFile, iLine); }
