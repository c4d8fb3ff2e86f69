// What of an exported call arrives at the device: the operation, the order of its arguments, the fixed ones among them.
#include <fstream>
#include <functional>
#include <iterator>

#include "ApiTestSupport.h"
#include "main_utility/device/NetDeviceMan.h"
#include "RecordingDevice.h"
#include "support/TestSupport.h"
#include "unit/device/ScriptedPeer.h"

namespace {

class Forward : public testing::Test {
protected:
    void SetUp() override {
        CNetDeviceMan::Instance()->SetDeviceMaker(CRecordingDevice::Make);
        ASSERT_TRUE(HLX_Init());
        m_user = HLX_Login("127.0.0.1", m_peer.Port(), "admin", "", nullptr);
        ASSERT_GE(m_user, 1);
        CRecordingDevice::TakeNotes();
    }
    void TearDown() override {
        HLX_Cleanup();
        CNetDeviceMan::Instance()->SetDeviceMaker(MakeDevice);
    }

    POINTERHANDLE Play(LONG lChannel, LONG streamType) {
        const HLX_CLIENTINFO client{lChannel, streamType, nullptr, 0};
        return HLX_LivePlay(m_user, &client, nullptr, nullptr);
    }

    struct ROW {
        std::string notes;
        std::function<LONG()> call;
        LONG result = 1;
    };
    static void Expect(const std::vector<ROW>& rows) {
        for (const ROW& row : rows) {
            EXPECT_EQ(row.call(), row.result) << row.notes;
            EXPECT_EQ(CRecordingDevice::TakeNotes(), row.notes);
        }
    }

