// Opening a link over TCP: name lookup, probe, connect, and the device's first 64 bytes.
#pragma once

#include <netdb.h>

#include <atomic>
#include <memory>
#include <string>

#include "HLX.h"
#include "netservice/SWLSocket.h"
#include "protocol/LinkFrame.h"
#include "sdk_common/PubLock.h"

/// Opens links. Several threads may connect at once; a name lookup of one at a time.
class CTcpConnector {
public:
    static constexpr DWORD DEFAULT_WAIT = 5000;  // milliseconds
    static constexpr DWORD DEFAULT_TRIES = 1;

    void SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes);
    DWORD WaitTime() const { return m_dwConnWaitTime; }

    /// Lets all waits end within 200 ms, and new ones at once, until it is set back.
    void Interrupt(bool bInterupt) { m_bInteruptConnect = bInterupt; }

    /// A connected socket whose first 64 bytes are in `pre`; the caller owns it. `sDVRIP` is a name, an IPv4 text or an
    /// IPv6 text, bare or in brackets. On failure false, with HLX_NETWORK_FAIL_CONNECT (8) without a connection or
    /// HLX_NETWORK_ERRORDATA (13) without a valid first block.
    /// Once `*pbGone` is true (it may be null) all waits end within 200 ms.
    bool ConnectServerUseTCP(const char* sDVRIP, WORD wDVRPort, SWL_socket_t& sock, PRE_SEND_DATA& pre,
                             const std::atomic<bool>* pbGone = nullptr);

    /// Reads the first block of a link within one connect wait. False when the peer closes, sends something else or too
    /// little.
    bool ReadPreSendData(SWL_socket_t sock, PRE_SEND_DATA& pre, const std::atomic<bool>* pbGone = nullptr);

private:
    struct FreeAddrInfo {
        void operator()(addrinfo* pInfo) const { freeaddrinfo(pInfo); }
    };
    using AddrList = std::unique_ptr<addrinfo, FreeAddrInfo>;

    AddrList Resolve(const std::string& host, WORD wDVRPort);
    bool Probe(const addrinfo& address, const std::atomic<bool>* pbGone);
    std::string PickTarget(const std::string& host, const addrinfo* pAddresses, const std::atomic<bool>* pbGone);
    SWL_socket_t Connect(const std::string& target, WORD wDVRPort, const std::atomic<bool>* pbGone);
    bool Interrupted(const std::atomic<bool>* pbGone) const { return m_bInteruptConnect || (pbGone && *pbGone); }

    CPUB_Lock m_GetAddrInfoLock;  // leaf; name lookups alone, never a wait for a device
    std::atomic<DWORD> m_dwConnWaitTime{DEFAULT_WAIT};
    std::atomic<DWORD> m_dwConnTryTimes{DEFAULT_TRIES};
    std::atomic<bool> m_bInteruptConnect{false};
};
