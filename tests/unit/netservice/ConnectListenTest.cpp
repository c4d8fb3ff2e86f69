#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <unistd.h>

#include "netservice/ConnectProc.h"
#include "netservice/ListenProc.h"
#include "sdk_common/TimeSource.h"
#include "support/MovedTime.h"
#include "support/Test.h"

namespace {

struct ACCEPTED {
    std::atomic<int> count{0};
    static int OnAccept(CLIENT_SOCK_INFO* pInfo, void* pParam, void*) {
        ++static_cast<ACCEPTED*>(pParam)->count;
        SWL_CloseSocket(pInfo->pTcpSock);
        return 0;
    }
};

/// A listening socket that never accepts and whose backlog is full, so that further connects stay under way.
class CDeafPeer {
public:
    CDeafPeer() {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_sockets.push_back(SWL_CreateSocket(AF_INET, SOCK_STREAM, 0));
        socklen_t len = sizeof(m_address);
        auto* pAddress = reinterpret_cast<sockaddr*>(&m_address);
        EXPECT_EQ(SWL_Bind(m_sockets[0], pAddress, len), 0);
        EXPECT_EQ(SWL_Listen(m_sockets[0], 0), 0);
        EXPECT_EQ(getsockname(static_cast<int>(m_sockets[0]), pAddress, &len), 0);
        for (int i = 0; i < 3; ++i) {
            m_sockets.push_back(SWL_CreateSocket(AF_INET, SOCK_STREAM, 0));
            SWL_Connect(m_sockets.back(), pAddress, len, 50);
        }
    }
    ~CDeafPeer() {
        for (const SWL_socket_t sock : m_sockets) SWL_CloseSocket(sock);
    }
    unsigned short Port() const { return ntohs(m_address.sin_port); }

private:
    sockaddr_in m_address{};
    std::vector<SWL_socket_t> m_sockets;
};

}  // namespace

TEST(Connect, WaitIsBoundedAndEndedByDestroy) {
    CDeafPeer peer;
    {
        CMovedTime time;
        time.SetRate(20);
        const tint64 start = TimeSource().MonotonicMicroseconds();
        CSWL_ConnectProcEx* pConnect = CSWL_ConnectProcEx::NewConnectProc("127.0.0.1", peer.Port());
        EXPECT_EQ(pConnect->ConnectSynEx(2500), SWL_INVALID_SOCKET);
        pConnect->Destroy();
        const tint64 waited = (TimeSource().MonotonicMicroseconds() - start) / 1000;
        EXPECT_GE(waited, 2500);
        EXPECT_LT(waited, 4000);
    }
    CSWL_ConnectProcEx* pConnect = CSWL_ConnectProcEx::NewConnectProc("127.0.0.1", peer.Port());
    std::atomic<int> results{0};
    const auto onConnect = [](SWL_socket_t sock, void* pParam, void*) {
        EXPECT_EQ(sock, SWL_INVALID_SOCKET);
        ++*static_cast<std::atomic<int>*>(pParam);
        return 0;
    };
    const int descriptors = OpenDescriptorCount();
    ASSERT_TRUE(pConnect->ConnectAsynEx(onConnect, &results, 3600000));
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() > descriptors; })) << "it has begun";
    EXPECT_FALSE(pConnect->ConnectAsynEx(onConnect, &results, 1000)) << "one try at a time";
    const tint64 start = TimeSource().MonotonicMicroseconds();
    pConnect->Destroy();
    EXPECT_LT(TimeSource().MonotonicMicroseconds() - start, 1500000);
    EXPECT_EQ(results, 1);
}

TEST(Connect, CallbackMayDestroyItsObjectOrTryAgainWhileItIsDestroyed) {
    ACCEPTED accepted;
    CSWL_ListenProcEx listener(ACCEPTED::OnAccept, &accepted);
    ASSERT_EQ(listener.StartListen(0), CSWL_ListenProcEx::LISTEN_OK);
    static CSWL_ConnectProcEx* pConnect = nullptr;
    static std::atomic<bool> bInCallback{false};
    static bool bDestroys = false;
    const auto onConnect = [](SWL_socket_t sock, void*, void*) {
        EXPECT_NE(sock, SWL_INVALID_SOCKET);
        if (bDestroys) pConnect->Destroy();
        bInCallback = true;
        if (bDestroys) return SWL_CloseSocket(sock);
        for (; sock != SWL_INVALID_SOCKET; sock = pConnect->ConnectSynEx(5000)) SWL_CloseSocket(sock);  // not any more
        EXPECT_FALSE(pConnect->ConnectAsynEx(nullptr, nullptr, 1000));
        return 0;
    };
    const int threads = ThreadCount();
    for (const bool bRow : {false, true}) {
        bDestroys = bRow;
        bInCallback = false;
        pConnect = CSWL_ConnectProcEx::NewConnectProc("127.0.0.1", listener.GetListenPort());
        ASSERT_TRUE(pConnect->ConnectAsynEx(onConnect, nullptr, 5000));
        EXPECT_TRUE(WaitUntil([&] { return bInCallback.load(); }));
        if (!bDestroys) pConnect->Destroy();
    }
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= threads + 1; }));  // one may be the thread that joins others
}

