// Arguments that no application should give: the documented failure, never a crash.
#include "System.h"

namespace {

class BadInput : public CSystemTest {};

constexpr LONG WRONG_IDS[] = {0, -1, 99, 2097145, 1LL << 33, 0x7FFFFFFFFFFFFFFF};

TEST_F(BadInput, UnknownUserIds) {
    char text[256] = {};
    LONG number = 0;
    DWORD dword = 0;
    HLX_DEVICEINFO info{};
    for (const LONG id : WRONG_IDS) {
        EXPECT_FALSE(HLX_Logout(id) || HLX_GetDeviceInfo(id, &info));
        EXPECT_EQ(DWORD{HLX_PARAMETER_ERROR}, HLX_GetLastError());
        EXPECT_FALSE(HLX_MakeKeyFrame(id, 0) || HLX_GetDeviceTypeName(id, text, sizeof(text)));
        EXPECT_EQ(0U, HLX_SupportStreamNum(id, 0));
        EXPECT_FALSE(HLX_RebootDVR(id) || HLX_PTZControl_Other(id, 0, 0, 0));
        EXPECT_EQ(-1, HLX_GetSha1Encrypt(id, text, 4, text, sizeof(text), nullptr));
        EXPECT_FALSE(HLX_CaptureJPEGPicture(id, 0, nullptr, text, sizeof(text), &dword));
        EXPECT_FALSE(HLX_GetDeviceIPCInfo(id, nullptr, 0, &number));
        EXPECT_TRUE(HLX_GetRtspUrl(id, 0, 0, text));
    }
}

TEST_F(BadInput, NullPointersAndLongTexts) {
    CClassicRecorder& recorder = StartRecorder(Fast(1));
    const unsigned short port = recorder.Port();
    const std::string tooLong(5000, 'a');
    const std::string just35(35, 'p');
    const std::string just36(36, 'p');
    HLX_DEVICEINFO info{};
    struct {
        const char *sHost, *sUser, *sPassword;
        HLX_ERROR error;
    } const logins[] = {
        {nullptr, "admin", "secret", HLX_PARAMETER_ERROR},
        {"127.0.0.1", nullptr, "secret", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", nullptr, HLX_PARAMETER_ERROR},
        {tooLong.c_str(), "admin", "secret", HLX_PARAMETER_ERROR},
        {"127.0.0.1", tooLong.c_str(), "secret", HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", tooLong.c_str(), HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", just36.c_str(), HLX_PARAMETER_ERROR},
        {"127.0.0.1", "admin", just35.c_str(), HLX_PASSWORD_ERROR},
        {"", "admin", "secret", HLX_NETWORK_FAIL_CONNECT},
    };
    for (const auto& row : logins) {
        EXPECT_EQ(-1, HLX_Login(row.sHost, port, row.sUser, row.sPassword, &info));
        EXPECT_EQ(row.error, static_cast<HLX_ERROR>(HLX_GetLastError()));
    }
    EXPECT_EQ(-1, HLX_LoginEx("127.0.0.1", port, "admin", "secret", &info, HLX_CONNECT_NAT, nullptr));
    EXPECT_EQ(-1, HLX_LoginEx("127.0.0.1", port, "admin", "secret", &info, HLX_CONNECT_END, nullptr));
    EXPECT_EQ(DWORD{HLX_PARAMETER_ERROR}, HLX_GetLastError());

    const LONG id = HLX_Login("127.0.0.1", port, "admin", "secret", nullptr);
    ASSERT_GT(id, 0);
    EXPECT_FALSE(HLX_GetDeviceInfo(id, nullptr) || HLX_GetRtspUrl(id, 0, 0, nullptr));
    EXPECT_EQ(-1, HLX_LivePlay(id, nullptr, nullptr, nullptr));
    EXPECT_EQ(DWORD{HLX_PARAMETER_ERROR}, HLX_GetLastError());
    EXPECT_FALSE(HLX_GetDeviceTypeName(id, nullptr, 10));
    EXPECT_EQ(nullptr, HLX_GetErrorMsg(nullptr));
    EXPECT_EQ(-1, HLX_GetProductSubID(nullptr, port));
    HLX_CLIENTINFO client{};
    const POINTERHANDLE handle = HLX_LivePlay(id, &client, nullptr, nullptr);
    EXPECT_GT(handle, 0) << "a stream without a callback is allowed";
}

}  // namespace
