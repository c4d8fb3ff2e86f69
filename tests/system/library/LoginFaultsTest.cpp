// Each way in which a device can fail a login gives its number, in bounded time, and leaves nothing behind.
#include "System.h"

namespace {

struct LOGIN_FAULT {
    const char* sFault;
    HLX_ERROR error;
    int rate = 1;  // of the library's clock, for faults that are waited out
};

std::ostream& operator<<(std::ostream& out, const LOGIN_FAULT& row) { return out << row.sFault; }

class LoginFaults : public CSystemTest, public testing::WithParamInterface<LOGIN_FAULT> {};

TEST_P(LoginFaults, GiveTheirNumberAndLeaveNothing) {
    const LOGIN_FAULT& row = GetParam();
    CLASSIC_RECORDER_CONFIG config = Fast();
    config.faults = {Fault(row.sFault)};
    config.heartbeat = std::chrono::milliseconds(20);  // often enough for the fastest clock
    CClassicRecorder& recorder = StartRecorder(config);

    const int threads = ThreadCount(), descriptors = OpenDescriptorCount();
    {
        const CFastTime fast(row.rate);
        const tint64 start = CFastTime::Clock().MonotonicMicroseconds();
        EXPECT_EQ(-1, Login());
        EXPECT_EQ(row.error, static_cast<HLX_ERROR>(HLX_GetLastError()));
        EXPECT_LT(CFastTime::Clock().MonotonicMicroseconds() - start, 60 * 1000000)
            << "connect and first block 5 s, the reply 10 s";
    }
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= threads && OpenDescriptorCount() <= descriptors; }))
        << OpenDescriptorCount() << " descriptors, were " << descriptors;

    recorder.SetFaults({});
    const LONG id = Login();
    EXPECT_GT(id, 0) << "the next login works";
    EXPECT_TRUE(HLX_Logout(id));
}

INSTANTIATE_TEST_SUITE_P(
    Phases, LoginFaults,
    testing::Values(
        LOGIN_FAULT{"refuse=1", HLX_VERSION_NOMATCH}, LOGIN_FAULT{"refuse=2", HLX_PASSWORD_ERROR},
        LOGIN_FAULT{"refuse=3", HLX_OVER_MAXLINK}, LOGIN_FAULT{"refuse=4", HLX_LOGIN_REFUSED},
        LOGIN_FAULT{"refuse=99", HLX_LOGIN_REFUSED}, LOGIN_FAULT{"head-flag", HLX_NETWORK_FAIL_CONNECT},
        LOGIN_FAULT{"head-short=63", HLX_NETWORK_FAIL_CONNECT, 50},
        LOGIN_FAULT{"head-late=60000", HLX_NETWORK_FAIL_CONNECT, 50}, LOGIN_FAULT{"head-family=1", HLX_VERSION_NOMATCH},
        LOGIN_FAULT{"head-version=4000000001", HLX_VERSION_NOMATCH},
        LOGIN_FAULT{"close@connect", HLX_NETWORK_FAIL_CONNECT}, LOGIN_FAULT{"reset@connect", HLX_NETWORK_FAIL_CONNECT},
        LOGIN_FAULT{"silent@connect", HLX_NETWORK_FAIL_CONNECT, 50}, LOGIN_FAULT{"close@head", HLX_NETWORK_NOT_CONNECT},
        LOGIN_FAULT{"close@login", HLX_NETWORK_NOT_CONNECT}, LOGIN_FAULT{"reset@login", HLX_NETWORK_NOT_CONNECT},
        LOGIN_FAULT{"silent@login", HLX_NETWORK_RECV_TIMEOUT, 10},
        LOGIN_FAULT{"wrong-reply@login=131073", HLX_NETWORK_RECV_TIMEOUT, 25},
        LOGIN_FAULT{"short-reply@login=347", HLX_NETWORK_ERRORDATA},
        LOGIN_FAULT{"short-reply@login=0", HLX_NETWORK_ERRORDATA}, LOGIN_FAULT{"close@disk", HLX_NETWORK_NOT_CONNECT}));

TEST_F(CSystemTest, ALateFirstBlockAndASilentDiskCount) {
    CLASSIC_RECORDER_CONFIG config = Fast();
    config.faults = {{SIM_FAULT_KIND::HEAD_LATE, SIM_PHASE::ANY, 300, 1},
                     {SIM_FAULT_KIND::SILENT, SIM_PHASE::DISK, 0, 1}};
    StartRecorder(config);
    const CFastTime fast(20);
    const LONG id = Login();
    EXPECT_GT(id, 0) << "a recorder that does not tell its disks is logged in all the same";
}

TEST_F(CSystemTest, ThePublicFactsOfADevice) {
    CLASSIC_RECORDER_CONFIG config = Fast(9);
    config.sDeviceName = "Front gate";
    config.productSubID = -5;
    CClassicRecorder& recorder = StartRecorder(config);
    HLX_DEVICEINFO atLogin{}, later{};
    const LONG id = Login("secret", &atLogin);
    EXPECT_TRUE(HLX_GetDeviceInfo(id, &later));
    EXPECT_EQ(std::string("Front gate") + "Front gate", std::string(atLogin.deviceName) + later.deviceName);
    EXPECT_EQ(recorder.Port(), later.devicePort);
    EXPECT_EQ(HLX_DVR, static_cast<HLX_DEVICE_TYPE>(atLogin.deviceType));
    EXPECT_EQ(HLX_DEVICE_FIRMWARE_V3, HLX_GetDeviceFirmwareType(id));
    EXPECT_EQ(-5, HLX_GetProductSubID("127.0.0.1", recorder.Port()));
    EXPECT_TRUE(HLX_Logout(id));
}

}  // namespace
