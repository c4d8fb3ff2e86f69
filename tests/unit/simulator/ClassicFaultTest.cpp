// Every fault does on the wire what its name says.
#include <algorithm>

#include "RecorderFixture.h"

namespace {

struct PARSE_CASE {
    const char* pText;
    SIM_FAULT_KIND kind;
    SIM_PHASE phase;
    std::int64_t value;
    unsigned times;
};

TEST(FaultText, IsRead) {
    const PARSE_CASE cases[] = {
        {"refuse", SIM_FAULT_KIND::REFUSE, SIM_PHASE::ANY, 4, 0},
        {"refuse=2*3", SIM_FAULT_KIND::REFUSE, SIM_PHASE::ANY, 2, 3},
        {"close@login", SIM_FAULT_KIND::CLOSE, SIM_PHASE::LOGIN, 0, 0},
        {"reply-delay@disk=0x10", SIM_FAULT_KIND::REPLY_DELAY, SIM_PHASE::DISK, 16, 0},
        {"silent-after=-1", SIM_FAULT_KIND::SILENT_AFTER, SIM_PHASE::ANY, -1, 0},
    };
    for (const PARSE_CASE& row : cases) {
        std::string sError;
        const auto fault = ParseFault(row.pText, sError);
        ASSERT_TRUE(fault) << row.pText << sError;
        EXPECT_EQ(fault->kind, row.kind) << row.pText;
        EXPECT_EQ(fault->phase, row.phase) << row.pText;
        EXPECT_EQ(fault->value, row.value) << row.pText;
        EXPECT_EQ(fault->times, row.times) << row.pText;
    }
    for (const char* pWrong :
         {"", "refuses", "refuse=", "refuse=x", "refuse=2x", "close@", "close@never", "close*-1"}) {
        std::string sError;
        EXPECT_FALSE(ParseFault(pWrong, sError)) << pWrong;
        EXPECT_FALSE(sError.empty()) << pWrong;
    }
}

class ClassicFault : public RecorderTest {
protected:
    std::uint16_t StartWith(std::initializer_list<const char*> faults) {
        for (const char* pFault : faults) {
            std::string sError;
            m_config.faults.push_back(ParseFault(pFault, sError).value());
        }
        m_config.heartbeat = std::chrono::milliseconds(50);
        return StartRecorder();
    }
};

struct HEAD_CASE {
    const char* pFault;
    size_t offset;
    std::uint32_t word;
};

TEST_F(ClassicFault, FirstBlockCarriesTheWrongWord) {
    const HEAD_CASE cases[] = {{"head-flag=77", 0, 77}, {"head-family=5", 4, 5}, {"head-version", 12, 4000000001}};
    for (const HEAD_CASE& row : cases) {
        m_config.faults.clear();
        CWireClient client(StartWith({row.pFault}));
        EXPECT_EQ(Word(client.Read(64), row.offset), row.word) << row.pFault;
    }
}

TEST_F(ClassicFault, FirstBlockComesShortOrLate) {
    {
        CWireClient client(StartWith({"head-short=63"}));
        EXPECT_EQ(client.Read(63).size(), 63u);
        m_pRecorder->CutLinks(SIM_CUT::CLOSE);
        EXPECT_TRUE(client.ReadsEnd());  // and nothing in between
    }
    m_config.faults.clear();
    const auto start = std::chrono::steady_clock::now();
    CWireClient client(StartWith({"head-late=200"}));
    EXPECT_TRUE(client.Login());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

struct CUT_CASE {
    const char* pPhase;
    int requests;  // served before the one that is not
};

TEST_F(ClassicFault, LinkEndsOrFallsSilentInThePhase) {
    const CUT_CASE cases[] = {{"head", 0}, {"login", 0}, {"disk", 1}, {"stream", 2}, {"command", 3}};
    for (const CUT_CASE& row : cases) {
        for (const std::string sKind : {"close", "reset", "silent"}) {
            SCOPED_TRACE(sKind + "@" + row.pPhase);
            m_config.faults.clear();
            CWireClient client(StartWith({(sKind + "@" + row.pPhase).c_str()}));
            const size_t head = client.Read(64).size();
            // A reset may overtake the bytes before it.
            EXPECT_TRUE(head == 64 || (sKind == "reset" && row.pPhase == std::string("head"))) << head;
            const std::uint32_t replies[] = {0x10001, 0x80001, 0x50003, 0xFFFFFFFF};
            const std::uint32_t requests[] = {257, 2049, 1292, 9999};
            for (int n = 0; n <= row.requests; ++n) {
                client.Command(requests[n], n == 0 ? LoginBody("admin", "secret") : BYTES());
                if (n < row.requests) {
                    ASSERT_TRUE(client.Next(replies[n])) << n;
                }
            }
            if (sKind == "silent") {
                if (row.requests > 0 || row.pPhase == std::string("login")) {
                    ASSERT_TRUE(m_log.WaitFor(SIM_EVENT_KIND::FAULT, 1, PATIENCE));
                }
                m_pRecorder->CutLinks(SIM_CUT::CLOSE);
            }
            EXPECT_FALSE(client.Next([](const WIRE_MESSAGE& message) { return message.length != 0; }));
        }
    }
}

TEST_F(ClassicFault, ByteLimitIsExactAndSparesProbes) {
    const std::uint16_t port = StartWith({"close-after=1000*1"});
    { CWireClient probe(port); }
    CWireClient client(port);
    client.Login();
    client.StartStreams(1, 0, 1);
    EXPECT_EQ(64 + 8 + 364 + client.Read(10000).size(), 1000u);
    CWireClient another(port);
    EXPECT_TRUE(another.Login());
    another.StartStreams(1, 0, 1);
    EXPECT_EQ(another.Read(10000).size(), 10000u);  // used up
}

TEST_F(ClassicFault, RepliesAreSpoiled) {
    CWireClient client(StartWith({"wrong-reply@disk=4242*1", "short-reply@stream=2*1", "reply-delay@command=100*1",
                                  "refuse=77*1", "no-resource*1"}));
    EXPECT_EQ(Word(client.Login()->payload, 16), 77u);
    client.Command(257, LoginBody("admin", "secret"));
    EXPECT_TRUE(client.Next(0x10001));
    client.Command(2049);
    EXPECT_TRUE(client.Next(4242));
    client.Command(1292);
    EXPECT_EQ(client.Next(0x50003)->payload.size(), 18u);
    client.Command(1292);
    EXPECT_EQ(Word(client.Next(0x50003)->payload, 16), 0u);  // no-resource went with the cut reply
    const auto start = std::chrono::steady_clock::now();
    client.Command(9999);
    EXPECT_TRUE(client.Next(0xFFFFFFFF));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    m_pRecorder->SetFaults({{SIM_FAULT_KIND::NO_RESOURCE, SIM_PHASE::ANY, 1002, 0}});
    client.Command(1292);
    EXPECT_EQ(Word(client.Next(0x50003)->payload, 16), 1002u);
}

TEST_F(ClassicFault, FrameLiesAndGarbageComesBetween) {
    m_config.packLimit = 100000;
    CWireClient client(StartWith({"frame-length=3*1", "garbage=5*1", "link-length=8"}));
    client.Login();
    client.StartStreams(3, 0, 3);
    for (int n = 1; n <= 5; ++n) {
        const auto frame = client.Next(0xA000001);
        ASSERT_TRUE(frame);
        EXPECT_EQ(Word(frame->payload, 24), frame->payload.size() - 76 + (n == 3 ? 1000000 : 0)) << n;
    }
    EXPECT_NE(Word(client.Read(8), 0), 0x31313131u);
    for (int n = 6; n <= 8; ++n) ASSERT_TRUE(client.Next(0xA000001)) << n;
    const BYTES head = client.Read(8);
    EXPECT_EQ(Word(head, 0), 0x31313131u);
    EXPECT_GT(Word(head, 4), 0x70000000u);
}

TEST_F(ClassicFault, PiecesAreSpoiled) {
    struct PIECE_CASE {
        const char* pFault;
        std::vector<std::uint32_t> indexes;  // of the first packed message
        std::uint32_t extra;                 // in the last piece's totals
    };
    // The first key frame in pieces of 3500 bytes.
    const PIECE_CASE cases[] = {{"piece-lost=9", {1, 2, 3, 4}, 0},
                                {"piece-lost=1", {1, 3, 4}, 0},
                                {"piece-swapped=1", {1, 2, 4, 3}, 0},
                                {"piece-totals=1", {1, 2, 3, 4}, 1}};
    for (const PIECE_CASE& row : cases) {
        m_config.faults.clear();
        m_config.packLimit = 3500;
        CWireClient client(StartWith({row.pFault}));
        client.Login();
        client.StartStreams(1, 0, 0);
        std::vector<std::uint32_t> indexes;
        std::uint32_t total = 0;
        while (indexes.size() < row.indexes.size()) {
            const auto piece = client.Next([](const WIRE_MESSAGE& message) { return message.length < 0; });
            ASSERT_TRUE(piece);
            indexes.push_back(Word(piece->payload, 12));
            total = Word(piece->payload, 4);
        }
        EXPECT_EQ(indexes, row.indexes) << row.pFault;
        EXPECT_EQ(total, 4 + row.extra) << row.pFault;
    }
}

}  // namespace
