// Control commands: what is sent, and what each reply means.

#include "support/HeardLog.h"
#include "support/MovedTime.h"
#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr tuint32 SHUTDOWN = 0x205, REBOOT = 0x206, MANUAL_REC = 0x207, CHANGE_TIME = 0x208, OPEN_ALARM = 0x213,
                  CLEAN_ALARM = 0x214, COLOR_GET = 0x301, COLOR_SET = 0x302, COLOR_SAVE = 0x304, PTZ_CTRL = 0x702,
                  ENTER_IPCAM = 0xE01, LEAVE_IPCAM = 0xE02, LOG_GET = 0xE04;
constexpr tuint32 CFG_SUCC = 0x40001, CFG_FAIL = 0x40004, NO_AUTH = 0xFFFFFFFE;

class ControlTest : public testing::Test {
protected:
    ControlTest() {
        Bytes login = LoginSuccess();
        login[52 + 3] = 4;  // alarm outputs
        login.replace(52 + 24, 4, "\x0A\x14\x1E\xFF");
        m_recorder.m_answers[0x101] = Message(0x10001, login);
        EXPECT_TRUE(m_recorder.LoggedIn());
    }
    /// Id and body of the only request sent.
    Bytes Sent() {
        EXPECT_EQ(m_recorder.m_sent.size(), 1u);
        return m_recorder.m_sent.empty() ? Bytes() : m_recorder.m_sent[0];
    }

    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    LONG m_outputs[2] = {3, 1}, m_values[2] = {7, 9}, m_outputNum = 2;
    DD_CRUISE_POINT_INFO m_points[2] = {{0, 5, 6, 7}, {1, 8, 9, 10}};
};

TEST_F(ControlTest, RequestsAndReplies) {
    const struct {
        std::function<BOOL()> operation;
        tuint32 request;
        Bytes body;
        tuint32 yes, no;  // 0: none
        DWORD error;      // of no
    } rows[] = {
        {[&] { return m_device.RebootDVR(); }, REBOOT, {}, NO_AUTH, 0, 0},
        {[&] { return m_device.ShutDownDVR(); }, SHUTDOWN, {}, NO_AUTH, 0, 0},
        {[&] { return m_device.ChangTime(0x65432100); }, CHANGE_TIME, Word(0x65432100), 0x20004, 0x20005, 32},
        {[&] { return m_device.SetVideoColor(2, 1, 2, 3, 255); }, COLOR_SET, Word(2) + "\x01\x02\x03\xFF", 0, 0, 0},
        {[&] { return m_device.SetVideoColor_Ex(2, 1, 2, 3, 4); }, COLOR_SET, Word(2) + "\x01\x02\x03\x04", 0, 0, 0},
        {[&] { return m_device.SaveVideoColor(63, 1, 2, 3, 4); }, COLOR_SAVE, Word(63) + "\x01\x02\x03\x04", CFG_SUCC,
         CFG_FAIL, 32},
        {[&] { return m_device.StartDVRRecord(5, 2); }, MANUAL_REC, Word(5) + Word(1) + Word(2), 0, 0, 0},
        {[&] { return m_device.StopDVRRecord(5); }, MANUAL_REC, Word(5) + Word(0) + Word(0), 0, 0, 0},
        {[&] { return m_device.SetDeviceAlarm(m_outputs, m_values, &m_outputNum, true); }, OPEN_ALARM,
         Word(2) + Word(3) + Word(7) + Word(1) + Word(9), 0, 0, 0},
        {[&] { return m_device.SetDeviceAlarm(m_outputs, m_values, &m_outputNum, false); }, CLEAN_ALARM,
         Word(2) + Word(3) + Word(7) + Word(1) + Word(9), 0, 0, 0},
        {[&] { return m_device.PTZControl(3, PTZ_CMD_LEFT, 0xFFFFFFFF, 6, true, true); }, PTZ_CTRL,
         Word(3) + Word(6) + Word(1) + Word(0xFFFFFFFF), 0x70008, 0x70009, HLX_ERROR_SERIALPORT},
        {[&] { return m_device.PTZSetCruise(3, 12, m_points, 2, true); }, PTZ_CTRL,
         Word(3) + Word(0) + Word(18) + Word(12) + Word(2) + Word(0) + Word(5) + Word(6) + Word(7) + Word(1) + Word(8) +
             Word(9) + Word(10),
         0x70008, 0x70009, HLX_ERROR_SERIALPORT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        m_recorder.m_sent.clear();
        if (row.yes) m_recorder.m_answers[row.request] = Message(row.yes);
        EXPECT_TRUE(row.operation());
        EXPECT_EQ(Sent(), Message(row.request, row.body));
        if (row.yes) m_recorder.m_answers[row.request] = Message(row.yes, Bytes(100000, 'x'));
        EXPECT_TRUE(row.operation());
        if (row.no) {
            m_recorder.m_answers[row.request] = Message(row.no);
            EXPECT_TRUE(FailedWith(row.error, row.operation()));
        }
        m_recorder.m_bSendFails = true;
        EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, row.operation()));
        m_recorder.m_bSendFails = false;
    }
}

