// What a recorder with recordings puts on the wire, by hand-written offsets.
#include "RecorderFixture.h"

namespace {

constexpr std::uint32_t SEARCH = 0x501, READ = 0x502, PAUSE = 0x503, RESUME = 0x504, FF = 0x505, REW = 0x506;
constexpr std::uint32_t STOP = 0x507, LOCK = 0x508, DELETE = 0x50A, INDEX = 0x50B, EVENTS = 0x601, LOGS = 0x602;
constexpr std::uint32_t DATA = 0x50001, NOTHING = 0x50002, FAILED = 0x60009, FRAME = 0xA000001;
constexpr std::uint32_t DISK = 0x801, DISK_REPLY = 0x80001;
constexpr std::uint32_t END = 1795255200;  // 2026-11-21 10:00 UTC
constexpr size_t DOWNLOAD = 100;

BYTES Words(std::initializer_list<std::uint64_t> words) {
    BYTES bytes;
    for (const std::uint64_t word : words) {
        for (int n = 0; n < 4; ++n) bytes.push_back(static_cast<std::uint8_t>(word >> (8 * n)));
    }
    return bytes;
}

BYTES ReadBody(std::uint32_t stream, std::uint32_t channel, std::uint32_t start, std::uint32_t stop) {
    return Words({77, stream, 0, 1, channel, 0, 0, 0, 0, 0, 0, 0, start, stop});
}

class RecordingsWire : public RecorderTest {
protected:
    RecordingsWire() {
        m_config.channels = 2;
        m_config.packLimit = 1u << 30;
        m_config.recordings.days = 2;
        m_config.recordings.end = END;
        m_config.recordings.logCount = m_config.recordings.eventCount = 2000;
    }

    /// The reply to a request.
    static BYTES Ask(CWireClient& client, std::uint32_t id, const BYTES& body) {
        client.Command(id, body);
        const auto reply = client.Next([](const WIRE_MESSAGE& message) {
            const std::uint32_t family = message.Id() >> 16;
            return family == 5 || family == 6;
        });
        return reply ? reply->payload : BYTES(24);
    }

    /// The frames that the recorder sends by itself now. An answer may go ahead of the frames that what was asked before
    /// it set free, but not the answer to what is asked behind that.
    static std::vector<BYTES> FramesUntilQuiet(CWireClient& client) {
        std::vector<BYTES> frames;
        for (int n = 0; n < 2; ++n) {
            client.Command(DISK);
            client.Next([&](const WIRE_MESSAGE& message) {
                if (message.Id() == FRAME) frames.push_back(message.payload);
                return message.Id() == DISK_REPLY;
            });
        }
        return frames;
    }

