// What a classic recorder puts on the wire, by hand-written offsets.
#include "RecorderFixture.h"

namespace {

constexpr std::uint32_t STREAM = 0xA000001;
constexpr std::int64_t YEAR_2020 = 1577836800000000;

class ClassicWire : public RecorderTest {};

TEST_F(ClassicWire, FirstBlockIs64BytesAtOnce) {
    m_config.productSubID = -7;
    m_config.registerID = 4711;
    CWireClient client(StartRecorder());
    const BYTES block = client.Read(64);
    ASSERT_EQ(block.size(), 64u);
    EXPECT_EQ(Text({block[0], block[1], block[2], block[3], 0}, 0), "head");
    EXPECT_EQ(Word(block, 4), 0u);
    EXPECT_EQ(Word(block, 12), 4u);
    EXPECT_EQ(Word(block, 16), 3u);
    EXPECT_EQ(Word(block, 20), 4711u);
    EXPECT_EQ(static_cast<std::int16_t>(Short(block, 62)), -7);
}

TEST_F(ClassicWire, LoginReplyTellsTheProduct) {
    m_config.channels = 9;
    m_config.sDeviceName = std::string(50, 'n');
    CWireClient client(StartRecorder());
    const auto reply = client.Login();
    ASSERT_TRUE(reply);
    const BYTES& bytes = reply->payload;
    ASSERT_EQ(bytes.size(), 16u + 348u);
    EXPECT_EQ(Word(bytes, 0), 0x10001u);
    EXPECT_EQ(Word(bytes, 8), 4u);
    EXPECT_EQ(Word(bytes, 12), 348u);
    for (const size_t right : {4, 12, 20, 28, 36, 44}) EXPECT_EQ(Long(bytes, 16 + right), 0x1FFu) << right;
    const size_t product = 16 + 52;
    EXPECT_EQ(bytes[product], 9);                                // localVideoInputNum
    EXPECT_EQ(Short(bytes, product + 28), 9);                    // videoInputNum
    EXPECT_NE(Word(bytes, product + 32), 0u);                    // videoFormat: PAL
    EXPECT_EQ(Text(bytes, product + 88), std::string(35, 'n'));  // deviceName, cut and terminated
    EXPECT_FALSE(Text(bytes, product + 124).empty());            // firmwareVersion
    EXPECT_FALSE(Text(bytes, product + 260).empty());            // MCUVersion
}

TEST_F(ClassicWire, StatusIsToldBehindTheLoginAndThenWhatChanged) {
    CWireClient client(StartRecorder());
    m_pRecorder->SetStatus({.motion = 5, .sensor = 6, .videoLoss = 7, .manualRec = 8, .sensorRec = 1ull << 63});
    client.Login();
    const auto isStatus = [](const WIRE_MESSAGE& message) { return message.Id() >> 24 == 9; };
    const std::uint64_t masks[] = {7, 5, 6, 8};  // from byte 20 on of video loss, motion, sensor, records
    for (std::uint32_t id = 1; id <= 4; ++id) {
        const auto message = client.Next(isStatus);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->Id(), 0x9000000 + id);
        ASSERT_EQ(message->payload.size(), 20u + (id == 4 ? 4 : 1) * 8);
        EXPECT_EQ(Word(message->payload, 12), message->payload.size() - 16);
        EXPECT_EQ(Long(message->payload, 20), masks[id - 1]);
        EXPECT_EQ(Long(message->payload, message->payload.size() - 8), id == 4 ? 1ull << 63 : masks[id - 1]);
    }
    m_pRecorder->SetStatus({.motion = 5, .sensor = 9, .videoLoss = 7, .manualRec = 8, .sensorRec = 1ull << 63});
    m_pRecorder->SetStatus({.motion = 3, .sensor = 9, .videoLoss = 7, .manualRec = 8, .sensorRec = 1ull << 63});
    const auto motion = client.Next(0x9000002);
    ASSERT_TRUE(motion);
    EXPECT_EQ(Long(motion->payload, 20), 3u);
}

