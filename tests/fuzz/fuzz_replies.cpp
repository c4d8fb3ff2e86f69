// Any bytes as replies of a classic recorder to everything that a session asks of it.
// Input: bytes that each choose an operation. Each request of it takes an ANSWER and its messages: a byte that chooses the id,
// two bytes of length and that many bytes of body. Replies about recordings get the request's number ahead of it, unless the
// first byte has its highest bit set.
#include "NoWaiting.h"
#include "sdk_common/WireReader.h"
#include "unit/classic/TestRecorder.h"

namespace {

constexpr int MAX_OPERATIONS = 16;  // of one input: long inputs find nothing that short ones do not

enum ANSWER : tuint8 { MESSAGES = 3, BREAK_LINK = 4, SEND_FAILS = 8 };  // MESSAGES: bits that count them

constexpr tuint32 REPLY_IDS[] = {
    CMD_REPLY_LONGIN_SUCC,
    CMD_REPLY_LONGIN_FAIL,
    CMD_REPLY_CHANAGE_TIME_SUCC,
    CMD_REPLY_CHANAGE_TIME_FAIL,
    CMD_REPLY_CHNN_CTRL_COLOR,
    CMD_REPLY_CFG_SUCC,
    CMD_REPLY_CFG_FAIL,
    CMD_REPLY_LAST_STREAM_ERROR,
    CMD_REPLY_DISK_INFO,
    CMD_REPLY_DISK_FAIL,
    CMD_REPLY_PTZ_SEND_CMD_SUC,
    CMD_REPLY_PTZ_SEND_CMD_FAIL,
    CMD_REPLY_NO_AUTH,
    CMD_REPLY_VIDEO_LOSS,
    CMD_REPLY_MOTION,
    CMD_REPLY_SENSOR,
    CMD_REPLY_REC_STATUS,
    CMD_REPLY_NET_DEVICE_LOG_GET_SUCC,
    CMD_REPLY_DATA_STREAM,
    CMD_REPLY_NET_DEVICE_LOG_GET_FAIL,
    CMD_REPLY_DATA_INFO,  // from here on about recordings
    CMD_REPLY_DATA_NULL,
    CMD_REPLY_LOG_INFO,
    CMD_REPLY_EVENT_INFO,
    CMD_REPLY_SYS_STATUS_FAIL,
};
constexpr size_t FIRST_NUMBERED = 20;

void Require(bool bHolds) {
    if (!bHolds) __builtin_trap();
}

template <size_t SIZE>
bool Ends(const char (&text)[SIZE]) {
    return strnlen(text, SIZE) < SIZE;
}

class CSession {
public:
    CSession(const uint8_t* pData, size_t size) : m_script(pData, size) {
        m_recorder.m_answers.clear();
        m_recorder.m_onSend = [this](tuint32) { Answer(); };
    }

    void Run() {
        Begin();
        for (int i = 0; i < MAX_OPERATIONS && m_script.Left(); ++i) {
            if (m_device.GetDeviceStatus() == NET_DEVICE_STATUS_DISCONNECT) Begin();
            Operate(m_script.Read<tuint8>());
        }
        m_device.Logout();
    }

private:
    /// A new link. Its login is answered by the script, or the recorder lets the session in.
    void Begin() {
        m_device.SetNetHandle(&m_recorder);
        const bool bScripted = m_script.Read<tuint8>() & 1;
        m_recorder.m_bSendFails = false;
        m_bScripted = bScripted;
        if (!bScripted) m_recorder.m_answers[CMD_REQUEST_LOGIN] = Message(CMD_REPLY_LONGIN_SUCC, LoginSuccess(16));
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        const bool bIn = m_recorder.Login();
        m_recorder.m_answers.clear();
        m_bScripted = true;
        Require(bIn || LastError() != HLX_SUCCESS);
        Require(Ends(m_recorder.m_info.deviceName) && Ends(m_recorder.m_info.firmwareVersion));
    }

    /// What the recorder does with a request.
    void Answer() {
        const Bytes body = m_recorder.m_sent.back().substr(sizeof(PACKCMD));
        m_recorder.m_sent.clear();
        if (!m_bScripted) return;
        if (!m_script.Left()) return m_recorder.BreakLink();
        const auto answer = m_script.Read<tuint8>();
        m_recorder.m_bSendFails = answer & SEND_FAILS;
        for (int i = answer & MESSAGES; i > 0; --i) {
            const auto choice = m_script.Read<tuint8>();
            const size_t place = choice % std::size(REPLY_IDS);
            const auto reply = m_script.Bytes(std::min<size_t>(m_script.Read<tuint16>(), m_script.Left()));
            const Bytes number = place >= FIRST_NUMBERED && choice < 128 ? body.substr(0, 4) : Bytes();
            m_recorder.Receive(
                Message(REPLY_IDS[place], number + Bytes(reinterpret_cast<const char*>(reply.data()), reply.size())));
        }
        if (answer & BREAK_LINK) m_recorder.BreakLink();
    }

    void Operate(tuint8 operation) {
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        Require(m_operations[operation & 15](operation >> 4) || LastError() != HLX_SUCCESS);
    }

