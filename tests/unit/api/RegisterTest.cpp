// What the session root does for devices that call in.
#include <gtest/gtest.h>

#include "main_utility/api/SDKImpl.h"

namespace {

struct TOLD {
    LONG lUserID = 0;
    LONG lRegisterID = 0;
    LPHLX_DEVICEINFO pInfo = nullptr;
};

void Tell(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pInfo, void* pUser) {
    *static_cast<TOLD*>(pUser) = {lUserID, lRegisterID, pInfo};
}

TEST(RegisterCallbacks, BothGetTheValueOfTheFirst) {
    CSDKImpl root(YLog4C::GetInstance());
    TOLD known, unknown;
    HLX_DEVICEINFO info{};
    root.SetRegisterCallback(Tell, &known);
    root.SetUnRegisterCallback(Tell, &unknown);

    CSDKImpl::AcceptRegisterProc(3, 30, &info, &root);
    EXPECT_EQ(known.lUserID, 3);
    EXPECT_EQ(known.lRegisterID, 30);
    EXPECT_EQ(known.pInfo, &info);
    EXPECT_TRUE(root.Playback().HasDevice(3));

    CSDKImpl::AcceptUnRegisterProc(4, 40, &info, &root);
    EXPECT_EQ(known.lUserID, 4);
    EXPECT_EQ(known.lRegisterID, 40);
    EXPECT_EQ(unknown.lUserID, 0);
    EXPECT_TRUE(root.Playback().HasDevice(4));

    root.Playback().RemoveDevice(3);
    EXPECT_FALSE(root.Playback().HasDevice(3));
    EXPECT_TRUE(root.Playback().HasDevice(4));
}

TEST(RegisterCallbacks, MayBeMissing) {
    CSDKImpl root(YLog4C::GetInstance());
    HLX_DEVICEINFO info{};
    CSDKImpl::AcceptRegisterProc(3, 30, &info, &root);
    CSDKImpl::AcceptUnRegisterProc(4, 40, &info, &root);
    EXPECT_TRUE(root.Playback().HasDevice(3));
    EXPECT_TRUE(root.Playback().HasDevice(4));
}

TEST(SessionRoot, StartsWithTheLogOff) {
    YLog4C::GetInstance()->SetLog2Console(true);
    YLog4C::GetInstance()->SetLog2File(true);
    CSDKImpl root(YLog4C::GetInstance());
    EXPECT_FALSE(YLog4C::GetInstance()->IsOn());
}

}  // namespace