TEST_F(ClassicWire, DiskReplyIsCountAndRecords) {
    m_config.diskCount = 3;
    CWireClient client(StartRecorder());
    client.Login();
    client.Command(2049);
    const auto reply = client.Next(0x80001);
    ASSERT_TRUE(reply);
    ASSERT_EQ(reply->payload.size(), 16u + 4 + 3 * 100);
    EXPECT_EQ(Word(reply->payload, 16), 3u);
    EXPECT_EQ(Text(reply->payload, 20 + 200 + 5), "disk3");
    EXPECT_GT(Word(reply->payload, 20 + 80), Word(reply->payload, 20 + 84));
}

TEST_F(ClassicWire, LoginIsRefusedWithTheWordForTheReason) {
    m_config.maxSessions = 1;
    CWireClient first(StartRecorder());
    // User, password, version, length of the body, word.
    const std::tuple<const char*, const char*, std::uint8_t, size_t, std::uint32_t> cases[] = {
        {"admin", "secret", 3, 120, 1}, {"admin", "Secret", 4, 120, 2},  {"admin", "", 4, 120, 2},
        {"root", "secret", 4, 120, 2},  {"admin", "secretx", 4, 120, 2}, {"admin", "secret", 4, 119, 4}};
    first.Read(64);
    for (const auto& [pUser, pPassword, version, bodyLength, word] : cases) {
        BYTES body = LoginBody(pUser, pPassword, version);
        body.resize(bodyLength);
        first.Command(257, body);
        const auto reply = first.Next();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->Id(), 0x10002u);
        EXPECT_EQ(Word(reply->payload, 16), word) << pUser << " " << pPassword;
    }
    first.Command(257, LoginBody("admin", "secret"));
    EXPECT_TRUE(first.Next(0x10001));

    CWireClient second(m_pRecorder->Port());
    auto reply = second.Login();
    ASSERT_TRUE(reply);
    EXPECT_EQ(Word(reply->payload, 16), 3u);
    first.Command(258);  // logout makes room
    ASSERT_TRUE(m_log.WaitFor(SIM_EVENT_KIND::LOGOUT, 1, PATIENCE));
    second.Command(257, LoginBody("admin", "secret"));
    EXPECT_TRUE(second.Next(0x10001));
}

TEST_F(ClassicWire, RequestsWithoutLoginOrMeaningAreAnswered) {
    CWireClient client(StartRecorder());
    client.Read(64);
    client.Command(2049);
    EXPECT_TRUE(client.Next(0xFFFFFFFE));
    client.Command(257, LoginBody("admin", "secret"));
    EXPECT_TRUE(client.Next(0x10001));
    client.Command(1027);
    const auto reply = client.Next(0xFFFFFFFF);
    ASSERT_TRUE(reply);
    EXPECT_EQ(Word(reply->payload, 12), 0u);
    EXPECT_EQ(m_pRecorder->CommandCount(2049), 1u);
    EXPECT_EQ(m_pRecorder->CommandCount(1027), 1u);
}

TEST_F(ClassicWire, StreamsBeginWithTheirFormats) {
    m_config.packLimit = 100000;
    CWireClient client(StartRecorder());
    client.Login();
    client.StartStreams(1 << 3, 1 << 5, 1 << 3);
    auto format = client.NextFrame(3, 3);
    ASSERT_TRUE(format);
    ASSERT_EQ(format->payload.size(), 76u + 40);
    EXPECT_EQ(Word(format->payload, 16 + 8), 40u);
    EXPECT_EQ(Word(format->payload, 16 + 36), 0x20u);
    EXPECT_EQ(Word(format->payload, 76), 40u);
    EXPECT_EQ(Word(format->payload, 80), 704u);
    EXPECT_EQ(Word(format->payload, 84), 576u);
    EXPECT_EQ(Short(format->payload, 88), 1);
    EXPECT_EQ(Short(format->payload, 90), 24);
    EXPECT_EQ(Text(format->payload, 92).substr(0, 4), "H264");

    auto video = client.NextFrame(1, 3);
    ASSERT_TRUE(video);
    const BYTES& info = video->payload;
    EXPECT_EQ(Word(info, 16), 1u);  // keyFrame
    EXPECT_EQ(Word(info, 16 + 8), info.size() - 76);
    EXPECT_EQ(Word(info, 16 + 12), 704u);
    EXPECT_EQ(Word(info, 16 + 16), 576u);
    EXPECT_EQ(Word(info, 16 + 36), 0x20u);
    EXPECT_EQ(Word(info, 16 + 40), 0u);  // streamID
    EXPECT_GT(static_cast<std::int64_t>(Long(info, 16 + 44)), YEAR_2020);
    EXPECT_EQ(Long(info, 16 + 44), Long(info, 16 + 52));
    EXPECT_EQ(Word(info, 76), 0x01000000u);  // start code

    auto following = client.NextFrame(1, 3);
    ASSERT_TRUE(following);
    EXPECT_EQ(Word(following->payload, 16), 0u);
    EXPECT_EQ(Word(following->payload, 16 + 32), Word(info, 16 + 32) + 1);
    EXPECT_EQ(Long(following->payload, 16 + 44), Long(info, 16 + 44) + 40000);

    auto second = client.NextFrame(1, 5);
    ASSERT_TRUE(second);
    EXPECT_EQ(Word(second->payload, 16 + 12), 352u);
    EXPECT_EQ(Word(second->payload, 16 + 36), 0x40u);
}