    // Places of just the size that is told, so that a write behind them is seen.
    bool AskDisks(unsigned uMaxNum) {
        std::vector<DVR_DISK_INFO> disks(uMaxNum + 1);
        unsigned uDiskNum = 77;
        const bool bDone = m_device.SearchDiskInfo(disks.data() + 1, uMaxNum, uDiskNum);
        Require(uDiskNum <= uMaxNum);
        return bDone;
    }

    bool AskCameras(LONG lMaxNum) {
        std::vector<HLX_IPC_DEVICE_INFO> cameras(static_cast<size_t>(lMaxNum) + 1);
        LONG lNum = 0;
        const bool bDone = m_device.GetDeviceIPCInfo(cameras.data() + 1, lMaxNum, &lNum);
        Require(lNum >= 0 && lNum <= lMaxNum);
        for (const auto& camera : cameras)
            Require(Ends(camera.username) && Ends(camera.szChlname) && Ends(camera.szID));
        return bDone;
    }

    bool AskColor(LONG lChannel) {
        DWORD values[4] = {};
        HLX_IMAGE_EFFECT_T effects[4] = {};
        const bool bDone = m_device.GetVideoColor_Ex(lChannel, &effects[0], &effects[1], &effects[2], &effects[3]);
        return m_device.GetVideoColor(lChannel, &values[0], &values[1], &values[2], &values[3]) || bDone;
    }

    bool AskRecordings(LONG lKind) {
        std::list<DD_DATE> dates;
        std::list<HLX_REC_FILE> files;
        std::list<HLX_REC_TIME> times;
        std::list<HLX_REC_EVENT> recorded;
        std::list<HLX_LOG> logs;
        std::list<HLX_EVENT> events;
        HLX_REC_FILE file{};
        const std::function<bool()> searches[] = {
            [&] { return m_device.ShutDownDVR(); },
            [&] { return m_device.SearchRecDate(dates); },
            [&] { return m_device.SearchRecFile(-1, 1, m_now, m_now, files); },
            [&] { return m_device.SearchRecTime(-1, 1, m_now, m_now, times); },
            [&] { return m_device.SearchRecEvent(-1, 1, m_now, m_now, recorded); },
            [&] { return m_device.SearchDVRLog(1, m_now, m_now, logs); },
            [&] { return m_device.SearchDVREvent(1, 1, m_now, m_now, events); },
            [&] { return m_device.DeleteRecFile(&file, 1); },
        };
        const bool bDone = searches[lKind % 8]();
        Require(bDone || (dates.empty() && files.empty() && times.empty() && logs.empty() && events.empty()));
        for (const HLX_LOG& log : logs) Require(Ends(log.sNetUser) && Ends(log.sContent));
        return bDone;
    }

    bool AskStatus(LONG lMaxNum) {
        std::vector<HLX_ALARMINFO> alarms(static_cast<size_t>(lMaxNum));
        std::vector<HLX_RECORD_STATUS_EX> records(static_cast<size_t>(lMaxNum));
        char name[8];
        Require(m_device.GetDeviceTypeName(name, 8) < 8 && Ends(name));
        const LONG lAlarms = m_device.GetAlarmInfo(alarms.data(), lMaxNum);
        const LONG lRecords = m_device.GetRecordStatusEx(records.data(), lMaxNum);
        Require(lAlarms <= lMaxNum && lRecords <= lMaxNum);
        return lAlarms >= 0 && lRecords >= 0;
    }

    CWireReader m_script;
    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    bool m_bScripted = true;
    DD_CRUISE_POINT_INFO m_points[3] = {};
    DD_TIME m_now{};
    const std::function<bool(LONG)> m_operations[16] = {
        [this](LONG) { return m_device.RebootDVR(); },
        [this](LONG lMaxNum) { return AskDisks(static_cast<unsigned>(lMaxNum)); },
        [this](LONG lKind) { return AskRecordings(lKind); },
        [this](LONG lMaxNum) { return AskCameras(lMaxNum); },
        [this](LONG) { return m_device.ChangTime(1'700'000'000); },
        [this](LONG lChannel) { return AskColor(lChannel); },
        [this](LONG lChannel) { return m_device.PTZControl(lChannel, 1, 2, 3, 0, 0); },
        [this](LONG lMaxNum) { return AskStatus(lMaxNum); },
        [this](LONG lChannel) { return m_device.PTZSetCruise(lChannel, 1, m_points, 3, 0); },
        [this](LONG) { return m_device.HasStreamCapability(); },
        [this](LONG lChannel) { return m_device.SaveVideoColor(lChannel, 1, 2, 3, 4); },
        [this](LONG lChannel) { return m_device.StartLiveChannel(lChannel, lChannel & 1, 1, 0); },
        [this](LONG lChannel) { return m_device.StartJpegStream(lChannel); },
        [this](LONG lChannel) { return m_device.StopLiveChannel(lChannel, lChannel & 1, 0); },
        [this](LONG lChannel) { return m_device.RequestKeyFrame(lChannel, 1, 0); },
        [this](LONG) { return m_device.GetDvrCurrentTime("", &m_now); },
    };
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    static CNoWaiting clock;
    CSession(pData, size).Run();
    return 0;
}
