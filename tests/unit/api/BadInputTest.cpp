// Calls that no application should make: they fail with a number and do no harm.
#include <cstring>
#include <string>

#include "ApiTestSupport.h"

namespace {

class BadInput : public CApiTest {};

bool SucceedsWithZeroes(const char* pName) {
    return !std::strcmp(pName, "HLX_SetReconnect") || !std::strcmp(pName, "HLX_CloseSound");
}

TEST_F(BadInput, ZeroesEverywhere) {
    for (const EXPORT_ROW& row : ExportRows()) {
        StoreError(HLX_SUCCESS);
        const LONG result = row.call();
        const DWORD error = HLX_GetLastError();
        if (SucceedsWithZeroes(row.pName)) {
            EXPECT_EQ(result, 1) << row.pName;
        } else if (!std::strcmp(row.pName, "HLX_Logout")) {
            EXPECT_EQ(result, 0);  // an id below 1 fails without a number
            EXPECT_EQ(error, DWORD{HLX_SUCCESS});
        } else {
            EXPECT_NE(result, 1) << row.pName;
            EXPECT_TRUE(error == HLX_PARAMETER_ERROR || error == HLX_NOSUPPORT) << row.pName << " gave " << error;
        }
    }
}

TEST_F(BadInput, LoginArguments) {
    const std::string fits(35, 'u'), tooLong(36, 'u'), longAddress(64, '1');
    const struct {
        const char* pAddress;
        const char* pUser;
        const char* pPassword;
        LONG lConnectType;
        const char* pSerial;
        DWORD error;
    } rows[] = {
        {nullptr, "admin", "", HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", nullptr, "", HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", nullptr, HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", "", HLX_CONNECT_NAT, nullptr, HLX_PARAMETER_ERROR},
        {"127.0.0.1", tooLong.c_str(), "", HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", tooLong.c_str(), HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {longAddress.c_str(), "admin", "", HLX_CONNECT_TCP, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", "", HLX_CONNECT_END, "", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", "", -1, "", HLX_PARAMETER_ERROR},
        // Well-formed arguments get as far as the connect: nothing listens on port 0.
        {"127.0.0.1", fits.c_str(), fits.c_str(), HLX_CONNECT_TCP, "", HLX_NETWORK_FAIL_CONNECT},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(HLX_LoginEx(row.pAddress, 0, row.pUser, row.pPassword, nullptr, row.lConnectType, row.pSerial), -1);
        EXPECT_EQ(HLX_GetLastError(), row.error) << &row - rows;
    }
}

TEST_F(BadInput, UnknownUserAndHandle) {
    constexpr LONG UNKNOWN = 4711;
    HLX_CLIENTINFO client{0, HLX_MAIN_STREAM, nullptr, 0};
    HLX_DEVICEINFO device{};
    char text[64] = {};
    LONG count = 0;
    HLX_REC_FILE file{};
    const struct {
        const char* pName;
        LONG result;
        std::function<LONG()> call;
    } rows[] = {
        {"HLX_Logout", 0, [] { return HLX_Logout(UNKNOWN); }},
        {"HLX_StopLivePlay", 0, [] { return HLX_StopLivePlay(UNKNOWN); }},
        {"HLX_RefreshPlay", 0, [] { return HLX_RefreshPlay(UNKNOWN); }},
        {"HLX_PTZControl", 0, [] { return HLX_PTZControl(UNKNOWN, PTZ_CMD_LEFT, 4); }},
        {"HLX_PTZControl_Other", 0, [] { return HLX_PTZControl_Other(UNKNOWN, 0, PTZ_CMD_LEFT, 4); }},
        {"HLX_GetDeviceInfo", 0, [&] { return HLX_GetDeviceInfo(UNKNOWN, &device); }},
        {"HLX_GetDeviceTypeName", 0, [&] { return HLX_GetDeviceTypeName(UNKNOWN, text, sizeof(text)); }},
        {"HLX_GetDeviceTypeName of no room", 0, [&] { return HLX_GetDeviceTypeName(UNKNOWN, text, 0); }},
        {"HLX_GetDeviceFirmwareType", 3, [] { return HLX_GetDeviceFirmwareType(UNKNOWN); }},
        {"HLX_GetSha1Encrypt", -1,
         [&] {
             int length = 0;
             return HLX_GetSha1Encrypt(UNKNOWN, text, 1, text, 64, &length);
         }},
        {"HLX_SetDeviceManualAlarm", 0, [&] { return HLX_SetDeviceManualAlarm(UNKNOWN, &count, &count, &count, 1); }},
        {"HLX_LockFile of none", 0, [&] { return HLX_LockFile(UNKNOWN, &file, 0); }},
        {"HLX_GetAudioInfo of no room", 0, [&] { return HLX_GetAudioInfo(UNKNOWN, text, 17); }},
        {"HLX_LivePlay of no stream", -1,
         [&] {
             client.streamType = 4;
             return HLX_LivePlay(1, &client, nullptr, nullptr);
         }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.call(), row.result) << row.pName;
        EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_PARAMETER_ERROR}) << row.pName;
    }
}

}  // namespace
