// Start and stop of the library.
#include <ctime>
#include <fstream>
#include <iterator>

#include "ApiTestSupport.h"
#include "main_utility/api/SDKImpl.h"
#include "support/TestSupport.h"

namespace {

/// What the process holds once everything that lives as long as the library is there.
struct HOLDINGS {
    int threads = ThreadCount();
    int descriptors = OpenDescriptorCount();

    void ExpectUnchanged() const {
        EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == threads; }, std::chrono::seconds(2)))
            << ThreadCount() << " threads";
        EXPECT_EQ(OpenDescriptorCount(), descriptors);
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
        EXPECT_TRUE(HLX_Cleanup());
        before.ExpectUnchanged();
    }
}

TEST_F(Life, RepeatedLivesHoldNothing) {
    const HOLDINGS before;
    for (int life = 0; life < 20; ++life) {
        ASSERT_TRUE(HLX_Init());
        EXPECT_GT(ThreadCount(), before.threads);
        ASSERT_TRUE(HLX_Cleanup());
    }
    before.ExpectUnchanged();
}

TEST_F(Life, OneCleanupEndsTheSession) {
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_NOINIT});
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

TEST_F(Life, ErrorNumberOutlivesTheSession) {
    EXPECT_EQ(HLX_GetErrorMsg(nullptr), nullptr);
    LONG error = 0;
    EXPECT_EQ(HLX_GetErrorMsg(&error), nullptr);
    EXPECT_EQ(error, HLX_NOINIT);
}

TEST(FormatTime, KeepsTheBasesOfTm) {
    tm local{};
    local.tm_year = 124;
    local.tm_mon = 2;
    local.tm_mday = 1;
    local.tm_hour = 13;
    local.tm_min = 5;
    local.tm_sec = 59;
    local.tm_isdst = -1;
    DD_TIME time{};
    time.wday = 77;
    time.nTotalseconds = 78;
    EXPECT_TRUE(HLX_FormatTime(LONGLONG{mktime(&local)} * 1000000 + 999999, &time));
    EXPECT_EQ(time.year, 124);
    EXPECT_EQ(time.month, 2);
    EXPECT_EQ(time.mday, 1);
    EXPECT_EQ(time.hour, 13);
    EXPECT_EQ(time.minute, 5);
    EXPECT_EQ(time.second, 59);
    EXPECT_EQ(time.wday, 77);
    EXPECT_EQ(time.nTotalseconds, 78);
    EXPECT_FALSE(HLX_FormatTime(0, nullptr));
}

TEST_F(Life, LogIsOnBetweenTheTwoCallsOfItsUserOnly) {
    constexpr const char* SECRET = "h1dden-word";
    const CTempDir dir;
    const HOLDINGS before;
    const auto written = [&] {
        std::ifstream file(dir.File("unit_api.log"));
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const auto refuse = [] { EXPECT_EQ(HLX_LoginEx("127.0.0.1", 1, "admin", SECRET, nullptr, 2, "serial"), -1); };
    ASSERT_TRUE(HLX_Init());
    refuse();
    testing::internal::CaptureStderr();
    EXPECT_TRUE(HLX_SetLogToFile(true, dir.Path().c_str(), false, YLOG_BUFF));
    refuse();
    EXPECT_TRUE(HLX_SetLogToFile(false, nullptr, true, 99));
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_SUCCESS});
    const std::string console = testing::internal::GetCapturedStderr();
    const std::string text = written();
    const std::string line = "127.0.0.1 port 1: no connection, number " + std::to_string(HLX_NETWORK_FAIL_CONNECT);
    for (const std::string& output : {text, console}) {
        EXPECT_NE(output.find("log begins, version 00010002"), std::string::npos);
        EXPECT_EQ(output.find(line), output.rfind(line));
        EXPECT_NE(output.find(line), std::string::npos);
        EXPECT_EQ(output.find(SECRET), std::string::npos);
    }
    refuse();
    EXPECT_EQ(written(), text);
    EXPECT_TRUE(HLX_SetLogToFile(true, "", false, -1));  // the directory stays
    EXPECT_TRUE(HLX_Cleanup());
    EXPECT_FALSE(YLog4C::IsOn());
    before.ExpectUnchanged();
}

}  // namespace
