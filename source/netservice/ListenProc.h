// A TCP listener with one accept thread.
#pragma once

#include <functional>
#include <memory>

#include "netservice/SWLSocket.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"

class CListenRun;

struct CLIENT_SOCK_INFO {
    SWL_socket_t pTcpSock;
    unsigned int dwIP;     // network order; the IPv4 address, 0 for a caller over IPv6
    unsigned short nPort;  // network order
};

/// Told on the accept thread, so a slow receiver holds up the next accept. The socket belongs to the receiver. The
/// third argument is always null, the result is ignored.
using GET_ACCEPT_LINK_CALLBACK = int (*)(CLIENT_SOCK_INFO* pInfo, void* pParam1, void* pParam2);

/// What a caller must have sent before the receiver is told of it; one that sends less is dropped. At most 64 callers
/// wait at a time, and a further one takes the place of the oldest.
struct FIRST_BYTES {
    int count = 0;                           // 0: told at once
    std::function<unsigned int()> waitTime;  // asked on the accept thread: milliseconds that a caller has for them
};

/// All operations from any thread, the callback's too; the callback may also destroy the object. What belongs to one
/// run from start to stop is shared with the run's thread, so a run that is ending knows nothing of the object or its
/// next run.
class CSWL_ListenProcEx {
public:
    enum RESULT {
        LISTEN_OK = 0,
        LISTEN_NO_SOCKET = 1,      // no address, no socket or no memory
        LISTEN_NO_THREAD = 2,      // no wake-up descriptor or no accept thread, or stopped just before its start
        LISTEN_BIND_FAILED = 3,    // after up to 60 tries, 2000 ms apart
        LISTEN_LISTEN_FAILED = 4,  // after up to 12 tries, 10000 ms apart
        LISTEN_ALREADY_STARTED = 6
    };

    CSWL_ListenProcEx(GET_ACCEPT_LINK_CALLBACK pAcceptCallback, void* pParam, FIRST_BYTES firstBytes = {});
    ~CSWL_ListenProcEx();
    CSWL_ListenProcEx(const CSWL_ListenProcEx&) = delete;
    CSWL_ListenProcEx& operator=(const CSWL_ListenProcEx&) = delete;

    /// Binds, listens and starts the accept thread. Port 0 lets the system choose (GetListenPort). A RESULT; blocks up
    /// to two minutes while the port is in use, or until StopListen.
    int StartListen(unsigned short nPort);

    /// Ends the thread and frees the port, also ends a StartListen that still waits. Does nothing if not started.
    /// Waits for a callback under way; called from the callback it does not, and the thread ends after the callback:
    /// the next StopListen of another thread waits for that.
    void StopListen();

    /// The port really bound, host order; 0 while not listening.
    unsigned short GetListenPort() const;

private:
    using RunRef = std::shared_ptr<CListenRun>;
    bool EnterRun(const RunRef& run);  // false if there is one already
    int LaunchThread(const RunRef& run);
    void ForgetRun(const RunRef& run);

    GET_ACCEPT_LINK_CALLBACK m_pAcceptCallback;
    void* m_pParam;
    FIRST_BYTES m_firstBytes;
    CPUB_Lock m_ListenLock;             // makes starts serial, held while one waits for its port; before m_runLock
    mutable CPUB_Lock m_runLock;        // held for moments only
    RunRef m_run;                       // from the beginning of a start to the stop; guarded by m_runLock
    PUB_thread_t m_AcceptThreadID = 0;  // of m_run, or of one that was stopped on its own thread; guarded by m_runLock
};
