#include "netservice/ListenProc.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>

#include "sdk_common/RunFlag.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr int LISTEN_BACKLOG = 5;
constexpr int BIND_TRIES = 60;
constexpr unsigned int BIND_RETRY_WAIT = 2000;  // milliseconds, as the next two
constexpr int LISTEN_TRIES = 12;
constexpr unsigned int LISTEN_RETRY_WAIT = 10000;
constexpr unsigned int NO_RESOURCE_WAIT = 100;

// What says nothing about the listening socket itself: the caller went away again, or the system is short of something.
bool PassingAcceptError(int error) {
    switch (error) {
        case EAGAIN:
        case EINTR:
        case ECONNABORTED:
        case EPROTO:
        case EPERM:
        case ENETDOWN:
        case ENETUNREACH:
        case EHOSTDOWN:
        case EHOSTUNREACH:
        case ENOPROTOOPT:
        case ENONET:
        case EOPNOTSUPP:
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
            return true;
        default:
            return false;
    }
}

void FillCaller(CLIENT_SOCK_INFO& info, const sockaddr_storage& address) {
    info.dwIP = 0;
    info.nPort = 0;
    if (address.ss_family == AF_INET) {
        sockaddr_in in{};
        std::memcpy(&in, &address, sizeof(in));
        info.dwIP = in.sin_addr.s_addr;
        info.nPort = in.sin_port;
    } else if (address.ss_family == AF_INET6) {
        sockaddr_in6 in6{};
        std::memcpy(&in6, &address, sizeof(in6));
        if (IN6_IS_ADDR_V4MAPPED(&in6.sin6_addr))
            std::memcpy(&info.dwIP, in6.sin6_addr.s6_addr + 12, sizeof(info.dwIP));
        info.nPort = in6.sin6_port;
    }
}

}  // namespace

CSWL_ListenProcEx::CSWL_ListenProcEx(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam)
    : m_pAcceptCallback(pAcceptCallback), m_pParam(pParam) {
    m_stopEvent.CreateWaitEvent();
}

CSWL_ListenProcEx::~CSWL_ListenProcEx() {
    StopListen();
    if (m_wakeFd >= 0) close(m_wakeFd);
}

int CSWL_ListenProcEx::StartListen(unsigned short nPort) {
    const std::lock_guard guard(m_ListenLock);
    if (m_bListenStart) return LISTEN_ALREADY_STARTED;
    m_bStopWanted = false;
    int result = OpenListenSocket(nPort);
    if (result == LISTEN_OK) {
        ReadBoundPort();
        // A new counter, so that a wake-up of an earlier run is not taken for one of this.
        if (m_wakeFd >= 0) close(m_wakeFd);
        m_wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        if (m_wakeFd >= 0) m_AcceptThreadID = PUB_CreateThread(StartAccept, this, &m_bAcceptThreadRun);
        if (m_AcceptThreadID == 0) result = LISTEN_NO_THREAD;
    }
    m_bListenStart = result == LISTEN_OK;
    if (result != LISTEN_OK) CloseListenSocket();
    return result;
}

int CSWL_ListenProcEx::OpenListenSocket(unsigned short nPort) {
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE;
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* pAddress = nullptr;
    if (getaddrinfo(nullptr, std::to_string(nPort).c_str(), &hints, &pAddress) != 0) return LISTEN_NO_SOCKET;
    int result = LISTEN_NO_SOCKET;
    m_SocketListen = SWL_CreateSocket(pAddress->ai_family, pAddress->ai_socktype, pAddress->ai_protocol);
    if (m_SocketListen == SWL_INVALID_SOCKET) {
        SWL_PrintError("ListenProc", __LINE__);
    } else {
        result = BindInTries(*pAddress);
    }
    freeaddrinfo(pAddress);
    return result == LISTEN_OK ? ListenInTries() : result;
}

