#include <thread>

#include "EngineFixture.h"
#include "netservice/ConnectProc.h"
#include "netservice/ListenProc.h"

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
        CSWL_ConnectProcEx* pConnect = CSWL_ConnectProcEx::NewConnectProc("127.0.0.1", port);
        SWL_CloseSocket(pConnect->ConnectSynEx(2000));
        pConnect->Destroy();
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