TEST(Listen, PortInUseIsTriedForTwoMinutesOrUntilStopped) {
    CMovedTime time;
    const CDeafPeer owner;
    CSWL_ListenProcEx listener(ACCEPTED::OnAccept, nullptr);
    std::thread stopper([&] {
        EXPECT_FALSE(WaitUntil([&] { return listener.GetListenPort() != 0; }, std::chrono::milliseconds(20)));
        listener.StopListen();
    });
    EXPECT_EQ(listener.StartListen(owner.Port()), CSWL_ListenProcEx::LISTEN_BIND_FAILED);
    stopper.join();
    time.SetRate(1000);
    const tint64 start = TimeSource().MonotonicMicroseconds();
    EXPECT_EQ(listener.StartListen(owner.Port()), CSWL_ListenProcEx::LISTEN_BIND_FAILED);
    EXPECT_GE(TimeSource().MonotonicMicroseconds() - start, 118 * 1000000LL);
    time.SetRate(1);
    EXPECT_EQ(listener.StartListen(0), CSWL_ListenProcEx::LISTEN_OK) << "works after a failure";
    listener.StopListen();
}

TEST(Listen, SurvivesAShortageOfDescriptorsWithoutSpinning) {
    ACCEPTED accepted;
    CSWL_ListenProcEx listener(ACCEPTED::OnAccept, &accepted);
    ASSERT_EQ(listener.StartListen(0), CSWL_ListenProcEx::LISTEN_OK);
    const SWL_socket_t sock = SWL_CreateSocket(AF_INET, SOCK_STREAM, 0);
    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    rlimit none = old;
    none.rlim_cur = 3;  // those are taken
    setrlimit(RLIMIT_NOFILE, &none);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(listener.GetListenPort());
    EXPECT_EQ(SWL_Connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof(address), 2000), 0);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    getrusage(RUSAGE_SELF, &after);
    EXPECT_EQ(accepted.count, 0);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 20);
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_TRUE(WaitUntil([&] { return accepted.count == 1; }));
    SWL_CloseSocket(sock);
}

TEST(Listen, CallbackMayStopRestartAndDestroy) {
    static std::unique_ptr<CSWL_ListenProcEx> listener;
    static std::atomic<int> calls{0};
    static unsigned short port = 0;
    const auto onAccept = [](CLIENT_SOCK_INFO* pInfo, void*, void*) {
        SWL_CloseSocket(pInfo->pTcpSock);
        listener->StopListen();
        EXPECT_TRUE(calls > 0 || listener->StartListen(port) == CSWL_ListenProcEx::LISTEN_OK);
        if (calls == 1) listener.reset();
        return ++calls;
    };
    calls = 0;
    const int descriptors = OpenDescriptorCount();
    listener = std::make_unique<CSWL_ListenProcEx>(onAccept, nullptr);
    ASSERT_EQ(listener->StartListen(0), CSWL_ListenProcEx::LISTEN_OK);
    port = listener->GetListenPort();
    for (int i = 1; i <= 2; ++i) {
        SWL_CloseSocket(ConnectLoopback(port));
        ASSERT_TRUE(WaitUntil([&] { return calls == i; }));
    }
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() == descriptors; })) << "both runs have ended";
}

