// The record of a session, and what becomes of the session when it is played back whole, cut and maltreated.
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "simulator/replay/ReplayServer.h"
#include "System.h"

namespace {

/// What the application was told by one run of the scenario.
struct OUTCOME {
    struct CALL {
        bool bDone = false;
        DWORD error = 0;
        std::vector<DWORD> values;
    };
    std::vector<CALL> calls;
    std::vector<std::uint64_t> frames;  // digests
};

class Trace : public CSystemTest {
protected:
    static constexpr size_t FRAMES = 4;

    /// Login, requests of each kind, and with `bLive` a stream. Ends at the first login that fails.
    static OUTCOME Run(std::uint16_t port, bool bLive) {
        OUTCOME outcome;
        const auto note = [&](bool bDone, std::vector<DWORD> values = {}) {
            outcome.calls.push_back(
                {bDone, bDone ? 0 : HLX_GetLastError(), bDone ? std::move(values) : std::vector<DWORD>{}});
            return bDone;
        };
        HLX_DEVICEINFO info{};
        const LONG id = HLX_Login("127.0.0.1", port, "admin", "secret", &info);
        if (!note(id > 0, {info.videoInputNum, info.sensorInputNum, info.buildDate})) return outcome;
        DWORD effect[4] = {};
        const bool bEffect = HLX_GetVideoEffect(id, 1, &effect[0], &effect[1], &effect[2], &effect[3]);
        note(bEffect, {effect, effect + 4});
        note(HLX_PTZControl_Other(id, 1, PTZ_CMD_UP, 0));
        note(HLX_ChangTime(id, 1700000000));
        if (bLive) PlayLive(id, outcome, note);
        HLX_Logout(id);
        return outcome;
    }
    template <class Note>
    static void PlayLive(LONG id, OUTCOME& outcome, const Note& note) {
        CReceiver receiver;
        if (!note(receiver.Play(id, 0) > 0)) return;
        WaitUntil([&] { return receiver.Count(DD_FRAME_TYPE_VIDEO) >= FRAMES; }, std::chrono::milliseconds(300));
        for (const RECEIVED_FRAME& frame : receiver.Frames())
            if (frame.info.frameType == DD_FRAME_TYPE_VIDEO) outcome.frames.push_back(frame.digest);
    }

    /// Records the scenario against a simulated recorder.
    OUTCOME Record(bool bLive) {
        HLX_Cleanup();
        const std::string sFile = m_dir.File("trace");
        setenv("HLX_TRACE", sFile.c_str(), 1);
        EXPECT_TRUE(HLX_Init());
        const OUTCOME outcome = Run(StartRecorder(Fast(2)).Port(), bLive);
        HLX_Cleanup();
        unsetenv("HLX_TRACE");
        EXPECT_TRUE(HLX_Init());
        std::ifstream file(sFile);
        std::stringstream text;
        text << file.rdbuf();
        m_sText = text.str();
        std::string sError;
        auto links = ReadTrace(text, sError);
        EXPECT_TRUE(links) << sError;
        if (links) m_config.links = std::move(*links);
        m_config.speed = 0;
        return outcome;
    }
    OUTCOME Replay(const REPLAY_CONFIG& config, bool bLive) {
        CReplayServer server(config);
        std::string sError;
        EXPECT_TRUE(server.Start(sError)) << sError;
        return Run(server.Port(), bLive);
    }
    size_t BytesSent(size_t link) const {
        size_t bytes = 0;
        for (const REPLAY_STEP& step : m_config.links.at(link)) bytes += step.bytes.size();
        return bytes;
    }

