// Each operation that asks the recorder, against a recorder that answers wrongly, late, never, or leaves.
#include <span>

#include "System.h"

namespace {

/// How an operation talks to the recorder.
enum class TALK {
    ASKS,     // waits for a reply
    READS,    // waits for a reply and needs what is in it
    FILES,    // as READS, but has one number for all failures
    SENDS,    // waits for nothing
    LIVE,     // starts a stream, then asks whether it runs; no answer means that it does
    PICTURE,  // starts a stream and waits for a frame
    REBOOTS,  // as ASKS, and the link falls soon in any case
};

struct OPERATION {
    const char* pName;
    TALK talk;
    std::function<BOOL(LONG lUserID, POINTERHANDLE lLiveHandle)> call;
};

struct OPERATION_FAULT {
    const char* sFault;
    bool bLinkStays;
    DWORD asks, reads, live, picture;  // number that the operation gives; 0: it succeeds
    int rate = 1;                      // of the library's clock, for faults that are waited out
};

std::ostream& operator<<(std::ostream& out, const OPERATION_FAULT& row) { return out << row.sFault; }

constexpr LONG CHANNEL = 1;
const DD_CRUISE_POINT_INFO POINTS[] = {{0, 1, 2, 3}};
const DD_TIME FIRST{}, LAST{0, 0, 0, 0, 1, 0, 205, 0, 0};

POINTERHANDLE Play(LONG lUserID, LONG lStreamType, bool bEx) {
    HLX_CLIENTINFO info{};
    info.lChannel = CHANNEL + 1;
    info.streamType = lStreamType;
    return bEx ? HLX_LivePlayEx(lUserID, &info, nullptr, nullptr) : HLX_LivePlay(lUserID, &info, nullptr, nullptr);
}

BOOL GetColor(LONG lUserID) {
    DWORD value[4];
    return HLX_GetVideoEffect(lUserID, CHANNEL, &value[0], &value[1], &value[2], &value[3]);
}

HLX_REC_FILE s_file;  // one that the recorder has

const OPERATION OPERATIONS[] = {
    {"PTZControl", TALK::ASKS, [](LONG, auto live) { return HLX_PTZControl(live, PTZ_CMD_LEFT, 3); }},
    {"PTZPreset", TALK::ASKS, [](LONG, auto live) { return HLX_PTZPreset(live, PTZ_CMD_PRESET_SET, 3); }},
    {"PTZSetCruise", TALK::ASKS, [](LONG, auto live) { return HLX_PTZSetCruise(live, 3, POINTS, 1); }},
    {"PTZCruise", TALK::ASKS, [](LONG, auto live) { return HLX_PTZCruise(live, PTZ_CMD_CRUISE_STOP, 3); }},
    {"PTZTrack", TALK::ASKS, [](LONG, auto live) { return HLX_PTZTrack(live, PTZ_CMD_TRACK_START); }},
    {"PTZAutoScan", TALK::ASKS, [](LONG, auto live) { return HLX_PTZAutoScan(live, PTZ_CMD_AUTO_SCAN_STOP, 3, 1); }},
    {"GetVideoEffect", TALK::READS, [](LONG id, auto) { return GetColor(id); }},
    {"GetVideoEffect_Ex", TALK::READS,
     [](LONG id, auto) {
         HLX_IMAGE_EFFECT_T value[4];
         return HLX_GetVideoEffect_Ex(id, CHANNEL, &value[0], &value[1], &value[2], &value[3]);
     }},
    {"SetVideoEffect", TALK::SENDS, [](LONG id, auto) { return HLX_SetVideoEffect(id, CHANNEL, 1, 2, 3, 4); }},
    {"SaveVideoEffect", TALK::ASKS, [](LONG id, auto) { return HLX_SaveVideoEffect(id, CHANNEL, 1, 2, 3, 4); }},
    {"ChangTime", TALK::ASKS, [](LONG id, auto) { return HLX_ChangTime(id, 1'600'000'000); }},
    {"StartDVRRecord", TALK::SENDS, [](LONG id, auto) { return HLX_StartDVRRecord(id, CHANNEL, 1); }},
    {"Alarm on", TALK::SENDS,
     [](LONG id, auto) {
         LONG output = 0, value = 1, count = 1;
         return HLX_SetDeviceManualAlarm(id, &output, &value, &count, 1);
     }},
    {"MakeKeyFrame", TALK::SENDS, [](LONG id, auto) { return HLX_MakeKeyFrame(id, CHANNEL); }},
    {"GetDeviceIPCInfo", TALK::ASKS,
     [](LONG id, auto) {
         HLX_IPC_DEVICE_INFO cameras[4];
         LONG count = 0;
         return HLX_GetDeviceIPCInfo(id, cameras, 4, &count);
     }},
    {"LivePlay", TALK::LIVE, [](LONG id, auto) { return Play(id, HLX_MAIN_STREAM, false) > 0; }},
    {"LivePlayEx", TALK::LIVE, [](LONG id, auto) { return Play(id, HLX_SUB_STREAM, true) > 0; }},
    {"CaptureJPEGPicture", TALK::PICTURE,
     [](LONG id, auto) {
         static char picture[200000];
         DWORD size = 0;
         return HLX_CaptureJPEGPicture(id, CHANNEL, nullptr, picture, sizeof(picture), &size);
     }},
    {"FindRecDate", TALK::READS, [](LONG id, auto) { return HLX_FindRecDate(id) != -1; }},
    {"FindFile", TALK::FILES, [](LONG id, auto) { return HLX_FindFile(id, CHANNEL, &FIRST, &LAST) != -1; }},
    {"FindEvent", TALK::READS, [](LONG id, auto) { return HLX_FindEvent(id, CHANNEL, ~0u, &FIRST, &LAST) != -1; }},
    {"FindEventInfo", TALK::READS, [](LONG id, auto) { return HLX_FindEventInfo(id, ~0u, 1, &FIRST, &LAST) != -1; }},
    {"LockFile", TALK::READS,
     [](LONG id, auto) {
         HLX_REC_FILE file = s_file;
         return HLX_LockFile(id, &file, 1);
     }},
    {"PlayBackByTime", TALK::READS,
     [](LONG id, auto) { return HLX_PlayBackByTime(id, &CHANNEL, 1, &FIRST, &LAST, nullptr) > 0; }},
    {"GetFileByTime", TALK::READS,
     [](LONG id, auto) {
         return HLX_GetFileByTimeEx(
                    id, CHANNEL, &FIRST, &LAST, nullptr, 1, 1, [](auto...) {}, nullptr) > 0;
     }},
    {"FindTime", TALK::READS, [](LONG id, auto) { return HLX_FindTime(id, -1, &FIRST, &LAST) != -1; }},
    {"FindDVRLog", TALK::READS, [](LONG id, auto) { return HLX_FindDVRLog(id, ~0u, &FIRST, &LAST) != -1; }},
    {"RebootDVR", TALK::REBOOTS, [](LONG id, auto) { return HLX_RebootDVR(id); }},  // last
};

class OperationFaults : public CSystemTest, public testing::WithParamInterface<OPERATION_FAULT> {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        ASSERT_TRUE(HLX_SetReconnect(3000, false));
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.heartbeat = std::chrono::milliseconds(20);  // often enough for the fastest clock
        config.rebootDelay = std::chrono::milliseconds(50);
        config.rebootTime = std::chrono::milliseconds(1);
        config.recordings.days = 1;
        config.recordings.logCount = 100;  // one message, so that no other stands in for it
        config.recordings.eventCount = 100;
        m_pRecorder = &StartRecorder(config);
        const ARCHIVE_FILE& file = m_pRecorder->Archive().Files().front();
        s_file = {};
        s_file.dwChannel = file.channel;
        s_file.dwPartition = file.partition;
        s_file.dwFileIndex = file.fileIndex;
    }
    void TearDown() override {
        HLX_SetReconnect(3000, true);
        CSystemTest::TearDown();
    }
    static DWORD Expected(TALK talk) {
        const OPERATION_FAULT& row = GetParam();
        if (talk == TALK::REBOOTS)
            return row.bLinkStays && row.asks != HLX_SUCCESS ? DWORD{HLX_NETWORK_NOT_CONNECT} : row.asks;
        const DWORD files = row.reads == HLX_SUCCESS ? HLX_SUCCESS : HLX_FILE_NOFIND;
        const DWORD numbers[] = {row.asks, row.reads, files, HLX_SUCCESS, row.live, row.picture};
        return numbers[static_cast<size_t>(talk)];
    }
    void LogIn() {
        m_id = Login();
        ASSERT_GT(m_id, 0);
        HLX_CLIENTINFO info{};
        info.lChannel = CHANNEL;
        m_live = HLX_LivePlay(m_id, &info, nullptr, nullptr);
        ASSERT_GT(m_live, 0);
    }
    /// The number that the operation gave, 0 for success, and in `seconds` how long it took.
    DWORD Run(const OPERATION& operation, tint64& seconds) const {
        const CFastTime fast(GetParam().rate);
        const tint64 start = CFastTime::Clock().MonotonicMicroseconds();
        const BOOL bDone = operation.call(m_id, m_live);
        const DWORD error = HLX_GetLastError();
        seconds = (CFastTime::Clock().MonotonicMicroseconds() - start) / 1000000;
        return bDone ? DWORD{HLX_SUCCESS} : error;
    }

    CClassicRecorder* m_pRecorder = nullptr;
    LONG m_id = 0;
    POINTERHANDLE m_live = 0;
};

TEST_P(OperationFaults, GiveTheirNumberInTimeAndTheNextOneWorks) {
    for (const OPERATION& operation : OPERATIONS) {
        SCOPED_TRACE(operation.pName);
        LogIn();
        const size_t acted = m_events.Count(SIM_EVENT_KIND::FAULT);
        m_pRecorder->SetFaults({Fault(GetParam().sFault)});
        tint64 seconds = 0;
        const DWORD error = Run(operation, seconds);
        // On a slow machine the silent link may be found first.
        const bool bFoundDead = !GetParam().bLinkStays && error == HLX_NETWORK_NOT_CONNECT;
        EXPECT_TRUE(error == Expected(operation.talk) || bFoundDead) << error;
        EXPECT_LE(seconds, 300) << "a reply is waited for 10 s; a loaded machine adds to that at this rate";
        EXPECT_TRUE(GetParam().bLinkStays ||
                    m_events.WaitFor(SIM_EVENT_KIND::FAULT, acted + 1, std::chrono::seconds(5)));
        m_pRecorder->SetFaults({});
        EXPECT_TRUE(!GetParam().bLinkStays || operation.talk == TALK::REBOOTS || GetColor(m_id));
        EXPECT_TRUE(HLX_Logout(m_id));
    }
    EXPECT_TRUE(WaitUntil([&] { return (m_id = Login()) > 0; }));
    EXPECT_TRUE(GetColor(m_id) || HLX_GetLastError() == HLX_NETWORK_NOT_CONNECT);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, OperationFaults,
    testing::Values(OPERATION_FAULT{"wrong-reply=99*1", true, HLX_NETWORK_RECV_TIMEOUT, HLX_NETWORK_RECV_TIMEOUT, 0, 0,
                                    150},
                    OPERATION_FAULT{"short-reply=3*1", true, 0, HLX_NETWORK_ERRORDATA, 0, 0},
                    OPERATION_FAULT{"reply-delay=20*1", true, 0, 0, 0, 0},
                    OPERATION_FAULT{"silent*1", false, HLX_NETWORK_RECV_TIMEOUT, HLX_NETWORK_RECV_TIMEOUT, 0,
                                    HLX_NETWORK_RECV_TIMEOUT, 150},
                    OPERATION_FAULT{"close*1", false, HLX_NETWORK_NOT_CONNECT, HLX_NETWORK_NOT_CONNECT,
                                    HLX_NETWORK_NOT_CONNECT, HLX_NETWORK_NOT_CONNECT},
                    OPERATION_FAULT{"reset*1", false, HLX_NETWORK_NOT_CONNECT, HLX_NETWORK_NOT_CONNECT,
                                    HLX_NETWORK_NOT_CONNECT, HLX_NETWORK_NOT_CONNECT}));

}  // namespace