/// A stop is never lost, whether the accept thread has begun or not, and whether the start is through or not.
TEST(Listen, AStopBesideTheStartEndsTheListener) {
    const int descriptors = OpenDescriptorCount(), threads = ThreadCount();
    CSWL_ListenProcEx listener(ACCEPTED::OnAccept, nullptr);
    for (int i = 0; i < 100; ++i) {
        std::thread stopper;
        std::atomic<bool> bStarted{false};
        // The port is known a moment before the accept thread is made.
        const auto stopEarly = [&] {
            while (listener.GetListenPort() == 0 && !bStarted) std::this_thread::yield();
            listener.StopListen();
        };
        if (i % 2) stopper = std::thread(stopEarly);
        const int result = listener.StartListen(0);
        EXPECT_TRUE(result == CSWL_ListenProcEx::LISTEN_OK || (i % 2 && result != 0)) << result;
        bStarted = true;
        if (stopper.joinable()) stopper.join();
        listener.StopListen();
        EXPECT_EQ(listener.GetListenPort(), 0);
    }
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() <= descriptors && ThreadCount() <= threads; }));
}

TEST(Listen, AStopInsideTheCallbackLeavesTheThreadToBeJoined) {
    struct STATE {
        std::unique_ptr<CSWL_ListenProcEx> listener;
        std::promise<void> gate;
        std::atomic<bool> bStopped{false}, bDone{false};
    } state;
    const auto onAccept = [](CLIENT_SOCK_INFO* pInfo, void* pParam, void*) {
        auto& self = *static_cast<STATE*>(pParam);
        SWL_CloseSocket(pInfo->pTcpSock);
        self.listener->StopListen();
        self.bStopped = true;
        self.gate.get_future().wait();
        self.bDone = true;
        return 0;
    };
    state.listener = std::make_unique<CSWL_ListenProcEx>(onAccept, &state);
    ASSERT_EQ(state.listener->StartListen(0), CSWL_ListenProcEx::LISTEN_OK);
    SWL_CloseSocket(ConnectLoopback(state.listener->GetListenPort()));
    EXPECT_TRUE(WaitUntil([&] { return state.bStopped.load(); }));
    auto ended = std::async(std::launch::async, [&] {
        state.listener->StopListen();
        return state.bDone.load();
    });
    EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    state.gate.set_value();
    EXPECT_TRUE(ended.get());
}

/// Callers that must say eight bytes first.
TEST(Listen, OnlyCallersThatSpokeAreTold) {
    constexpr int WAIT = 60000;  // milliseconds that a caller has
    static std::mutex lock;
    static std::vector<std::string> told;  // lock
    const auto onAccept = [](CLIENT_SOCK_INFO* pInfo, void*, void*) {
        char said[16] = {};
        SWL_Recv(pInfo->pTcpSock, said, sizeof(said) - 1);
        SWL_CloseSocket(pInfo->pTcpSock);
        const std::lock_guard guard(lock);
        told.emplace_back(said);
        return 0;
    };
    const auto awaitTold = [](size_t count, const std::string& said) {
        return WaitUntil([&] {
            const std::lock_guard guard(lock);
            return told.size() == count && told.back() == said;
        });
    };
    const auto isClosed = [](SWL_socket_t sock) {
        char scrap;
        return WaitUntil([&] { return SWL_Recv(sock, &scrap, 1) == 0; });
    };
    told.clear();
    CMovedTime time;
    CSWL_ListenProcEx listener(onAccept, nullptr, {8, [] { return WAIT; }});
    ASSERT_EQ(listener.StartListen(0), CSWL_ListenProcEx::LISTEN_OK);
    std::vector<SWL_socket_t> silent;
    const int descriptors = OpenDescriptorCount();
    for (int caller = 1; caller <= 65; ++caller) {
        silent.push_back(ConnectLoopback(listener.GetListenPort()));
        EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() == descriptors + caller + std::min(caller, 64); }));
    }
    EXPECT_TRUE(isClosed(silent[0])) << "64 may wait, and the oldest goes";

    SWL_Send(silent[1], "1234", 4);
    SWL_Send(silent[2], "12345678", 8);
    EXPECT_TRUE(awaitTold(1, "12345678"));
    SWL_Send(silent[1], "5678", 4);
    EXPECT_TRUE(awaitTold(2, "12345678"));
    SWL_Send(silent[3], "123", 3);
    SWL_CloseSocket(silent[3]);
    EXPECT_TRUE(awaitTold(3, "123")) << "one that leaves is told at once";

    time.Advance(WAIT);
    EXPECT_TRUE(isClosed(silent[4]));
    const SWL_socket_t next = ConnectLoopback(listener.GetListenPort());
    SWL_Send(next, "abcdefgh", 8);
    EXPECT_TRUE(awaitTold(4, "abcdefgh"));
    SWL_CloseSocket(next);
    silent[3] = SWL_INVALID_SOCKET;
    for (const SWL_socket_t sock : silent) SWL_CloseSocket(sock);
}