TEST_F(ClassicWire, SoundComesInUnitsOf324) {
    m_config.soundUnits = 2;
    CWireClient client(StartRecorder());
    client.Login();
    client.StartStreams(1, 0, 1);
    const auto format = client.NextFrame(4, 0);
    ASSERT_TRUE(format);
    ASSERT_EQ(format->payload.size(), 76u + 18);
    const std::uint32_t expected[] = {0x10006, 8000, 8000, 0x80144};  // tag and channels, rate, bytes, block and bits
    for (size_t n = 0; n < 4; ++n) EXPECT_EQ(Word(format->payload, 76 + 4 * n), expected[n]) << n;
    EXPECT_EQ(Short(format->payload, 92), 0);
    const auto sound = client.NextFrame(2, 0);
    ASSERT_TRUE(sound);
    ASSERT_EQ(sound->payload.size(), 76u + 648);
    EXPECT_EQ(Word(sound->payload, 76), 0x00500100u);
    EXPECT_EQ(Word(sound->payload, 76 + 324), 0x00500100u);
    client.StartStreams(0, 1, 1, 514);  // another picture, the same sound: its format is told again
    const auto again = client.NextFrame(4, 0);
    ASSERT_TRUE(again);
    EXPECT_EQ(Word(again->payload, 16 + 36), 0x40u);
}

TEST_F(ClassicWire, KeyFrameIsSentOnRequest) {
    CWireClient client(StartRecorder());
    client.Login();
    client.StartStreams(0, 1, 0);
    const auto nextIsKey = [&] {
        const auto video = client.NextFrame(1, 0);
        return video && Word(video->payload, 16) == 1;
    };
    EXPECT_TRUE(nextIsKey());
    EXPECT_FALSE(nextIsKey());
    client.StartStreams(1, 0, 0, 516);  // another stream's
    EXPECT_FALSE(nextIsKey());
    client.StartStreams(0, 1, 0, 516);
    // By itself it would be the 25th; a frame or two may be under way when the request arrives.
    EXPECT_TRUE(nextIsKey() || nextIsKey() || nextIsKey() || nextIsKey());
}

TEST_F(ClassicWire, StoppedStreamsAreStill) {
    m_config.heartbeat = std::chrono::milliseconds(20);
    CWireClient client(StartRecorder());
    client.Login();
    client.StartStreams(0xF, 0, 0xF);
    ASSERT_TRUE(client.Next(STREAM));
    client.StartStreams(0x3, 0, 0x3, 514);
    client.StartStreams(0, 0, 0, 515);
    client.Command(1292);
    ASSERT_TRUE(client.Next(0x50003));  // the last answer; what was under way lies before it
    for (int n = 0; n < 3; ++n) {
        const auto message = client.Next();
        ASSERT_TRUE(message);
        EXPECT_EQ(message->length, 0);  // heartbeats only
    }
    const auto events = m_log.Events();
    std::vector<std::uint64_t> masks;
    for (const SIM_EVENT& event : events) {
        if (event.kind == SIM_EVENT_KIND::STREAMS) masks.push_back(event.firstMask);
    }
    EXPECT_EQ(masks, (std::vector<std::uint64_t>{0xF, 0x3, 0}));
}

}  // namespace
