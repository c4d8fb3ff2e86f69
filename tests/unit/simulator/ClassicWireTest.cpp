// What a classic recorder puts on the wire, by hand-written offsets.
#include "RecorderFixture.h"

namespace {

class ClassicWire : public RecorderTest {};

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

}  // namespace
