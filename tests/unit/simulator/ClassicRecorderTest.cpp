// A recorder's life: starting, stopping, odd clients, pace.
#include <cmath>

#include "RecorderFixture.h"

namespace {

class ClassicRecorder : public RecorderTest {};

TEST_F(ClassicRecorder, GarbageEndsTheLinkAlone) {
    const std::uint16_t port = StartRecorder();
    CWireClient good(port);
    ASSERT_TRUE(good.Login());
    const BYTES inputs[] = {{'2', '1', '1', '1', 0, 0, 0, 0},
                            {'1', '1', '1', '1', 0xFF, 0xFF, 0xFF, 0xFF},
                            {'1', '1', '1', '1', 0xFF, 0xFF, 0xFF, 0x7F},
                            {'1', '1', '1', '1', 4, 0, 0, 0, 1, 1, 0, 0},
                            {'1', '1', '1', '1', 16, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 120, 0, 0, 0}};
    size_t bad = 0;
    for (const BYTES& input : inputs) {
        CWireClient client(port);
        client.Read(64);
        client.Write(input);
        EXPECT_TRUE(client.ReadsEnd() && m_log.WaitFor(SIM_EVENT_KIND::BAD_DATA, ++bad, PATIENCE));
    }
    good.Command(2049);
    EXPECT_TRUE(good.Next(0x80001));
}

TEST_F(ClassicRecorder, SlowReaderStopsTheStreamsAndNotTheRecorder) {
    m_config.speed = 0;
    m_config.queueLimit = 100000;
    const std::uint16_t port = StartRecorder();
    CWireClient lazy(port);
    lazy.Login();
    lazy.StartStreams(~0ull, 0, 0);
    std::uint64_t before = 0;
    EXPECT_TRUE(WaitUntil([&] {
        const std::uint64_t now = m_pRecorder->FramesSent();
        const bool bStill = now > 0 && now == before;
        before = now;
        CWireClient other(port);  // takes longer than a frame
        EXPECT_TRUE(other.Login());
        return bStill;
    }));
    for (std::uint64_t n = 0; n < before + 1000; ++n) ASSERT_TRUE(lazy.Next());
    EXPECT_GT(m_pRecorder->FramesSent(), before);
}

TEST_F(ClassicRecorder, WrongConfigIsRefusedWithASentence) {
    const std::function<void(CLASSIC_RECORDER_CONFIG&)> mistakes[] = {
        [](auto& config) { config.channels = 0; },
        [](auto& config) { config.channels = 65; },
        [](auto& config) { config.soundUnits = 26; },
        [](auto& config) { config.packLimit = 10; },
        [](auto& config) { config.firstClips.clear(); },
        [](auto& config) { config.firstClips = {"none-1x1-25.h264"}; },
        [](auto& config) { config.firstClips = {"speech-8000.alaw"}; },
        [](auto& config) { config.sSoundClip = "sub-352x288-25.h264"; },
        [](auto& config) { config.sBind = "somewhere"; },
        [](auto& config) { config.sBind = "192.0.2.1"; },  // nobody's address
    };
    for (size_t n = 0; n < std::size(mistakes); ++n) {
        CLASSIC_RECORDER_CONFIG config = m_config;
        mistakes[n](config);
        CClassicRecorder recorder(config);
        std::string sError;
        EXPECT_FALSE(recorder.Start(sError)) << n;
        EXPECT_FALSE(sError.empty()) << n;
        EXPECT_EQ(recorder.Port(), 0) << n;
    }
}

}  // namespace
