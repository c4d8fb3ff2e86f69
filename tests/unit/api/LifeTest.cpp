// Start and stop of the library.
#include <algorithm>
#include <fstream>

#include "ApiTestSupport.h"
#include "main_utility/api/SDKImpl.h"
#include "support/TestSupport.h"

namespace {

/// What the process holds once everything that lives as long as the library is there.
struct HOLDINGS {
    int threads = ThreadCount();
    int descriptors = OpenDescriptorCount();

    void ExpectUnchanged() const {
        // A thread that is just ending may have been counted before.
        EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= threads; }, std::chrono::seconds(2)))
            << ThreadCount() << " threads";
        EXPECT_LE(OpenDescriptorCount(), descriptors);
    }
};

class Life : public testing::Test {
protected:
    void SetUp() override {
        m_time.SetRate(1000);
        ASSERT_TRUE(HLX_Init());
        ASSERT_TRUE(HLX_Cleanup());
    }
    void TearDown() override {
        CSDKImpl::FailInitStep(-1);
        HLX_Cleanup();
    }

    CMovedTime m_time;
};

TEST_F(Life, FailureAtAnyStepLeavesNothingRunning) {
    const HOLDINGS before;
    ASSERT_GT(CSDKImpl::InitStepCount(), 10u);
    for (int step = 0; step < static_cast<int>(CSDKImpl::InitStepCount()); ++step) {
        SCOPED_TRACE(step);
        CSDKImpl::FailInitStep(step);
        EXPECT_FALSE(HLX_Init());
        EXPECT_EQ(StoredError(), HLX_PROGRAM_EXCEPTION);
        EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_NOINIT});
        before.ExpectUnchanged();

        CSDKImpl::FailInitStep(-1);
        EXPECT_TRUE(HLX_Init());
        EXPECT_GT(ThreadCount(), before.threads);
        EXPECT_TRUE(HLX_Cleanup());
        before.ExpectUnchanged();
    }
}

TEST_F(Life, OneCleanupEndsTheSession) {
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_NOINIT});
    LONG error = 0;
    EXPECT_EQ(HLX_GetErrorMsg(&error), nullptr);
    EXPECT_EQ(error, HLX_NOINIT) << "can be read without a session";
    EXPECT_TRUE(HLX_Init());
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_SUCCESS});
    StoreError(OTHER_ERROR);
    EXPECT_TRUE(HLX_Init());
    EXPECT_EQ(HLX_GetLastError(), OTHER_ERROR);  // a second start does nothing at all
    EXPECT_TRUE(HLX_Cleanup());
    EXPECT_EQ(HLX_GetSDKVersion(), 0u);
    EXPECT_EQ(StoredError(), HLX_NOINIT);
    EXPECT_TRUE(HLX_Cleanup());
    EXPECT_EQ(StoredError(), HLX_SUCCESS);
}

TEST_F(Life, TheLogKeepsItsDirectoryWhenNoneIsGiven) {
    ASSERT_TRUE(HLX_Init());
    const CTempDir dir;
    testing::internal::CaptureStderr();
    for (const char* pDir : {dir.Path().c_str(), static_cast<const char*>(nullptr), ""}) {
        EXPECT_TRUE(HLX_SetLogToFile(true, pDir, false, YLOG_INFO));
        EXPECT_TRUE(HLX_SetLogToFile(false, nullptr, false, YLOG_INFO));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("assertion"), std::string::npos);
    const auto first = std::filesystem::directory_iterator(dir.Path());
    ASSERT_NE(first, std::filesystem::directory_iterator());
    std::ifstream file(first->path());
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(file), {}, '\n'), 3);
}

}  // namespace