    static std::int64_t Time(const BYTES& frame) { return static_cast<std::int64_t>(Long(frame, 16 + 44)); }
};

TEST_F(RecordingsWire, FilesAndLogsAreRecordsBehindAHead) {
    CWireClient client(StartRecorder());
    client.Login();
    const auto& archive = m_pRecorder->Archive();
    BYTES reply = Ask(client, SEARCH, Words({5, 2, 1, 0xFFFFFFFF, 0, 0xFFFFFFFF}));
    const auto files = archive.FilesOf(1);
    ASSERT_EQ(reply.size(), 16 + 16 + files.size() * 28);
    BYTES expected = Words({DATA, 0, 4, reply.size() - 16, 5, 2, 0, files.size()});
    for (const size_t number : files) {
        const ARCHIVE_FILE& file = archive.Files()[number];
        const BYTES record =
            Words({1, file.bLocked, static_cast<std::uint64_t>(file.span.start),
                   static_cast<std::uint64_t>(file.span.stop), file.recType, file.partition, file.fileIndex});
        expected.insert(expected.end(), record.begin(), record.end());
    }
    EXPECT_EQ(reply, expected);
    const struct {
        std::uint32_t id;
        BYTES body, reply;
    } REFUSALS[] = {
        {SEARCH, Words({6, 2, 2, 0xFFFFFFFF, 0, 0xFFFFFFFF}), Words({NOTHING, 0, 4, 8, 6, 2})},
        {SEARCH, Words({6, 9, 0, 0xFFFFFFFF, 0, 0xFFFFFFFF}), Words({NOTHING, 0, 4, 8, 6, 2})},
        {SEARCH, Words({6, 2, 0, 0xFFFFFFFF, 0, 1000}), Words({NOTHING, 0, 4, 8, 6, 0})},
        {LOGS, Words({6, 0xFFFFFFFF, 0, 1000}), Words({FAILED, 0, 4, 8, 6, 0})},
        {EVENTS, Words({6, 15, 0}), Words({FAILED, 0, 4, 8, 6, 2})},
        {READ, ReadBody(10, 0, 0, 1000), Words({NOTHING, 0, 4, 8, 77, 0})},
        {READ, ReadBody(9, 0, 0, END), Words({NOTHING, 0, 4, 8, 77, 2})},
        {READ, ReadBody(10, 2, 0, END), Words({NOTHING, 0, 4, 8, 77, 2})},
    };
    for (const auto& row : REFUSALS) EXPECT_EQ(Ask(client, row.id, row.body), row.reply) << row.id;

    // 2,000 entries go in several messages, each but the last with the mark that more follows.
    const auto logs = archive.FindLogs({0, INT64_MAX}, 0xFFFFFFFF);
    client.Command(LOGS, Words({8, 0xFFFFFFFF, 0, 0xFFFFFFFF}));
    size_t seen = 0;
    for (bool bMore = true; bMore;) {
        const auto message = client.Next(0x60002);
        ASSERT_TRUE(message);
        const BYTES& bytes = message->payload;
        EXPECT_LE(bytes.size(), 65536u + 16);
        bMore = Word(bytes, 24) != 0;
        size_t at = 32;
        for (std::uint32_t n = 0; n < Word(bytes, 28); ++n, ++seen) {
            EXPECT_EQ(Word(bytes, at), logs[seen].time);
            EXPECT_EQ(Text(bytes, at + 12), logs[seen].sUser);
            const size_t length = Word(bytes, at + 52);
            const std::string sText(bytes.begin() + static_cast<std::ptrdiff_t>(at) + 56,
                                    bytes.begin() + static_cast<std::ptrdiff_t>(at + 56 + length));
            EXPECT_EQ(sText, logs[seen].sContent);
            at += 56 + length;
        }
        EXPECT_EQ(at, bytes.size());
    }
    EXPECT_EQ(seen, logs.size());
}

TEST_F(RecordingsWire, LocksAndDeletionsHoldForAllLinksAndForAllFilesOrNone) {
    const std::uint16_t port = StartRecorder();
    CWireClient one(port), two(port);
    one.Login();
    two.Login();
    const auto names = [&](std::initializer_list<size_t> places) {
        BYTES body = Words({3, places.size()});
        for (const size_t place : places) {
            const ARCHIVE_FILE& file = m_pRecorder->Archive().Files()[m_pRecorder->Archive().FilesOf(0)[place]];
            const BYTES record = Words({0, 0, 0, 0, 0, file.partition, file.fileIndex});
            body.insert(body.end(), record.begin(), record.end());
        }
        return body;
    };
    const auto count = [&] { return Word(Ask(two, SEARCH, Words({1, 2, 0, 0xFFFFFFFF, 0, 0xFFFFFFFF})), 28); };
    EXPECT_EQ(Word(Ask(one, LOCK, names({1})), 0), DATA);
    const std::uint32_t before = count();
    EXPECT_EQ(Word(Ask(two, DELETE, names({0, 1})), 0), NOTHING);
    EXPECT_EQ(count(), before);
    EXPECT_EQ(Word(Ask(two, LOCK + 1, names({0, 1})), 0), DATA);
    EXPECT_EQ(Word(Ask(two, DELETE, names({0, 1})), 0), DATA);
    EXPECT_EQ(count(), before - 2);
    EXPECT_EQ(Word(Ask(one, DELETE, names({0})), 0), NOTHING);
}

TEST_F(RecordingsWire, DownloadKeepsToItsWindowAndTheArchive) {
    CWireClient client(StartRecorder());
    client.Login();
    const std::uint32_t start = END - 2;
    const ARCHIVE_SEQUENCE sequence = m_pRecorder->RecordedFrames({{0}, false, {start, END + 60}});
    const auto& expected = sequence.frames;
    ASSERT_EQ(Word(Ask(client, READ, ReadBody(DOWNLOAD, 0, start, END + 60)), 0), DATA);
    size_t seen = 0;
    while (seen < expected.size()) {
        const auto frames = FramesUntilQuiet(client);
        ASSERT_EQ(frames.size(), std::min<size_t>(seen == 0 ? 14 : 7, expected.size() - seen));
        for (const BYTES& bytes : frames) {
            const ARCHIVE_FRAME& frame = expected[seen];
            const bool bEnd = frame.frameType == 9;
            const BYTES head = Words({frame.bKeyFrame, frame.frameType, frame.data.size(), frame.width, frame.height, 0,
                                      0, 0, seen, bEnd ? 4u : 0u, DOWNLOAD});
            EXPECT_TRUE(std::equal(head.begin(), head.end(), bytes.begin() + 16)) << seen;
            EXPECT_EQ(Time(bytes), frame.time);
            ASSERT_EQ(bytes.size(), 76 + frame.data.size());
            EXPECT_TRUE(std::ranges::equal(frame.data, std::as_bytes(std::span(bytes)).subspan(76))) << seen;
            ++seen;
        }
        // An index that was not sent changes nothing.
        client.Command(INDEX, Words({DOWNLOAD, 0, seen, 0xFFFFFFFF}));
        client.Command(INDEX, Words({DOWNLOAD, 0, seen - 8, 0xFFFFFFFF}));
    }
    EXPECT_EQ(expected.back().time, std::int64_t{END} * 1000000);
}

TEST_F(RecordingsWire, PlaybackIsSteered) {
    CWireClient client(StartRecorder());
    client.Login();
    for (const std::uint32_t stream : {10, 11, 12, 13})
        EXPECT_EQ(Word(Ask(client, READ, ReadBody(stream, 1, END - 600, END)), 0), DATA);
    EXPECT_EQ(Ask(client, READ, ReadBody(14, 1, END - 600, END)), Words({NOTHING, 0, 4, 8, 77, 1}));
    for (const std::uint32_t stream : {11, 12, 13}) client.Command(STOP, Words({stream, 0, 0}));
    FramesUntilQuiet(client);

    // Each step lets 14 more frames go. What comes: key frames only, and in which direction.
    std::uint32_t index = 13;
    std::int64_t last = 0;
    const auto step = [&](std::uint32_t command, std::uint32_t value, int direction, bool bKeysOnly) {
        client.Command(command, Words({10, 0, value}));
        client.Command(INDEX, Words({10, 0, index, 0xFFFFFFFF}));
        const auto frames = FramesUntilQuiet(client);
        EXPECT_EQ(frames.size(), 14u) << command;
        for (const BYTES& frame : frames) {
            EXPECT_EQ(Word(frame, 16 + 32), ++index);
            EXPECT_TRUE(!bKeysOnly || Word(frame, 16) == 1);
            EXPECT_GT(direction * (Time(frame) - last), 0) << command;
            last = Time(frame);
        }
    };
    step(FF, 8, 1, false);
    step(FF, 9, 1, true);
    step(REW, 9, -1, true);
    step(RESUME, 0, 1, false);
    client.Command(PAUSE, Words({10, 0, 0}));
    client.Command(INDEX, Words({10, 0, index, 0xFFFFFFFF}));
    EXPECT_TRUE(FramesUntilQuiet(client).empty());

    // A seek begins anew, with format frames and a key frame at the second asked for.
    ASSERT_EQ(Word(Ask(client, READ, ReadBody(10, 0, END - 5, END)), 0), DATA);
    const auto frames = FramesUntilQuiet(client);
    ASSERT_EQ(frames.size(), 14u);
    for (const size_t n : {0, 1, 2}) {
        EXPECT_EQ(Word(frames[n], 16 + 32), n);
        EXPECT_EQ(Word(frames[n], 16 + 4), n == 2 ? 1 : n + 3);
        EXPECT_EQ(Time(frames[n]), std::int64_t{END - 5} * 1000000);
    }
    EXPECT_EQ(frames[0].size(), 76u + 40);
    EXPECT_EQ(frames[1].size(), 76u + 18);
}

TEST_F(RecordingsWire, MisbehavesAsToldInReplies) {
    CWireClient client(StartRecorder());
    client.Login();
    const BYTES search = Words({5, 2, 1, 0xFFFFFFFF, 0, 0xFFFFFFFF});
    const auto files = static_cast<std::uint32_t>(m_pRecorder->Archive().FilesOf(1).size());
    const auto askWith = [&](SIM_FAULT_KIND kind, std::int64_t value) {
        m_pRecorder->SetFaults({{kind, SIM_PHASE::SEARCH, value, 1}});
        return Ask(client, SEARCH, search);
    };
    EXPECT_EQ(Word(askWith(SIM_FAULT_KIND::COUNT_LIE, -1), 28), files - 1);
    EXPECT_EQ(Word(askWith(SIM_FAULT_KIND::MORE_FOREVER, 0), 24), 1u);
    EXPECT_EQ(askWith(SIM_FAULT_KIND::REFUSE_DATA, 2), Words({NOTHING, 0, 4, 8, 5, 2}));
    EXPECT_EQ(Word(Ask(client, SEARCH, search), 28), files);

    const BYTES read = ReadBody(DOWNLOAD, 0, END - 1, END);
    const auto framesWith = [&](SIM_FAULT_KIND kind, std::int64_t value) {
        m_pRecorder->SetFaults({{kind, SIM_PHASE::DOWNLOAD, value, 1}});
        EXPECT_EQ(Word(Ask(client, READ, read), 0), DATA);
        return FramesUntilQuiet(client);
    };
    EXPECT_EQ(framesWith(SIM_FAULT_KIND::DATA_STOP, 5).size(), 5u);
    const auto wild = framesWith(SIM_FAULT_KIND::WILD_TIMES, 5);
    EXPECT_EQ(Time(wild[3]) / 1000000, END - 1);
    EXPECT_NE(Time(wild[4]) / 1000000, END - 1);
    m_pRecorder->SetFaults({{SIM_FAULT_KIND::DATA_CLOSE, SIM_PHASE::DOWNLOAD, 5, 1}});
    EXPECT_EQ(Word(Ask(client, READ, read), 0), DATA);
    for (int n = 0; n < 5; ++n) EXPECT_TRUE(client.Next(FRAME));
    EXPECT_TRUE(client.ReadsEnd());
}

}  // namespace
