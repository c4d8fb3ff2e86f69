// An application steers a recorder.

#include "simulator/SimBytes.h"
#include "System.h"

namespace {

class ControlTest : public CSystemTest {
protected:
    void LogIn(CLASSIC_RECORDER_CONFIG config = Fast(4)) {
        m_pRecorder = &StartRecorder(std::move(config));
        m_user = Login();
        ASSERT_GT(m_user, 0);
    }
    CClassicControl Control() const { return m_pRecorder->Control(); }

    CClassicRecorder* m_pRecorder = nullptr;
    LONG m_user = 0;
};

TEST_F(ControlTest, RecordingAlarmsCamerasAndClock) {
    LogIn(Fast(4, 1));
    EXPECT_TRUE(HLX_StartDVRRecord(m_user, 0, 1) && HLX_StartDVRRecord(m_user, 3, 1) && HLX_StopDVRRecord(m_user, 0));
    LONG outputs[] = {1, 2}, values[] = {5, 6}, num = 2, one = 1;
    EXPECT_TRUE(HLX_SetDeviceManualAlarm(m_user, outputs, values, &num, 1));
    EXPECT_TRUE(HLX_SetDeviceManualAlarm(m_user, outputs, values, &one, 0));
    HLX_IPC_DEVICE_INFO cameras[4]{};
    LONG count = 0;
    EXPECT_TRUE(HLX_GetDeviceIPCInfo(m_user, cameras, 4, &count));  // its reply comes behind what was only sent
    EXPECT_TRUE(count == 2 && std::string(cameras[1].szServer) == "192.0.2.2" && cameras[1].channel == 1);
    EXPECT_EQ(Control().manualRecord, 8u);
    EXPECT_EQ(Control().alarmOut, (std::map<tuint32, tuint32>{{2, 6}}));

    constexpr UINT NEW_TIME = 1'600'000'000;
    EXPECT_TRUE(HLX_ChangTime(m_user, NEW_TIME));
    CReceiver receiver;
    receiver.Play(m_user, 0);
    ASSERT_TRUE(receiver.WaitForFrames(1));
    const LONGLONG told = receiver.Frames().back().info.time / 1000000;
    EXPECT_TRUE(told >= NEW_TIME - 1 && told < NEW_TIME + 30) << told;
}

class CaptureTest : public ControlTest {
protected:
    void SetUp() override {
        ControlTest::SetUp();
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.bKeepDigests = true;
        LogIn(config);
    }
    DWORD Capture(LONG lChannel, DWORD dwSize = 100000) {
        m_picture.assign(dwSize, 'x');
        DWORD size = 0;
        if (!HLX_CaptureJPEGPicture(m_user, lChannel, nullptr, m_picture.data(), dwSize, &size)) return 0;
        m_picture.resize(size);
        return size;
    }
    bool WaitForCommand(tuint32 cmdType, std::uint64_t count) const {
        return WaitUntil([&] { return m_pRecorder->CommandCount(cmdType) == count; });
    }

    std::vector<char> m_picture;
};

TEST_F(CaptureTest, PictureIsOneThatWasSent) {
    CReceiver receiver;  // a channel may be watched meanwhile
    receiver.Play(m_user, 1);
    ASSERT_GT(Capture(1), 0u);
    const std::uint64_t digest = DigestBytes(std::as_bytes(std::span(m_picture)));
    const auto sent = m_pRecorder->TakeSentFrames();
    EXPECT_TRUE(std::ranges::any_of(sent, [&](const CLASSIC_SENT_FRAME& frame) {
        return frame.frameType == FRAME_TYPE_JPEG && frame.channel == 1 && frame.digest == digest;
    }));
    EXPECT_TRUE(WaitForCommand(CMD_REQUEST_JPEG_STOP, 1));
    EXPECT_TRUE(receiver.WaitForFrames(receiver.Count(DD_FRAME_TYPE_VIDEO) + 10));
    EXPECT_EQ(m_pRecorder->CommandCount(CMD_REQUEST_LOGIN), 1u);  // neither needed a session of its own

    const CTempDir folder;
    const std::string sFile = folder.File("picture.jpg");
    EXPECT_TRUE(HLX_CapturePicture_Other(m_user, 3, sFile.c_str()));
    EXPECT_GT(std::filesystem::file_size(sFile), 1000u);
}

TEST_F(CaptureTest, Refusals) {
    EXPECT_TRUE(Capture(0, 100) == 0 && HLX_GetLastError() == HLX_NOENOUGH_BUF);
    EXPECT_EQ(m_picture, std::vector<char>(100, 'x'));
    EXPECT_TRUE(Capture(4) == 0 && HLX_GetLastError() == HLX_CHANNEL_ERROR);
    EXPECT_TRUE(WaitForCommand(CMD_REQUEST_JPEG_STOP, 1));
}

TEST_F(CaptureTest, LogoutEndsTheWait) {
    m_pRecorder->SetFaults({{SIM_FAULT_KIND::SILENT, SIM_PHASE::STREAM, 0, 1}});
    DWORD error = 0;
    std::thread waiting([&] {
        if (Capture(0) == 0) error = HLX_GetLastError();
    });
    EXPECT_TRUE(WaitForCommand(CMD_REQUEST_JPEG_START, 1));
    EXPECT_TRUE(HLX_Logout(m_user));
    waiting.join();
    EXPECT_EQ(error, DWORD{HLX_NETWORK_NOT_CONNECT});
}

TEST_F(CaptureTest, ManyAtOnce) {
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&, i] {
            std::vector<char> picture(100000);
            DWORD size = 0;
            for (int turn = 0; turn < 5; ++turn)
                taken += HLX_CaptureJPEGPicture(m_user, i % 3, nullptr, picture.data(), 100000, &size) && size > 1000;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(taken, 30);
}

}  // namespace