/// Each request that came to nothing leaves one line.
TEST_F(ControlTest, TheLogTellsWhyARequestCameToNothing) {
    CMovedTime clock;
    clock.SetRate(1000);
    const auto answer = [&](const Bytes& reply) {
        m_recorder.m_answers.clear();
        m_recorder.m_answers[static_cast<tuint32>(CMD_REQUEST_CHANGE_TIME)] = reply;
        m_recorder.m_answers[static_cast<tuint32>(CMD_REQUEST_DISK_START)] = reply;
    };
    DVR_DISK_INFO disk{};
    unsigned int uDisks = 0;
    CHeardLog heard;
    answer(Message(CMD_REPLY_CHANAGE_TIME_FAIL));
    EXPECT_FALSE(m_device.ChangTime(1));
    answer(Message(CMD_REPLY_DISK_INFO, Word(2) + Bytes(48, 0)));
    EXPECT_FALSE(m_device.SearchDiskInfo(&disk, 1, uDisks) || m_device.ChangTime(1));
    m_recorder.m_bSendFails = true;
    EXPECT_FALSE(m_device.StartDVRRecord(0, 1));
    m_recorder.m_bSendFails = false;
    m_recorder.m_onSend = [&](tuint32) { m_recorder.BreakLink(); };
    EXPECT_FALSE(m_device.RebootDVR());
    m_recorder.m_onSend = nullptr;
    for (const char* pLine :
         {"request 208: refused, number 32", "request 801: senseless reply, number 13",
          "request 208: no reply, number 12", "request 207: not sent, number 10", "request 206: no link, number 9"})
        EXPECT_EQ(heard.Count(std::string("user 7: ") + pLine), 1u) << pLine << "\n" << heard.Text();
}

TEST_F(ControlTest, ReplyThatCameJustBeforeTheLinkFellCounts) {
    const auto answerAndFall = [&](const Bytes& answer) {
        m_recorder.m_onSend = [this, answer](tuint32) {
            m_recorder.Receive(answer);
            m_recorder.BreakLink();
        };
    };
    answerAndFall(Message(NO_AUTH));
    EXPECT_TRUE(m_device.RebootDVR() && FailedWith(HLX_NETWORK_NOT_CONNECT, m_device.RebootDVR()));
    m_device.SetNetHandle(&m_recorder);
    m_recorder.m_answers.clear();
    answerAndFall(Message(0x10002, Word(2)));
    EXPECT_TRUE(FailedWith(HLX_PASSWORD_ERROR, m_recorder.Login()));
}