bool CSWL_ListenProcEx::WaitBeforeRetry(unsigned int ms) {
    m_stopEvent.WaitForCond(ms, [this] { return m_bStopWanted.load(); });
    return !m_bStopWanted;
}

int CSWL_ListenProcEx::BindInTries(const addrinfo& address) {
    for (int i = 0; i < BIND_TRIES; ++i) {
        if (SWL_Bind(m_SocketListen, address.ai_addr, address.ai_addrlen) == 0) return LISTEN_OK;
        if (!WaitBeforeRetry(BIND_RETRY_WAIT)) break;
    }
    return LISTEN_BIND_FAILED;
}

int CSWL_ListenProcEx::ListenInTries() {
    for (int i = 0; i < LISTEN_TRIES; ++i) {
        if (SWL_Listen(m_SocketListen, LISTEN_BACKLOG) == 0) return LISTEN_OK;
        if (!WaitBeforeRetry(LISTEN_RETRY_WAIT)) break;
    }
    return LISTEN_LISTEN_FAILED;
}

void CSWL_ListenProcEx::ReadBoundPort() {
    sockaddr_storage address{};
    socklen_t len = sizeof(address);
    CLIENT_SOCK_INFO bound{};
    if (getsockname(static_cast<int>(m_SocketListen), reinterpret_cast<sockaddr*>(&address), &len) == 0) {
        FillCaller(bound, address);
    }
    m_boundPort = ntohs(bound.nPort);
}

void CSWL_ListenProcEx::CloseListenSocket() {
    SWL_CloseSocket(m_SocketListen);
    m_SocketListen = SWL_INVALID_SOCKET;
    m_boundPort = 0;
}

void CSWL_ListenProcEx::StopListen() {
    // A start that still tries to bind holds the lock; it gives up as soon as it sees this.
    m_bStopWanted = true;
    m_stopEvent.PulseEvent();
    const std::lock_guard guard(m_ListenLock);
    if (!m_bListenStart) return;
    SetRunFlag(m_bAcceptThreadRun, false);
    eventfd_write(m_wakeFd, 1);
    PUB_ExitThread(&m_AcceptThreadID, &m_bAcceptThreadRun);
    m_bListenStart = false;
}

void* CSWL_ListenProcEx::StartAccept(void* pParam) {
    static_cast<CSWL_ListenProcEx*>(pParam)->AcceptThreadRun();
    return nullptr;
}

int CSWL_ListenProcEx::AcceptThreadRun() {
    int result = LISTEN_OK;
    while (RunFlagSet(m_bAcceptThreadRun) && result == LISTEN_OK) {
        pollfd watched[] = {{static_cast<int>(m_SocketListen), POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
        if (ClockPoll(watched, 2, -1) < 0) WaitBeforeRetry(NO_RESOURCE_WAIT);
        if (!RunFlagSet(m_bAcceptThreadRun)) break;
        if (watched[0].revents != 0 && !AcceptOne()) result = LISTEN_NO_THREAD;
    }
    CloseListenSocket();
    return result;
}

bool CSWL_ListenProcEx::AcceptOne() {
    sockaddr_storage address{};
    socklen_t len = sizeof(address);
    const SWL_socket_t sock = SWL_Accept(m_SocketListen, reinterpret_cast<sockaddr*>(&address), &len);
    if (sock == SWL_INVALID_SOCKET) return AcceptFailed();
    m_clientSockInfo.pTcpSock = sock;
    FillCaller(m_clientSockInfo, address);
    m_pAcceptCallback(&m_clientSockInfo, m_pParam, nullptr);
    return true;
}

bool CSWL_ListenProcEx::AcceptFailed() {
    const int error = errno;
    if (!PassingAcceptError(error)) {
        SWL_PrintError("ListenProc", __LINE__);
        return false;
    }
    // While descriptors or memory are short the caller stays in the backlog and the socket ready: without a wait this would spin.
    if (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM) WaitBeforeRetry(NO_RESOURCE_WAIT);
    return true;
}
