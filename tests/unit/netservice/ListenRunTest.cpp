#include <future>
#include <thread>

#include "EngineFixture.h"
#include "netservice/ConnectProc.h"
#include "netservice/ListenProc.h"
#include "support/MovedTime.h"

namespace {

SWL_socket_t Call(unsigned short port) {
    CSWL_ConnectProcEx* pConnect = CSWL_ConnectProcEx::NewConnectProc("127.0.0.1", port);
    const SWL_socket_t sock = pConnect->ConnectSynEx(5000);
    pConnect->Destroy();
    return sock;
}

}  // namespace

TEST(ListenRun, CallbackMayStopRestartAndDestroy) {
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
        SWL_CloseSocket(Call(port));
        ASSERT_TRUE(WaitUntil([&] { return calls == i; }));
    }
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() == descriptors; })) << "both runs have ended";
}

/// A stop is never lost, whether the accept thread has begun or not, and whether the start is through or not.
TEST(ListenRun, AStopBesideTheStartEndsTheListener) {
    const int descriptors = OpenDescriptorCount();
    const int threads = ThreadCount();
    const auto onAccept = [](CLIENT_SOCK_INFO* pInfo, void*, void*) {
        SWL_CloseSocket(pInfo->pTcpSock);
        return 0;
    };
    CSWL_ListenProcEx listener(onAccept, nullptr);
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
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() == descriptors && ThreadCount() == threads; }));
}

TEST(ListenRun, AStopInsideTheCallbackLeavesTheThreadToBeJoined) {
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
    SWL_CloseSocket(Call(state.listener->GetListenPort()));
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
TEST(ListenRun, OnlyCallersThatSpokeAreTold) {
    constexpr int WAIT = 60000;  // milliseconds that a caller has
    static std::mutex lock;
    static std::vector<std::string> told;  // lock
    const auto onAccept = [](CLIENT_SOCK_INFO* pInfo, void*, void*) {
        char said[16];
        const int length = SWL_Recv(pInfo->pTcpSock, said, sizeof(said));
        SWL_CloseSocket(pInfo->pTcpSock);
        const std::scoped_lock guard(lock);
        told.emplace_back(said, static_cast<size_t>(std::max(length, 0)));
        return 0;
    };
    const auto awaitTold = [&](const std::vector<std::string>& expected) {
        return WaitUntil([&] {
            const std::scoped_lock guard(lock);
            return told == expected;
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
        silent.push_back(Call(listener.GetListenPort()));
        EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() == descriptors + caller + std::min(caller, 64); }));
    }
    EXPECT_TRUE(isClosed(silent[0])) << "64 may wait, and the oldest goes";

    SWL_Send(silent[1], "1234", 4);
    SWL_Send(silent[2], "12345678", 8);
    EXPECT_TRUE(awaitTold({"12345678"}));
    SWL_Send(silent[1], "5678", 4);
    EXPECT_TRUE(awaitTold({"12345678", "12345678"}));
    SWL_Send(silent[3], "123", 3);
    SWL_CloseSocket(silent[3]);
    EXPECT_TRUE(awaitTold({"12345678", "12345678", "123"})) << "one that leaves is told at once";

    time.Advance(WAIT);
    EXPECT_TRUE(isClosed(silent[4]));
    const SWL_socket_t next = Call(listener.GetListenPort());
    SWL_Send(next, "abcdefgh", 8);
    EXPECT_TRUE(awaitTold({"12345678", "12345678", "123", "abcdefgh"}));
    SWL_CloseSocket(next);
    silent[3] = SWL_INVALID_SOCKET;
    for (const SWL_socket_t sock : silent) SWL_CloseSocket(sock);
}
