#include "netservice/ListenProc.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "netservice/PendingCallers.h"
#include "sdk_common/SystemFault.h"
#include "sdk_common/TimeSource.h"
#include "sdk_common/WaitEvent.h"

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

/// One run from its start to its stop. Ends for good: a stop once wanted is never taken back.
class CListenRun {
public:
    CListenRun(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam, const FIRST_BYTES& firstBytes);
    ~CListenRun();
    CListenRun(const CListenRun&) = delete;
    CListenRun& operator=(const CListenRun&) = delete;

    int OpenListenSocket(unsigned short nPort);

    /// Starts the accept thread, which holds the run as long as it lives. 0: none.
    static PUB_thread_t StartThread(const std::shared_ptr<CListenRun>& run);

    /// Ends waits and the thread, and frees the port at once. Any thread.
    void Stop();
    unsigned short BoundPort() const { return m_boundPort; }

private:
    int BindInTries(const addrinfo& address);
    int ListenInTries();
    bool WaitBeforeRetry(unsigned int ms);
    void ReadBoundPort();
    void CloseListenSocket();
    static void* StartAccept(void* pParam);
    int AcceptThreadRun();
    void ServeCallers(const pollfd* pWatched);
    bool AcceptOne();
    bool AcceptFailed();

    GET_ACCEPT_LINK_CALLBACK m_pAcceptCallback;
    void* m_pParam;
    const FIRST_BYTES m_firstBytes;
    CPendingCallers m_callers;                         // the accept thread's
    std::shared_ptr<CListenRun> m_self;                // the thread's reference until it has begun
    CPUB_Lock m_socketLock;                            // keeps the socket's number valid under Stop
    SWL_socket_t m_SocketListen = SWL_INVALID_SOCKET;  // changed by the starter and then the thread, under m_socketLock
    CLIENT_SOCK_INFO m_clientSockInfo{};               // the accept thread's
    std::atomic<unsigned short> m_boundPort{0};
    std::atomic<bool> m_bStopWanted{false};
    CWaitEvent m_stopEvent;
    int m_wakeFd;  // readable once the thread is to end
};

CListenRun::CListenRun(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam, const FIRST_BYTES& firstBytes)
    : m_pAcceptCallback(pAcceptCallback),
      m_pParam(pParam),
      m_firstBytes(firstBytes),
      m_wakeFd(SystemCall(SYSTEM_CALL::EVENT_FD, -1, [](size_t) { return eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC); })) {
    m_stopEvent.CreateWaitEvent();
}

CListenRun::~CListenRun() {
    CloseListenSocket();
    if (m_wakeFd >= 0) close(m_wakeFd);
}

int CListenRun::OpenListenSocket(unsigned short nPort) {
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE;
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* pAddress = nullptr;
    if (getaddrinfo(nullptr, std::to_string(nPort).c_str(), &hints, &pAddress) != 0)
        return CSWL_ListenProcEx::LISTEN_NO_SOCKET;
    int result = CSWL_ListenProcEx::LISTEN_NO_SOCKET;
    {
        const std::lock_guard guard(m_socketLock);
        m_SocketListen = SWL_CreateSocket(pAddress->ai_family, pAddress->ai_socktype, pAddress->ai_protocol);
    }
    if (m_SocketListen == SWL_INVALID_SOCKET) {
        SWL_PrintError("ListenProc", __LINE__);
    } else {
        result = BindInTries(*pAddress);
    }
    freeaddrinfo(pAddress);
    if (result == CSWL_ListenProcEx::LISTEN_OK) result = ListenInTries();
    if (result == CSWL_ListenProcEx::LISTEN_OK) ReadBoundPort();
    return result;
}

bool CListenRun::WaitBeforeRetry(unsigned int ms) {
    m_stopEvent.WaitForCond(ms, [this] { return m_bStopWanted.load(); });
    return !m_bStopWanted;
}

int CListenRun::BindInTries(const addrinfo& address) {
    for (int i = 0; i < BIND_TRIES; ++i) {
        if (SWL_Bind(m_SocketListen, address.ai_addr, address.ai_addrlen) == 0) return CSWL_ListenProcEx::LISTEN_OK;
        if (!WaitBeforeRetry(BIND_RETRY_WAIT)) break;
    }
    return CSWL_ListenProcEx::LISTEN_BIND_FAILED;
}

int CListenRun::ListenInTries() {
    for (int i = 0; i < LISTEN_TRIES; ++i) {
        if (SWL_Listen(m_SocketListen, LISTEN_BACKLOG) == 0) return CSWL_ListenProcEx::LISTEN_OK;
        if (!WaitBeforeRetry(LISTEN_RETRY_WAIT)) break;
    }
    return CSWL_ListenProcEx::LISTEN_LISTEN_FAILED;
}

void CListenRun::ReadBoundPort() {
    sockaddr_storage address{};
    socklen_t len = sizeof(address);
    CLIENT_SOCK_INFO bound{};
    if (getsockname(static_cast<int>(m_SocketListen), reinterpret_cast<sockaddr*>(&address), &len) == 0) {
        FillCaller(bound, address);
    }
    m_boundPort = ntohs(bound.nPort);
}

void CListenRun::CloseListenSocket() {
    const std::lock_guard guard(m_socketLock);
    SWL_CloseSocket(m_SocketListen);
    m_SocketListen = SWL_INVALID_SOCKET;
    m_boundPort = 0;
}

PUB_thread_t CListenRun::StartThread(const std::shared_ptr<CListenRun>& run) {
    if (run->m_wakeFd < 0) return 0;
    run->m_self = run;
    const PUB_thread_t threadID = PUB_CreateThread(StartAccept, run.get(), nullptr);
    if (threadID == 0) run->m_self.reset();
    return threadID;
}

