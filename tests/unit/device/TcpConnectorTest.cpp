#include "main_utility/device/TcpConnector.h"
#include "ScriptedPeer.h"
#include "sdk_common/ThreadState.h"

namespace {

/// The number of a failure, or HLX_SUCCESS.
DWORD ConnectTo(CTcpConnector& connector, const char* sHost, unsigned short port) {
    PRE_SEND_DATA pre{};
    SWL_socket_t sock = -1;
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    const bool bConnected = connector.ConnectServerUseTCP(sHost, port, sock, pre);
    EXPECT_EQ(bConnected, sock != -1);
    if (sock != -1) SWL_CloseSocket(sock);
    return bConnected ? DWORD{HLX_SUCCESS} : CThreadState::Instance()->GetLastError();
}

TEST(TcpConnector, RefusesAWrongFirstBlockWithoutWaiting) {
    std::string wrongWord = FirstBlock(0, 4);
    wrongWord[0] = 'H';
    const std::string blocks[] = {"", FirstBlock(0, 4).substr(0, 63), wrongWord, "HTTP"};
    for (const std::string& block : blocks) {
        const bool bCloses = block.size() != 64 && block != "HTTP";
        CScriptedPeer peer([&](int sock) {
            SendAll(sock, block);
            if (!bCloses) peer.AwaitClose(sock);
        });
        CTcpConnector connector;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(DWORD{HLX_NETWORK_ERRORDATA}, ConnectTo(connector, "127.0.0.1", peer.Port())) << block;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << block;
    }
}

TEST(TcpConnector, FindsThePeerByEveryFormOfItsAddress) {
    for (const auto& [family, sHost] :
         {std::pair{AF_INET, "127.0.0.1"}, {AF_INET, "localhost"}, {AF_INET6, "::1"}, {AF_INET6, "[::1]"}}) {
        CScriptedPeer peer([](int sock) { SendAll(sock, FirstBlock(0, 4)); }, family);
        if (!peer.Bound()) continue;  // a machine without IPv6
        CTcpConnector connector;
        EXPECT_EQ(DWORD{HLX_SUCCESS}, ConnectTo(connector, sHost, peer.Port())) << sHost;
    }
}

TEST(TcpConnector, FailsAtOnceWhereNobodyListens) {
    const unsigned short freePort = CScriptedPeer([](int) {}).Port();
    CTcpConnector connector;
    connector.SetConnectTime(60000, 3);
    const auto start = std::chrono::steady_clock::now();
    for (const char* sHost : {"127.0.0.1", "", "[]", "[::1", "256.1.1.1.1", "no host of that name"})
        EXPECT_EQ(DWORD{HLX_NETWORK_FAIL_CONNECT}, ConnectTo(connector, sHost, freePort)) << sHost;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(TcpConnector, AnInterruptEndsTheWaitForTheFirstBlock) {
    std::atomic<int> links{0};
    CScriptedPeer peer([&](int sock) {
        ++links;
        peer.AwaitClose(sock);
    });
    CTcpConnector connector;
    connector.SetConnectTime(600000, 1);
    std::thread connecting([&] { EXPECT_NE(DWORD{HLX_SUCCESS}, ConnectTo(connector, "127.0.0.1", peer.Port())); });
    EXPECT_TRUE(WaitUntil([&] { return links == 2; }));  // the probe and the link itself
    connector.Interrupt(true);
    connecting.join();
    EXPECT_NE(DWORD{HLX_SUCCESS}, ConnectTo(connector, "127.0.0.1", peer.Port()));
    connector.Interrupt(false);
}

}  // namespace
