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
    CSDKImpl::AcceptUnRegisterProc(5, 50, &info, &root);  // nobody to tell yet
    EXPECT_TRUE(root.Playback().HasDevice(5));
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

}  // namespace