    CScriptedPeer m_peer{[this](int sock) {
        SendAll(sock, FirstBlock(0, 4));
        m_peer.AwaitClose(sock);
    }};
    LONG m_user = -1;
    char m_out[64] = {};
    DWORD m_returned = 0;
    LONG m_count = 0;
};

TEST_F(Forward, Ptz) {
    const LONG u = m_user;
    const POINTERHANDLE live = Play(2, HLX_MAIN_STREAM);
    CRecordingDevice::TakeNotes();
    const PTZ_3D_POINT_INFO point{-5, 6, -7, 0};
    const DD_CRUISE_POINT_INFO points[] = {{0, 11, 1, 5}, {1, 12, 1, 5}};
    HLX_CAMERA_TYPE type = HLX_NOT_SUPPORT_PTZ;
    HLX_CHANNEL_PTZ list{};
    int num = 0;
    Expect({
        {"PTZ 2 1 4294967295 5 1", [&] { return HLX_PTZControl(live, PTZ_CMD_LEFT, 5); }},
        {"PTZ 2 16 9 0 1", [&] { return HLX_PTZPreset(live, PTZ_CMD_PRESET_GO, 9); }},
        {"PTZ 2 19 7 0 1", [&] { return HLX_PTZCruise(live, PTZ_CMD_CRUISE_RUN, 7); }},
        {"PTZ 2 22 0 0 1", [&] { return HLX_PTZTrack(live, PTZ_CMD_TRACK_START); }},
        {"PTZ 2 27 0 3 0", [&] { return HLX_PTZAutoScan(live, PTZ_CMD_AUTO_SCAN_START, 3, false); }},
        {"3D 2 -5 6 -7", [&] { return HLX_PTZControl_3D(live, &point); }},
        {"SetCruise 2 7 12 2", [&] { return HLX_PTZSetCruise(live, 7, points, 2); }},
        {"PTZ 3 1 4294967295 5 1", [&] { return HLX_PTZControl_Other(u, 3, PTZ_CMD_LEFT, 5); }},
        {"PTZ 3 16 9 0 1", [&] { return HLX_PTZPreset_Other(u, 3, PTZ_CMD_PRESET_GO, 9); }},
        {"PTZ 3 19 7 0 1", [&] { return HLX_PTZCruise_Other(u, 3, PTZ_CMD_CRUISE_RUN, 7); }},
        {"PTZ 3 22 0 0 1", [&] { return HLX_PTZTrack_Other(u, 3, PTZ_CMD_TRACK_START); }},
        {"PTZ 3 27 0 3 1", [&] { return HLX_PTZAutoScan_Other(u, 3, PTZ_CMD_AUTO_SCAN_START, 3, true); }},
        {"3D 3 -5 6 -7", [&] { return HLX_PTZControl_3D_Ex(u, 3, &point); }},
        {"SetCruise 3 7 11 1", [&] { return HLX_PTZSetCruise_Other(u, 3, 7, points, 1); }},
        {"", [&] { return HLX_PTZSetCruise_Other(u, 3, 7, points, 0); }, 0},
        {"GetPTZConfig 3 8 4 64", [&] { return HLX_GetPTZConfig(u, 3, 8, m_out, 4, m_out, 64, &m_returned); }},
        {"GetPTZConfig 3 8 0 64", [&] { return HLX_GetPTZConfig(u, 3, 8, nullptr, 4, m_out, 64, &m_returned); }},
        {"CameraType", [&] { return HLX_GetPTZCameraType(u, &type) && type == HLX_SUPPORT_PTZ; }},
        {"PtzList 1", [&] { return HLX_GetSupportPtzList(u, 1, &list, &num); }},
    });
}

TEST_F(Forward, ColorsAndControl) {
    const LONG u = m_user;
    DWORD b = 0, c = 0, s = 0, h = 0;
    HLX_IMAGE_EFFECT_T be{}, ce{}, se{}, he{};
    LONG output = 5, value = 6, number = 1;
    const auto inOrder = [&] { return b == 1 && c == 2 && s == 3 && h == 4; };
    Expect({
        {"SetColor 2 10 20 30 40", [&] { return HLX_SetVideoEffect(u, 2, 10, 20, 30, 40); }},
        {"SetColor_Ex 2 10 20 30 40", [&] { return HLX_SetVideoEffect_Ex(u, 2, 10, 20, 30, 40); }},
        {"SaveColor 2 10 20 30 40", [&] { return HLX_SaveVideoEffect(u, 2, 10, 20, 30, 40); }},
        {"GetColor 2", [&] { return HLX_GetVideoEffect(u, 2, &b, &c, &s, &h) && inOrder(); }},
        {"GetColor_Ex 2",
         [&] {
             return HLX_GetVideoEffect_Ex(u, 2, &be, &ce, &se, &he) && be.curValue == 1 && ce.curValue == 2 &&
                    se.curValue == 3 && he.curValue == 4;
         }},
        {"GetDefaultColor", [&] { return b = c = 0, HLX_GetDefaultVideoEffect(u, &b, &c, &s, &h) && inOrder(); }},
        {"StartRecord 2 1", [&] { return HLX_StartDVRRecord(u, 2, 1); }},
        {"StopRecord 2", [&] { return HLX_StopDVRRecord(u, 2); }},
        {"Reboot", [&] { return HLX_RebootDVR(u); }},
        {"ChangTime 99", [&] { return HLX_ChangTime(u, 99); }},
        {"Alarm 5 6 1 1", [&] { return HLX_SetDeviceManualAlarm(u, &output, &value, &number, true); }},
    });
}

TEST_F(Forward, Pictures) {
    const LONG u = m_user;
    const CTempDir dir;
    const std::string file = dir.File("picture.jpg"), nowhere = dir.File("missing/picture.jpg");
    HLX_IMAGE_SREACH search{};
    search.dwChannel = 8;
    HLX_IMAGE image{};
    image.dwChannel = 9;
    HLX_IMAGE_INFO info{};
    Expect({
        {"CapturePicture 2 6 64", [&] { return HLX_CaptureJpeg(u, 2, 6, m_out, 64, &m_returned); }},
        {"CaptureJPEGData_V2 127.0.0.1 2 64", [&] { return HLX_CaptureJPEGData_V2(u, 2, m_out, 64, &m_returned); }},
        {"CaptureJPEGData_V2 127.0.0.1 2 2097152", [&] { return HLX_CaptureJPEGFile_V2(u, 2, file.c_str()); }},
        {"CaptureJPEGData_V2 127.0.0.1 2 2097152", [&] { return HLX_CaptureJPEGFile_V2(u, 2, nowhere.c_str()); }, 0},
        {"SearchPictures 8 1", [&] { return HLX_SearchPictures(u, search, 1, &image, &m_count); }},
        {"RemoteSnap 3", [&] { return HLX_RemoteSnap(u, 3); }},
        {"ViewPicture 127.0.0.1 9 64", [&] { return HLX_DownLoadPicture(u, image, &info, m_out, 64); }},
    });
    EXPECT_FALSE(HLX_CaptureJPEGFile_V2(u, 2, nowhere.c_str()));
    EXPECT_EQ(HLX_GetLastError(), DWORD{HLX_CREATEFILE_ERROR});
    std::ifstream written(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), CRecordingDevice::PICTURE);
}

