// Calls that no application should make: they fail with a number and do no harm.
#include "ApiTestSupport.h"

namespace {

class BadInput : public CApiTest {};

bool SucceedsWithZeroes(const std::string& sName) {
    static const std::string names =
        " HLX_SetReconnect HLX_CloseSound HLX_SetRegisterPort HLX_SetSDKMessageCallBack HLX_SetRegisterCallback"
        " HLX_SetUnRegisterCallback HLX_SetSubscribCallBack HLX_SetDVRMessageCallBack HLX_SetDVRMessageCallBackEx"
        " HLX_CloseAlarmChan HLX_StopGetFile ";
    return names.find(" " + sName + " ") != std::string::npos;
}

/// An id below 1, what is asked of a search, playback, download or talk that is not there, and what always gives 0.
bool GivesNoNumber(const std::string& sName) {
    static const std::string names =
        " HLX_GetDownloadPos HLX_StartVoiceCom HLX_SetVoiceComClientVolume HLX_StopVoiceCom HLX_Logout"
        " HLX_SetupAlarmChan HLX_FindClose HLX_FindEventClose HLX_FindTimeClose HLX_FindLogClose"
        " HLX_FindEventInfoClose HLX_StopPlayBack HLX_StopPlayBackSync HLX_PlayBackControlSync ";
    return names.find(" " + sName + " ") != std::string::npos;
}

TEST_F(BadInput, ZeroesEverywhere) {
    for (const EXPORT_ROW& row : ExportRows()) {
        StoreError(HLX_SUCCESS);
        const LONG result = row.call();
        const DWORD error = HLX_GetLastError();
        if (SucceedsWithZeroes(row.sName)) {
            EXPECT_EQ(result, 1) << row.sName;
        } else if (GivesNoNumber(row.sName)) {
            EXPECT_NE(result, 1) << row.sName;
            EXPECT_EQ(error, DWORD{HLX_SUCCESS});
        } else {
            EXPECT_NE(result, 1) << row.sName;
            EXPECT_TRUE(error == HLX_PARAMETER_ERROR || error == HLX_NOSUPPORT) << row.sName << " gave " << error;
        }
    }
}

}  // namespace
