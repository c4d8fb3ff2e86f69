#include "netservice/ConnectProc.h"

#include <netdb.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "sdk_common/RunFlag.h"

namespace {

constexpr int CONNECT_ROUND = 1000;  // milliseconds
constexpr int CONNECT_RECV_BUFFER = 0x20000;

// An IPv6 address may stand in brackets or, as two colons can be in no other kind of address, bare.
int FamilyOf(const std::string& text) {
    const bool bBare = std::count(text.begin(), text.end(), ':') > 1;
    return text.starts_with('[') || bBare ? AF_INET6 : AF_INET;
}

std::string WithoutBrackets(std::string text) {
    if (!text.starts_with('[')) return text;
    text.erase(0, 1);
    return text.substr(0, text.find(']'));
}

}  // namespace

CSWL_ConnectProcEx* CSWL_ConnectProcEx::NewConnectProc(const char* pIPAddr, unsigned short nPort) {
    try {
        return new CSWL_ConnectProcEx(pIPAddr ? pIPAddr : "", nPort);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

CSWL_ConnectProcEx::CSWL_ConnectProcEx(const char* pIPAddr, unsigned short nPort)
    : m_szIP(WithoutBrackets(pIPAddr)), m_af(FamilyOf(pIPAddr)), m_nPort(nPort) {
    Resolve();
}

CSWL_ConnectProcEx::~CSWL_ConnectProcEx() {
    SWL_CloseSocket(m_Sock);
    if (m_pAddrInfo) freeaddrinfo(m_pAddrInfo);
}

void CSWL_ConnectProcEx::Resolve() {
    addrinfo hints{};
    hints.ai_family = m_af;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = m_af == AF_INET6 ? AI_CANONNAME : 0;
    const std::string port = std::to_string(m_nPort);
    if (m_szIP.empty() || getaddrinfo(m_szIP.c_str(), port.c_str(), &hints, &m_pAddrInfo) != 0) m_pAddrInfo = nullptr;
}

bool CSWL_ConnectProcEx::OpenSocket() {
    if (m_Sock != SWL_INVALID_SOCKET) return true;
    m_Sock = SWL_CreateSocket(m_pAddrInfo->ai_family, m_pAddrInfo->ai_socktype, m_pAddrInfo->ai_protocol);
    return m_Sock != SWL_INVALID_SOCKET;
}

bool CSWL_ConnectProcEx::ConnectInRounds(int timeOut) {
    int left = std::max(timeOut, 0);
    do {
        const int round = std::min(left, CONNECT_ROUND);
        if (SWL_Connect(m_Sock, m_pAddrInfo->ai_addr, m_pAddrInfo->ai_addrlen, round) == 0) return true;
        left -= round;
    } while (left > 0 && !m_bDestroy);
    return false;
}

SWL_socket_t CSWL_ConnectProcEx::ConnectSynEx(int timeOut) {
    const std::lock_guard guard(m_ConnectSynLock);
    if (m_bDestroy || !m_pAddrInfo || !OpenSocket()) return SWL_INVALID_SOCKET;
    SWL_SetOption(m_Sock, SOL_SOCKET, SO_RCVBUF, CONNECT_RECV_BUFFER);
    if (!ConnectInRounds(timeOut)) return SWL_INVALID_SOCKET;
    return std::exchange(m_Sock, SWL_INVALID_SOCKET);
}

bool CSWL_ConnectProcEx::ConnectAsynEx(GET_CONNECT_LINK_CALLBACKEX pCallback, void* pParam, int timeOut) {
    const std::lock_guard guard(m_ConnectAsynLock);
    if (m_bDestroy || RunFlagSet(m_bConnectThreadRun)) return false;
    PUB_ExitThread(&m_ConnectThreadID, &m_bConnectThreadRun);
    m_pConnectCallbackEx = pCallback;
    m_pConnectCallbackParamEx = pParam;
    m_iTimeOut = timeOut;
    m_ConnectThreadID = PUB_CreateThread(ConnectThread, this, &m_bConnectThreadRun);
    return m_ConnectThreadID != 0;
}

void* CSWL_ConnectProcEx::ConnectThread(void* pParam) {
    static_cast<CSWL_ConnectProcEx*>(pParam)->ConnectThreadRun();
    return nullptr;
}

void CSWL_ConnectProcEx::ConnectThreadRun() {
    bool bGone = false;
    m_pbGone = &bGone;
    const SWL_socket_t sock = ConnectSynEx(m_iTimeOut);
    if (m_pConnectCallbackEx) {
        m_pConnectCallbackEx(sock, m_pConnectCallbackParamEx, nullptr);
    } else {
        SWL_CloseSocket(sock);
    }
    if (!bGone) SetRunFlag(m_bConnectThreadRun, false);
}

void CSWL_ConnectProcEx::Destroy() {
    m_bDestroy = true;
    PUB_thread_t threadID = 0;
    {
        const std::lock_guard guard(m_ConnectAsynLock);
        const bool bOwnThread = m_ConnectThreadID != 0 && pthread_equal(m_ConnectThreadID, pthread_self());
        if (bOwnThread) *m_pbGone = true;
        std::swap(threadID, m_ConnectThreadID);
    }
    // Joined without the lock: the callback may be about to try again.
    PUB_ExitThread(&threadID, &m_bConnectThreadRun);
    // Whoever is still in ConnectSynEx on another thread leaves it within a round.
    m_ConnectSynLock.Lock();
    m_ConnectSynLock.UnLock();
    delete this;
}
