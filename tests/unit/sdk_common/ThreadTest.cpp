#include <cerrno>

#include "sdk_common/PubThread.h"
#include "sdk_common/ThreadState.h"
#include "support/Test.h"

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

/// The stack size of new threads, for a scope.
struct STACK_SIZE {
    explicit STACK_SIZE(size_t size) {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&ordinary);
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, size);
        pthread_setattr_default_np(&attributes);
    }
    ~STACK_SIZE() { pthread_setattr_default_np(&ordinary); }
    pthread_attr_t ordinary;
};

size_t PagesMapped() {
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
}

// Threads that ended but were not joined keep their stacks, which are too large here to be kept for later threads. In
// odd rounds the owner stops the threads at the same time. Between rounds the manager's own thread ends.
TEST(Thread, ThreadsThatStopThemselvesLeaveNothing) {
    const STACK_SIZE large(size_t{64} << 20);
    const int before = ThreadCount();
    const size_t pagesBefore = PagesMapped(), pagesOfStack = (size_t{64} << 20) / 4096;
    for (int round = 0; round < 10; ++round) {
        std::vector<WORKER> workers(20);
        for (auto& worker : workers) ASSERT_TRUE(worker.Start());
        for (auto& worker : workers) {
            worker.bMayExit = true;
            if (round % 2) PUB_ExitThread(&worker.threadID, &worker.bRun);
        }
        for (auto& worker : workers)
            EXPECT_TRUE(WaitUntil([&] { return worker.bEnded && worker.threadID == 0 && !worker.bRun; }));
        EXPECT_TRUE(
            WaitUntil([&] { return ThreadCount() == before && PagesMapped() < pagesBefore + 10 * pagesOfStack; }));
    }
}

TEST(Thread, NoThreadNoFlag) {
    WORKER worker;
    EXPECT_EQ(PUB_CreateThreadEx(WORKER::StopItself, &worker, &worker.bRun, 100), 0u);  // no such priority
    EXPECT_TRUE(errno == EINVAL && !worker.bRun);
    worker.bRun = true;
    PUB_ExitThread(&worker.threadID, &worker.bRun);
    EXPECT_TRUE(worker.bRun);  // of a thread that does not exist the flag is left alone
}

}  // namespace
