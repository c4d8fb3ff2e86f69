// Alarms and records out of status masks.

#include <ctime>

#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr LONG ROOM = 256;

class StatusTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_recorder.LoggedIn()); }

    void Tell(tuint64 loss, tuint64 motion, tuint64 sensor, const std::array<tuint64, 4>& records) {
        m_recorder.Receive(Message(0x9000001, Word(0) + Mask(loss)));
        m_recorder.Receive(Message(0x9000002, Word(0) + Mask(motion)));
        m_recorder.Receive(Message(0x9000003, Word(0) + Mask(sensor)));
        Bytes body = Word(0);
        for (const tuint64 mask : records) body += Mask(mask);
        m_recorder.Receive(Message(0x9000004, body));
    }
    void LogInAgain() {
        m_recorder.BreakLink();
        m_device.SetNetHandle(&m_recorder);
        ASSERT_TRUE(m_recorder.LoggedIn());
    }
    LONG Alarms(LONG lMaxNum = ROOM) { return m_device.GetAlarmInfo(m_alarms.data(), lMaxNum); }
    LONG Records(LONG lMaxNum = ROOM) { return m_device.GetRecordStatus(m_records.data(), lMaxNum); }

    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    std::array<HLX_ALARMINFO, ROOM> m_alarms{};
    std::array<HLX_ALARMINFO_EX, ROOM> m_alarmsEx{};
    std::array<HLX_RECORD_STATUS, ROOM> m_records{};
    std::array<HLX_RECORD_STATUS_EX, ROOM> m_recordsEx{};
};

constexpr tuint64 LAST = tuint64{1} << 63;

TEST_F(StatusTest, EachBitIsOneAlarmOfItsKind) {
    Tell(2, 1 | LAST, 8 | tuint64{1} << 32, {});
    const DWORD expected[][3] = {{0, 0, 0}, {0, 63, 0}, {1, 0, 3}, {1, 0, 32}, {2, 1, 0}};  // type, channel, sensor
    ASSERT_EQ(Alarms(), LONG{std::size(expected)});
    ASSERT_EQ(m_device.GetAlarmInfoEx(m_alarmsEx.data(), ROOM), LONG{std::size(expected)});
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_TRUE(std::ranges::equal(
            std::array{m_alarms[i].dwAlarmType, m_alarms[i].dwChannel, m_alarms[i].dwSensorIn}, expected[i]))
            << i;
        EXPECT_EQ(0, std::memcmp(&m_alarms[i], &m_alarmsEx[i], sizeof(HLX_ALARMINFO))) << i;
        tm time{};
        const char* pEnd = strptime(m_alarmsEx[i].alarmTime, "%Y-%m-%d %H:%M:%S", &time);
        EXPECT_TRUE(pEnd && *pEnd == 0 && time.tm_year > 100) << m_alarmsEx[i].alarmTime;
    }
}

TEST_F(StatusTest, EachBitIsOneRecordOfItsCause) {
    Tell(0, 0, 0, {1, 2 | LAST, 4, 8});
    const DWORD expected[][2] = {{1, 0}, {2, 1}, {2, 63}, {4, 2}, {8, 3}};  // DD_RECORD_TYPE_*, channel
    ASSERT_EQ(Records(), LONG{std::size(expected)});
    ASSERT_EQ(m_device.GetRecordStatusEx(m_recordsEx.data(), ROOM), LONG{std::size(expected)});
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_TRUE(std::ranges::equal(std::array{m_records[i].dwRecordType, m_records[i].dwChannel}, expected[i]))
            << i;
        EXPECT_EQ(0, std::memcmp(&m_records[i], &m_recordsEx[i], sizeof(HLX_RECORD_STATUS))) << i;
        EXPECT_EQ(m_recordsEx[i].dwRecordStatus, DWORD{DD_RECORD_STATUS_ON}) << i;
    }
}

TEST_F(StatusTest, MoreThanThereIsRoomForIsLeftOut) {
    Tell(~tuint64{0}, ~tuint64{0}, ~tuint64{0}, {~tuint64{0}, ~tuint64{0}, ~tuint64{0}, ~tuint64{0}});
    EXPECT_EQ(Alarms(), 3 * 64);
    EXPECT_EQ(Records(), 4 * 64);
    m_alarms.fill({});
    EXPECT_EQ(Alarms(65), 65);
    EXPECT_EQ(m_alarms[64].dwAlarmType, DWORD{HLX_ALARM_TYPE_SENSOR});
    EXPECT_EQ(m_alarms[65].dwAlarmType, 0u) << "what lies behind is not touched";
    EXPECT_EQ(Alarms(0), 0);
}

TEST_F(StatusTest, InputsThatTheRecorderDoesNotHaveAreLeftOut) {
    m_recorder.m_answers[0x101] = Message(0x10001, LoginSuccess(4, 2));
    LogInAgain();
    Tell(~tuint64{0}, ~tuint64{0}, ~tuint64{0}, {~tuint64{0}, 0, 0, ~tuint64{0}});
    for (const Bytes& cut : {Message(0x9000005, Bytes(36, 'x')), Message(0x9000004, Bytes(35, 0)),
                             Message(0x9000003, Bytes(11, 0)), Message(0x9000002, Bytes(11, 0)), Message(0x9000001)})
        m_recorder.Receive(cut);
    EXPECT_EQ(Alarms(), 4 + 2 + 4) << "short and other messages change nothing";
    EXPECT_EQ(Records(), 4 + 4);
    EXPECT_EQ(m_records[7].dwChannel, 3u);
}

TEST_F(StatusTest, StatusOfAnEarlierLinkIsOver) {
    Tell(1, 1, 1, {1, 1, 1, 1});
    LogInAgain();
    EXPECT_EQ(Alarms() + Records(), 0);
}

TEST_F(StatusTest, Refusals) {
    Tell(1, 0, 0, {1});
    EXPECT_TRUE(FailedWith(HLX_PARAMETER_ERROR, m_device.GetAlarmInfo(nullptr, ROOM) != -1));
    EXPECT_TRUE(FailedWith(HLX_PARAMETER_ERROR, Records(-1) != -1));
    m_recorder.BreakLink();
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, Alarms() != -1));
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, Records() != -1));
}

}  // namespace