void CListenRun::Stop() {
    m_bStopWanted = true;
    m_stopEvent.PulseEvent();
    if (m_wakeFd >= 0) eventfd_write(m_wakeFd, 1);
    // The thread may still be in the callback, from which the same port may be opened again.
    const std::lock_guard guard(m_socketLock);
    if (m_SocketListen != SWL_INVALID_SOCKET) SWL_Shutdown(m_SocketListen, SHUT_RDWR);
}

void* CListenRun::StartAccept(void* pParam) {
    const std::shared_ptr<CListenRun> run = std::move(static_cast<CListenRun*>(pParam)->m_self);
    run->AcceptThreadRun();
    return nullptr;
}

int CListenRun::AcceptThreadRun() {
    int result = CSWL_ListenProcEx::LISTEN_OK;
    while (!m_bStopWanted && result == CSWL_ListenProcEx::LISTEN_OK) {
        constexpr size_t OWN = 2;
        pollfd watched[OWN + CPendingCallers::MAX_CALLERS] = {{static_cast<int>(m_SocketListen), POLLIN, 0},
                                                              {m_wakeFd, POLLIN, 0}};
        const size_t callers = m_callers.Watch(watched + OWN);
        if (ClockPoll(watched, OWN + callers, m_callers.NextWait()) < 0) WaitBeforeRetry(NO_RESOURCE_WAIT);
        ServeCallers(watched + OWN);
        if (m_bStopWanted) break;
        if (watched[0].revents != 0 && !AcceptOne()) result = CSWL_ListenProcEx::LISTEN_NO_THREAD;
    }
    CloseListenSocket();
    return result;
}

void CListenRun::ServeCallers(const pollfd* pWatched) {
    m_callers.Note(pWatched);
    while (!m_bStopWanted && m_callers.TakeReady(m_clientSockInfo))
        m_pAcceptCallback(&m_clientSockInfo, m_pParam, nullptr);
}

bool CListenRun::AcceptOne() {
    sockaddr_storage address{};
    socklen_t len = sizeof(address);
    const SWL_socket_t sock = SWL_Accept(m_SocketListen, reinterpret_cast<sockaddr*>(&address), &len);
    if (sock == SWL_INVALID_SOCKET) return AcceptFailed();
    m_clientSockInfo.pTcpSock = sock;
    FillCaller(m_clientSockInfo, address);
    if (m_firstBytes.count > 0)
        m_callers.Add(m_clientSockInfo, m_firstBytes.count, m_firstBytes.waitTime());
    else
        m_pAcceptCallback(&m_clientSockInfo, m_pParam, nullptr);
    return true;
}

bool CListenRun::AcceptFailed() {
    const int error = errno;
    if (m_bStopWanted) return false;
    if (!PassingAcceptError(error)) {
        SWL_PrintError("ListenProc", __LINE__);
        return false;
    }
    // While descriptors or memory are short the caller stays in the backlog and the socket ready: without a wait this
    // would spin.
    if (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM) WaitBeforeRetry(NO_RESOURCE_WAIT);
    return true;
}

CSWL_ListenProcEx::CSWL_ListenProcEx(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam, FIRST_BYTES firstBytes)
    : m_pAcceptCallback(pAcceptCallback), m_pParam(pParam), m_firstBytes(std::move(firstBytes)) {}

CSWL_ListenProcEx::~CSWL_ListenProcEx() {
    StopListen();
    PUB_ExitThread(&m_AcceptThreadID, nullptr);  // its own thread, if any
}

int CSWL_ListenProcEx::StartListen(unsigned short nPort) try {
    const std::lock_guard guard(m_ListenLock);
    const RunRef run = std::make_shared<CListenRun>(m_pAcceptCallback, m_pParam, m_firstBytes);
    if (!EnterRun(run)) return LISTEN_ALREADY_STARTED;
    int result = run->OpenListenSocket(nPort);
    if (result == LISTEN_OK) result = LaunchThread(run);
    if (result != LISTEN_OK) ForgetRun(run);
    return result;
} catch (const std::bad_alloc&) {
    return LISTEN_NO_SOCKET;
}

bool CSWL_ListenProcEx::EnterRun(const RunRef& run) {
    const std::lock_guard guard(m_runLock);
    if (m_run) return false;
    m_run = run;
    return true;
}

int CSWL_ListenProcEx::LaunchThread(const RunRef& run) {
    const std::lock_guard guard(m_runLock);
    if (m_run != run) return LISTEN_NO_THREAD;                                           // stopped
    if (m_AcceptThreadID != 0) CThreadManager::Instance().ExitThread(m_AcceptThreadID);  // of a run stopped by itself
    m_AcceptThreadID = CListenRun::StartThread(run);
    return m_AcceptThreadID != 0 ? LISTEN_OK : LISTEN_NO_THREAD;
}

void CSWL_ListenProcEx::ForgetRun(const RunRef& run) {
    const std::lock_guard guard(m_runLock);
    if (m_run == run) m_run.reset();
}

void CSWL_ListenProcEx::StopListen() {
    RunRef run;
    PUB_thread_t threadID = 0;
    {
        const std::lock_guard guard(m_runLock);
        run.swap(m_run);
        if (!pthread_equal(m_AcceptThreadID, pthread_self())) std::swap(threadID, m_AcceptThreadID);
    }
    if (run) run->Stop();
    PUB_ExitThread(&threadID, nullptr);
}

unsigned short CSWL_ListenProcEx::GetListenPort() const {
    const std::lock_guard guard(m_runLock);
    return m_run ? m_run->BoundPort() : 0;
}
