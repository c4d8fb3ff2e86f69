// One outgoing connection attempt to one address.
#pragma once

#include <atomic>
#include <string>

#include "netservice/SWLSocket.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"

struct addrinfo;

/// Told by ConnectAsynEx on its thread: the connected socket, which then belongs to the receiver, or -1; the parameter
/// given with the callback; always null. The result is ignored.
using GET_CONNECT_LINK_CALLBACKEX = int (*)(SWL_socket_t sock, void* pParam, void* pReserved);

/// Made by NewConnectProc, ended by Destroy, never by delete. All operations from any thread.
class CSWL_ConnectProcEx {
public:
    /// `pIPAddr`: an IPv4 address or host name, or an IPv6 address bare or in brackets. The address is resolved here,
    /// once, which may block for as long as the system's resolver does for a name (numeric addresses never block). Null
    /// if memory is short.
    static CSWL_ConnectProcEx* NewConnectProc(const char* pIPAddr, unsigned short nPort);

    /// Connects, waiting at most `timeOut` milliseconds in rounds of 1000 ms. The connected socket, which then belongs
    /// to the caller, or -1 also when the address could not be resolved. May be called again for another try.
    SWL_socket_t ConnectSynEx(int timeOut);

    /// The same on a thread of its own, which then calls `pCallback`. False if a try is still under way or no thread
    /// could be made.
    bool ConnectAsynEx(GET_CONNECT_LINK_CALLBACKEX pCallback, void* pParam, int timeOut);

    /// Ends a wait in ConnectSynEx of another thread within a second, waits for it and deletes the object. May be
    /// called from the callback.
    void Destroy();

private:
    CSWL_ConnectProcEx(const char* pIPAddr, unsigned short nPort);
    ~CSWL_ConnectProcEx();
    CSWL_ConnectProcEx(const CSWL_ConnectProcEx&) = delete;
    CSWL_ConnectProcEx& operator=(const CSWL_ConnectProcEx&) = delete;

    void Resolve();
    bool OpenSocket();
    bool ConnectInRounds(int timeOut);
    static void* ConnectThread(void* pParam);
    void ConnectThreadRun();

    std::string m_szIP;  // without brackets
    int m_af;            // address family asked for
    unsigned short m_nPort;
    int m_iTimeOut = 0;                        // milliseconds, for the thread; guarded by m_ConnectAsynLock
    SWL_socket_t m_Sock = SWL_INVALID_SOCKET;  // guarded by m_ConnectSynLock
    GET_CONNECT_LINK_CALLBACKEX m_pConnectCallbackEx = nullptr;
    void* m_pConnectCallbackParamEx = nullptr;
    PUB_thread_t m_ConnectThreadID = 0;  // guarded by m_ConnectAsynLock
    bool m_bConnectThreadRun = false;
    std::atomic<bool> m_bDestroy{false};
    bool* m_pbGone = nullptr;  // the connect thread's, set when the callback destroys the object
    CPUB_Lock m_ConnectSynLock;
    CPUB_Lock m_ConnectAsynLock;
    addrinfo* m_pAddrInfo = nullptr;
};
