// What a recorder with recordings puts on the wire, by hand-written offsets.
#include "RecorderFixture.h"

namespace {

constexpr std::uint32_t SEARCH = 0x501, READ = 0x502, INDEX = 0x50B, EVENTS = 0x601, LOGS = 0x602;
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

TEST_F(RecordingsWire, WhatCannotBeAnsweredIsRefusedWithItsReason) {
    CWireClient client(StartRecorder());
    client.Login();
    const std::tuple<std::uint32_t, BYTES, BYTES> rows[] = {
        {SEARCH, Words({6, 2, 2, 0xFFFFFFFF, 0, 0xFFFFFFFF}), Words({NOTHING, 0, 4, 8, 6, 2})},
        {SEARCH, Words({6, 9, 0, 0xFFFFFFFF, 0, 0xFFFFFFFF}), Words({NOTHING, 0, 4, 8, 6, 2})},
        {SEARCH, Words({6, 2, 0, 0xFFFFFFFF, 0, 1000}), Words({NOTHING, 0, 4, 8, 6, 0})},
        {LOGS, Words({6, 0xFFFFFFFF, 0, 1000}), Words({FAILED, 0, 4, 8, 6, 0})},
        {EVENTS, Words({6, 15, 0}), Words({FAILED, 0, 4, 8, 6, 2})},
        {READ, ReadBody(10, 0, 0, 1000), Words({NOTHING, 0, 4, 8, 77, 0})},
        {READ, ReadBody(9, 0, 0, END), Words({NOTHING, 0, 4, 8, 77, 2})},
        {READ, ReadBody(10, 2, 0, END), Words({NOTHING, 0, 4, 8, 77, 2})},
    };
    for (const auto& [id, body, reply] : rows) EXPECT_EQ(Ask(client, id, body), reply) << id;
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

}  // namespace
