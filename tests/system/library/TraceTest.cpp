// The record of a session, and what becomes of the session when it is played back whole, cut and maltreated.

#include "System.h"
#include "tests/soak/TracedSession.h"

namespace {

class Trace : public CSystemTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        m_record = RecordTraced({});
        ASSERT_EQ("", m_record.sError);
        ASSERT_EQ(2U, m_record.config.links.size()) << "a probe and the session";
        ASSERT_TRUE(Whole().AllDone());
        ASSERT_GE(Whole().pictures.size(), TRACED_ORDER::PICTURES);
    }

    const TRACED_OUTCOME& Whole() const { return m_record.outcome; }
    size_t BytesSent(size_t link) const {
        size_t bytes = 0;
        for (const REPLAY_STEP& step : m_record.config.links.at(link)) bytes += step.bytes.size();
        return bytes;
    }

    /// Each call as in the whole session, or, from one on, failed with a number of a link that is gone.
    void ExpectWholeOrTold(const TRACED_OUTCOME& cut) const {
        bool bGone = false;
        for (size_t at = 0; at < cut.calls.size(); ++at) {
            const TRACED_OUTCOME::CALL& call = cut.calls[at];
            EXPECT_FALSE(bGone && call.bDone) << "call " << at;
            bGone = !call.bDone;
            if (call.bDone) {
                EXPECT_EQ(Whole().calls[at].values, call.values) << "call " << at;
                continue;
            }
            const DWORD other = at == 0 ? HLX_NETWORK_FAIL_CONNECT : HLX_NETWORK_SEND_ERROR;
            EXPECT_TRUE(call.error == HLX_NETWORK_NOT_CONNECT || call.error == other)
                << "call " << at << ": " << call.error;
        }
        for (size_t at = 0; at < std::min(cut.pictures.size(), Whole().pictures.size()); ++at)
            EXPECT_EQ(Whole().pictures[at], cut.pictures[at]) << "picture " << at;
    }
    void ExpectCut(size_t at, SIM_CUT how) {
        SCOPED_TRACE(std::to_string(at) + (how == SIM_CUT::CLOSE ? " FIN" : " RST") + ", pieces of " +
                     std::to_string(m_record.config.pieceSize));
        m_record.config.cutLink = 2;
        m_record.config.cutAfter = at;
        m_record.config.cutHow = how;
        // What a reset overtakes is lost, and only that.
        const size_t sent = std::min(PicturesWithin(m_record.config.links[1], at), TRACED_ORDER::PICTURES);
        const TRACED_OUTCOME cut = RunReplayed(m_record.config, {.pictures = how == SIM_CUT::CLOSE ? sent : 0});
        ExpectWholeOrTold(cut);
        EXPECT_LE(cut.pictures.size(), PicturesWithin(m_record.config.links[1], at));
        const bool bPlayed = cut.calls.size() == Whole().calls.size();
        EXPECT_GE(cut.pictures.size(), how == SIM_CUT::CLOSE && bPlayed ? sent : 0);
    }

    TRACED_RECORD m_record;
};

TEST_F(Trace, TellsEverythingButSecrets) {
    EXPECT_EQ(std::string::npos, m_record.sText.find("736563726574")) << "the password";
    EXPECT_NE(std::string::npos, m_record.sText.find("61646d696e")) << "the user";
    EXPECT_NE(std::string::npos, m_record.sText.find(" open 127.0.0.1:"));
    EXPECT_EQ(0U, BytesSent(0));
    size_t expected = 0;
    for (const REPLAY_STEP& step : m_record.config.links[1]) expected += step.kind == REPLAY_STEP_KIND::EXPECT;
    EXPECT_EQ(10U, expected) << "login, disks, colour, PTZ, time, stream, its answer, colour, stop, logout";
}

/// A stream in packed messages included. HLX_TEST_ALL_SITES: at every byte, given whole, in single bytes and in random pieces.
TEST_F(Trace, CutAtEachByteGivesTheResultOrANumber) {
    constexpr size_t PIECES[] = {0, 1, 1400};
    const size_t bytes = BytesSent(1);
    ASSERT_GT(PicturesWithin(m_record.config.links[1], bytes), 3U);
    const bool bAll = std::getenv("HLX_TEST_ALL_SITES");
    const size_t step = bAll ? 1 : 2 + bytes / 80;
    size_t run = 0;
    for (size_t at = 0; at <= bytes; at += step) {
        for (const SIM_CUT how : {SIM_CUT::CLOSE, SIM_CUT::RESET}) {
            for (const size_t size : PIECES) {
                // Single bytes take as many turns of the peer as there are.
                if (bAll ? size == 1 && at % 16 != 0 : ++run % 5 != 0) continue;
                m_record.config.pieceSize = size;
                m_record.config.pieceSeed = size > 1 ? static_cast<unsigned>(at + 1) : 0;
                ExpectCut(at, how);
            }
        }
        if (HasFailure()) break;
    }
}

TEST_F(Trace, PiecesOfAnySizeGiveTheSame) {
    for (const auto& [size, seed] : {std::pair{0, 0}, {1, 0}, {2, 0}, {7, 1}, {700, 1}, {1399, 2}}) {
        SCOPED_TRACE(std::to_string(size) + ", seed " + std::to_string(seed));
        m_record.config.pieceSize = static_cast<size_t>(size);
        m_record.config.pieceSeed = static_cast<unsigned>(seed);
        const TRACED_OUTCOME again = RunReplayed(m_record.config, {});
        ExpectWholeOrTold(again);
        EXPECT_TRUE(again.AllDone());
        EXPECT_EQ(Whole().calls.size(), again.calls.size());
        EXPECT_GE(again.pictures.size(), TRACED_ORDER::PICTURES);
    }
}

TEST_F(Trace, MutatedSessionsAreBorne) {
    const CFastTime fast(1000);  // what is waited for need not come
    const int rounds = Rounds(8);
    for (int round = 1; round <= rounds; ++round) RunMutated(m_record.config, static_cast<unsigned>(round));
}

}  // namespace
