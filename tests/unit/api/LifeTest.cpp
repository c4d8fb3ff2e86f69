// Start and stop of the library.
#include "ApiTestSupport.h"

namespace {

class Life : public testing::Test {
protected:
    void SetUp() override {
        m_time.SetRate(1000);
        ASSERT_TRUE(HLX_Init() && HLX_Cleanup());
    }
    void TearDown() override { HLX_Cleanup(); }

    CMovedTime m_time;
};

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

}  // namespace
