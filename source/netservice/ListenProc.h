// A TCP listener with one accept thread.
#pragma once

#include <atomic>

#include "netservice/SWLSocket.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

struct addrinfo;

struct CLIENT_SOCK_INFO {
    SWL_socket_t pTcpSock;
    unsigned int dwIP;     // network order; the IPv4 address, 0 for a caller over IPv6
    unsigned short nPort;  // network order
};

/// Told on the accept thread, so a slow receiver holds up the next accept. The socket belongs to the receiver. The
/// third argument is always null, the result is ignored.
using GET_ACCEPT_LINK_CALLBACK = int (*)(CLIENT_SOCK_INFO* pInfo, void* pParam1, void* pParam2);

/// All operations from any thread; StopListen and the destructor not from the callback's caller's locks.
class CSWL_ListenProcEx {
public:
    enum RESULT {
        LISTEN_OK = 0,
        LISTEN_NO_SOCKET = 1,      // no address or no socket
        LISTEN_NO_THREAD = 2,      // the accept thread could not be started
        LISTEN_BIND_FAILED = 3,    // after up to 60 tries, 2000 ms apart
        LISTEN_LISTEN_FAILED = 4,  // after up to 12 tries, 10000 ms apart
        LISTEN_ALREADY_STARTED = 6
    };

    CSWL_ListenProcEx(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam);
    ~CSWL_ListenProcEx();
    CSWL_ListenProcEx(const CSWL_ListenProcEx&) = delete;
    CSWL_ListenProcEx& operator=(const CSWL_ListenProcEx&) = delete;

    /// Binds, listens and starts the accept thread. Port 0 lets the system choose (GetListenPort). A RESULT; blocks up
    /// to two minutes while the port is in use, or until StopListen.
    int StartListen(unsigned short nPort);

    /// Ends the thread and closes the listening socket, also ends a StartListen that still waits. May be called from
    /// the callback; the thread then ends after it. Does nothing if not started.
    void StopListen();

    /// The port really bound, host order; 0 while not listening.
    unsigned short GetListenPort() const { return m_boundPort; }

private:
    int OpenListenSocket(unsigned short nPort);
    int BindInTries(const addrinfo& address);
    int ListenInTries();
    bool WaitBeforeRetry(unsigned int ms);
    void ReadBoundPort();
    void CloseListenSocket();
    static void* StartAccept(void* pParam);
    int AcceptThreadRun();
    bool AcceptOne();
    bool AcceptFailed();

    bool m_bAcceptThreadRun = false;
    bool m_bListenStart = false;  // guarded by m_ListenLock
    GET_ACCEPT_LINK_CALLBACK m_pAcceptCallback;
    void* m_pParam;
    SWL_socket_t m_SocketListen =
        SWL_INVALID_SOCKET;             // the accept thread's while it runs, else guarded by m_ListenLock
    PUB_thread_t m_AcceptThreadID = 0;  // guarded by m_ListenLock
    CPUB_Lock m_ListenLock;
    CLIENT_SOCK_INFO m_clientSockInfo{};  // the accept thread's
    std::atomic<unsigned short> m_boundPort{0};
    std::atomic<bool> m_bStopWanted{false};  // ends waits of a start that is under way
    CWaitEvent m_stopEvent;
    int m_wakeFd = -1;  // readable once the accept thread is to end
};
