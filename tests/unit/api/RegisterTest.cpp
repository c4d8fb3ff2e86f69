// What the session root does for devices that call in.

#include "main_utility/api/SDKImpl.h"
#include "support/Test.h"

namespace {

struct TOLD {
    LONG lUserID = 0, lRegisterID = 0;
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
    root.SetRegisterCallback(Tell, &known);
    root.SetUnRegisterCallback(Tell, &unknown);
    CSDKImpl::AcceptRegisterProc(3, 30, &info, &root);
    EXPECT_TRUE(known.lUserID == 3 && known.lRegisterID == 30 && known.pInfo == &info);
    CSDKImpl::AcceptUnRegisterProc(4, 40, &info, &root);
    EXPECT_TRUE(known.lUserID == 4 && known.lRegisterID == 40 && unknown.lUserID == 0);
    root.Playback().RemoveDevice(3);
    for (const LONG id : {3, 4, 5}) EXPECT_EQ(root.Playback().HasDevice(id), id != 3);
}

}  // namespace
