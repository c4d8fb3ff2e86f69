#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "sdk_common/PubThread.h"
#include "sdk_common/ThreadState.h"
#include "support/TestSupport.h"

namespace {

struct WORKER {
    PUB_thread_t threadID = 0;
    bool bRun = false;
    std::atomic<bool> bMayExit{false}, bEnded{false};

    static void* StopItself(void* pParam) {
        auto& worker = *static_cast<WORKER*>(pParam);
        while (!worker.bMayExit) std::this_thread::yield();
        PUB_ExitThread(&worker.threadID, &worker.bRun);
        worker.bEnded = true;
        return nullptr;
    }
    bool Start() { return (threadID = PUB_CreateThread(StopItself, this, &bRun)) != 0; }
};

// In odd rounds the owner stops the threads at the same time. Between rounds the manager's own thread ends.
TEST(Thread, ThreadsThatStopThemselvesLeaveNothing) {
    const int before = ThreadCount();
    for (int round = 0; round < 10; ++round) {
        std::vector<WORKER> workers(20);
        for (auto& worker : workers) ASSERT_TRUE(worker.Start());
        for (auto& worker : workers) {
            worker.bMayExit = true;
            if (round % 2) PUB_ExitThread(&worker.threadID, &worker.bRun);
        }
        for (auto& worker : workers)
            EXPECT_TRUE(WaitUntil([&] { return worker.bEnded && worker.threadID == 0 && !worker.bRun; }));
        EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == before; }));
    }
}

TEST(Thread, NoThreadNoFlag) {
    pthread_attr_t ordinary, huge;
    pthread_getattr_default_np(&ordinary);
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, size_t{1} << 50);
    pthread_setattr_default_np(&huge);
    WORKER worker;
    const bool bStarted = worker.Start();
    const int error = errno;
    pthread_setattr_default_np(&ordinary);
    EXPECT_TRUE(!bStarted && !worker.bRun && error != 0);
    EXPECT_EQ(PUB_CreateThreadEx(WORKER::StopItself, &worker, &worker.bRun, 100), 0u);  // no such priority
    EXPECT_TRUE(errno == EINVAL && !worker.bRun);
    worker.bRun = true;
    PUB_ExitThread(&worker.threadID, &worker.bRun);
    EXPECT_TRUE(worker.bRun);  // of a thread that does not exist the flag is left alone
}

TEST(LastError, IsOneNumberForTheProcess) {
    std::jthread([] { EXPECT_FALSE(Failure(HLX_NOSUPPORT)); });
    LONG number = -1;
    EXPECT_EQ(CThreadState::Instance()->GetErrorMsg(&number), nullptr);
    EXPECT_TRUE(number == 26 && CThreadState::Instance()->GetLastError() == 26);
}

}  // namespace