TEST_F(ControlTest, RefusedArgumentsSendNothing) {
    LONG none = 0, many = 256, unknown = 4, one = 1;
    DWORD value = 0;
    HLX_IPC_DEVICE_INFO camera;
    const struct {
        DWORD error;
        std::function<BOOL()> operation;
    } rows[] = {
        {HLX_CHANNEL_ERROR, [&] { return m_device.GetVideoColor(64, &value, &value, &value, &value); }},
        {HLX_CHANNEL_ERROR, [&] { return m_device.SetVideoColor(-1, 0, 0, 0, 0); }},
        {HLX_CHANNEL_ERROR, [&] { return m_device.StartDVRRecord(64, 0); }},
        {HLX_CHANNEL_ERROR, [&] { return m_device.PTZControl(64, 0, 0, 0, true, true); }},
        {HLX_CHANNEL_ERROR, [&] { return m_device.PTZSetCruise(-1, 0, m_points, 2, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.GetVideoColor(0, &value, &value, nullptr, &value); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.SaveVideoColor(0, 0, 0, 0, 256); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.PTZControl(0, 29, 0, 0, true, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.PTZSetCruise(0, 0, m_points, 256, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.SetDeviceAlarm(m_outputs, m_values, &none, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.SetDeviceAlarm(m_outputs, m_values, &many, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.SetDeviceAlarm(&unknown, m_values, &one, true); }},
        {HLX_PARAMETER_ERROR, [&] { return m_device.GetDeviceIPCInfo(&camera, -1, &one); }},
    };
    for (const auto& row : rows) EXPECT_TRUE(FailedWith(row.error, row.operation())) << &row - rows;
    EXPECT_TRUE(m_recorder.m_sent.empty());
}

TEST_F(ControlTest, ColourReplies) {
    m_recorder.m_answers[COLOR_GET] = Message(0x30001, Word(6) + "\x01\x80\xFE\x04");
    DWORD b = 0, c = 0, s = 0, h = 0;
    EXPECT_TRUE(m_device.GetVideoColor(6, &b, &c, &s, &h));
    EXPECT_EQ(Sent(), Message(COLOR_GET, Word(6)));
    EXPECT_TRUE(b == 1 && c == 0x80 && s == 0xFE && h == 4);
    EXPECT_TRUE(m_device.GetDefaultVideoColor(&b, &c, &s, &h) && b == 10 && c == 20 && s == 30 && h == 255);
    HLX_IMAGE_EFFECT_T e[4];
    ASSERT_TRUE(m_device.GetVideoColor_Ex(6, &e[0], &e[1], &e[2], &e[3]));
    EXPECT_TRUE(e[2].minValue == 0 && e[2].maxValue == 255 && e[2].curValue == 0xFE && e[2].defaultValue == 30);
    EXPECT_TRUE(e[3].curValue == 4 && e[3].defaultValue == 255);

    const Bytes body = Word(6) + Word(0);
    for (const Bytes& wrong : {body.substr(0, 7), Bytes(), Word(5) + Word(0)}) {
        m_recorder.m_answers[COLOR_GET] = Message(0x30001, wrong);
        EXPECT_TRUE(FailedWith(HLX_NETWORK_ERRORDATA, m_device.GetVideoColor(6, &b, &c, &s, &h)));
    }
}

TEST_F(ControlTest, PicturesReachTheirRingWhileAskedFor) {
    constexpr tuint32 START = 0x221, CHANGE = 0x222, STOP = 0x223;
    CTestRing pictures(LIVE_BUFFER_ID(CTestRecorder::USER_ID, 2, HLX_THIRD_STREAM));
    TEST_FRAME frame{.type = 18, .channel = 2, .attrib = 0x100, .data = "\xFF\xD8\xFF\xD9"};
    const auto count = [&] {
        m_recorder.Receive(frame);
        return pictures.Drain().size();
    };
    EXPECT_EQ(count(), 0u);
    EXPECT_TRUE(m_device.StartJpegStream(63) && m_device.StartJpegStream(2) && m_device.StartJpegStream(2));
    EXPECT_EQ(count(), 1u);
    frame.channel = 70;
    EXPECT_EQ(count(), 0u);
    EXPECT_TRUE(m_device.StopJpegStream(63) && m_device.StopJpegStream(2) && m_device.StopJpegStream(2));
    frame.channel = 2;
    EXPECT_EQ(count(), 0u);
    constexpr tuint64 TOP = tuint64{1} << 63;
    const Bytes expected[] = {Message(START, Word(0) + Mask(TOP)), Message(CHANGE, Word(0) + Mask(TOP | 4)),
                              Message(CHANGE, Word(0) + Mask(4)), Message(STOP, Word(0) + Mask(0))};
    EXPECT_EQ(m_recorder.m_sent, std::vector<Bytes>(std::begin(expected), std::end(expected)));

    EXPECT_TRUE(FailedWith(HLX_CHANNEL_ERROR, m_device.StartJpegStream(64)));
    m_recorder.m_bSendFails = true;
    EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, m_device.StartJpegStream(2)));
    EXPECT_EQ(count(), 0u);
}

TEST_F(ControlTest, ConnectedCameras) {
    Bytes camera(312, 'x');  // no text ends
    camera.replace(0, 8, Word(0x01020304) + Number(9, 2) + Number(1, 2));
    camera.replace(92, 2, Number(9008, 2));
    camera.replace(196, 4, Word(77));
    m_recorder.m_answers[ENTER_IPCAM] = Message(CFG_SUCC);
    m_recorder.m_answers[LOG_GET] = Message(0xE0002, Word(2) + camera + camera);
    HLX_IPC_DEVICE_INFO info[3] = {};
    LONG num = 0;
    ASSERT_TRUE(m_device.GetDeviceIPCInfo(info, 3, &num));
    EXPECT_EQ(num, 2);
    EXPECT_TRUE(info[1].deviceID == 0x01020304 && info[1].channel == 9 && info[1].nCtrlPort == 9008 &&
                info[1].manufacturerId == 77);
    EXPECT_EQ(Bytes(info[1].szChlname), Bytes(35, 'x'));
    ASSERT_EQ(m_recorder.m_sent.size(), 3u);
    EXPECT_EQ(m_recorder.m_sent[1] + m_recorder.m_sent[2], Message(LOG_GET) + Message(LEAVE_IPCAM));
    EXPECT_TRUE(m_device.GetDeviceIPCInfo(info, 1, &num) && num == 1);

    const struct {
        Bytes reply;
        DWORD error;
    } rows[] = {
        {Message(0xE0003), HLX_DVR_OPRATE_FAILED},
        {Message(0xE0002, Word(2) + camera + camera.substr(1)), HLX_NETWORK_ERRORDATA},
        {Message(0xE0002, Word(0xFFFFFFFF) + camera), HLX_NETWORK_ERRORDATA},
        {Message(0xE0002, "abc"), HLX_NETWORK_ERRORDATA},
    };
    for (const auto& row : rows) {
        m_recorder.m_answers[LOG_GET] = row.reply;
        m_recorder.m_sent.clear();
        EXPECT_TRUE(FailedWith(row.error, m_device.GetDeviceIPCInfo(info, 3, &num))) << &row - rows;
        EXPECT_EQ(m_recorder.m_sent.back(), Message(LEAVE_IPCAM));
    }
    m_recorder.m_answers[ENTER_IPCAM] = Message(CFG_FAIL);
    m_recorder.m_sent.clear();
    EXPECT_TRUE(FailedWith(HLX_OPER_BY_OTHER, m_device.GetDeviceIPCInfo(info, 3, &num)));
    EXPECT_EQ(Sent(), Message(ENTER_IPCAM));
}

}  // namespace