    /// Each call as in `whole`, or failed with a number of a link that is gone.
    static void ExpectWholeOrTold(const OUTCOME& whole, const OUTCOME& cut) {
        for (size_t at = 0; at < cut.calls.size(); ++at) {
            const OUTCOME::CALL& call = cut.calls[at];
            if (call.bDone) {
                EXPECT_EQ(whole.calls[at].values, call.values) << "call " << at;
                continue;
            }
            const DWORD other = at == 0 ? HLX_NETWORK_FAIL_CONNECT : HLX_NETWORK_SEND_ERROR;
            EXPECT_TRUE(call.error == HLX_NETWORK_NOT_CONNECT || call.error == other)
                << "call " << at << ": " << call.error;
        }
        ASSERT_LE(cut.frames.size(), whole.frames.size() + 1000);
        for (size_t at = 0; at < std::min(cut.frames.size(), whole.frames.size()); ++at)
            EXPECT_EQ(whole.frames[at], cut.frames[at]) << "frame " << at;
    }

    CTempDir m_dir;
    std::string m_sText;
    REPLAY_CONFIG m_config;
};

TEST_F(Trace, TellsEverythingButSecrets) {
    const OUTCOME told = Record(true);
    for (const OUTCOME::CALL& call : told.calls) EXPECT_TRUE(call.bDone) << call.error;
    EXPECT_EQ(std::string::npos, m_sText.find("736563726574")) << "the password";
    EXPECT_NE(std::string::npos, m_sText.find("61646d696e")) << "the user";
    EXPECT_NE(std::string::npos, m_sText.find(" open 127.0.0.1:"));
    ASSERT_EQ(2U, m_config.links.size()) << "a probe and the session";
    EXPECT_EQ(0U, BytesSent(0));
    size_t expected = 0;
    for (const REPLAY_STEP& step : m_config.links[1]) expected += step.kind == REPLAY_STEP_KIND::EXPECT;
    EXPECT_EQ(9U, expected) << "login, disks, colour, PTZ, time, stream, its answer, stop, logout";

    const OUTCOME again = Replay(m_config, true);
    EXPECT_EQ(told.calls.size(), again.calls.size());
    ExpectWholeOrTold(told, again);
    for (const OUTCOME::CALL& call : again.calls) EXPECT_TRUE(call.bDone) << call.error;
    EXPECT_GE(again.frames.size(), FRAMES);
}

TEST_F(Trace, CutAtEachByteGivesTheResultOrANumber) {
    const OUTCOME whole = Record(false);
    const size_t bytes = BytesSent(1);
    ASSERT_GT(bytes, 500U);
    m_config.cutLink = 2;
    const size_t step = std::getenv("HLX_TEST_ALL_SITES") ? 1 : 17;
    for (const SIM_CUT how : {SIM_CUT::CLOSE, SIM_CUT::RESET}) {
        m_config.cutHow = how;
        for (m_config.cutAfter = 0; m_config.cutAfter < bytes; m_config.cutAfter += step) {
            SCOPED_TRACE(std::to_string(m_config.cutAfter) + (how == SIM_CUT::CLOSE ? " FIN" : " RST"));
            ExpectWholeOrTold(whole, Replay(m_config, false));
        }
    }
}

TEST_F(Trace, PiecesOfAnySizeGiveTheSame) {
    const OUTCOME whole = Record(true);
    for (const size_t size : {1, 2, 7, 1399}) {
        SCOPED_TRACE(size);
        m_config.pieceSize = size;
        const OUTCOME again = Replay(m_config, size > 2);
        ExpectWholeOrTold(whole, again);
        for (const OUTCOME::CALL& call : again.calls) EXPECT_TRUE(call.bDone) << call.error;
    }
}

TEST_F(Trace, MutatedSessionsAreBorne) {
    Record(true);
    const CFastTime fast(1000);  // what is waited for need not come
    const int rounds = Rounds(8);
    for (int round = 1; round <= rounds; ++round) {
        m_config.mutationSeed = static_cast<unsigned>(round);
        m_config.mutationRate = 20U << round % 8;
        Replay(m_config, round % 2 == 0);
    }
    m_config.mutationSeed = 0;
}

}  // namespace