TEST_F(Forward, FactsAndPassThrough) {
    const LONG u = m_user;
    HLX_IPC_DEVICE_INFO camera{};
    HLX_CH_DEVICE_STATUS status{};
    HLX_CH_DEVICE_SUPPORT channel{};
    HLX_DEV_SUPPORT support{};
    HLX_REC_FILE file{};
    file.dwFileIndex = 12;
    HLX_USB_BACKUP_PROCESS_EX process{};
    NET_DVR_SUBSCRIBE_REPLY reply{};
    char xml[] = "<x/>", url[] = "path", address[] = "there";
    int num = 0;
    Expect({
        {"SupportStreamNum 2", [&] { return HLX_SupportStreamNum(u, 2); }, 3},
        {"TypeName 64", [&] { return HLX_GetDeviceTypeName(u, m_out, 64); }, 7},
        {"IPCInfo 1", [&] { return HLX_GetDeviceIPCInfo(u, &camera, 1, &m_count); }},
        {"CHStatus 1", [&] { return HLX_GetDeviceCHStatus(u, &status, 1, &m_count); }},
        {"CHSupport 1", [&] { return HLX_GetDeviceCHSupportFunction(u, &channel, 1, &m_count); }},
        {"Support", [&] { return HLX_GetDeviceSupportFunction(u, &support); }},
        {"Vehicle", [&] { return HLX_GetVehicleConfig(u); }},
        {"Sha1 3 64", [&] { return HLX_GetSha1Encrypt(u, "abc", 3, m_out, 64, &num); }, 20},
        {"", [&] { return HLX_GetSha1Encrypt(u, "abc", -1, m_out, 64, &num); }, -1},
        {"", [&] { return HLX_GetDeviceFirmwareType(u); }, HLX_DEVICE_FIRMWARE_V3},
        {"SaveFileToUsb 12 1", [&] { return HLX_SaveFileToUsbByTime(u, &file, PRIVATE); }},
        {"UsbProcess 1", [&] { return HLX_GetSaveFileToUsbProcess(u, &process, 1, &m_returned); }},
        {"GetIVM 127.0.0.1 4 2 64", [&] { return HLX_GetIVMRuleConfig(u, 4, 2, m_out, 64, &m_returned); }},
        {"SetIVM 127.0.0.1 4 2 64", [&] { return HLX_SetIVMRuleConfig(u, 4, 2, m_out, 64); }},
        {"Subscrib 4 2", [&] { return HLX_SmartSubscrib(u, 4, 2, &reply); }},
        {"UnSubscrib 4 2 there", [&] { return HLX_UnSmartSubscrib(u, 4, 2, address, &num); }},
        {"Face 4 5 64", [&] { return HLX_FaceMatchOperate(u, 4, xml, 5, m_out, 64, &m_returned); }},
        {"Api <x/> path 64", [&] { return HLX_ApiInterface(u, xml, url, m_out, 64, &m_returned); }},
        {"Transparent <x/> path 64", [&] { return HLX_TransparentConfig(u, xml, url, m_out, 64, &m_returned); }},
    });
}

TEST_F(Forward, LiveFromPlayToLogout) {
    const LONG u = m_user;
    POINTERHANDLE live = 0;
    DD_TIME time{};
    Expect({
        {"StartLive 2 0 1", [&] { return (live = Play(2, HLX_SUB_STREAM)) > 0; }},
        {"KeyFrame 2 1 0", [&] { return HLX_MakeKeyFrame(u, 2); }},
        {"KeyFrame 2 0 1", [&] { return HLX_MakeKeyFrameSub(u, 2); }},
        {"KeyFrame 2 0 3", [&] { return HLX_MakeKeyFrameEx(u, 2, HLX_FOURTH_STREAM); }},
        {"Time 127.0.0.1", [&] { return HLX_GetDeviceTime(u, &time) && time.year == 124; }},
        {"", [&] { return HLX_RefreshPlay(live); }},
        {"StopLive 2 0 1\nStopLiveHandle 2 0", [&] { return HLX_StopLivePlay(live); }},
        {"StartLive 4 1 0", [&] { return (live = Play(4, HLX_MAIN_STREAM)) > 0; }},
        // Streams are torn down before the session goes.
        {"StopLive 4 1 0\nStopLiveHandle 4 1\nLogout", [&] { return HLX_Logout(u); }},
        {"", [&] { return HLX_RefreshPlay(live); }, 0},
    });
}

TEST_F(Forward, CleanupStopsStreams) {
    ASSERT_GT(Play(1, HLX_MAIN_STREAM), 0);
    CRecordingDevice::TakeNotes();
    EXPECT_TRUE(HLX_Cleanup());
    EXPECT_EQ(CRecordingDevice::TakeNotes().substr(0, 35), "StopLive 1 1 0\nStopLiveHandle 1 1");
}

}  // namespace
