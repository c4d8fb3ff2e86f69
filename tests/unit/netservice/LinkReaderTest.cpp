#include "netservice/LinkReader.h"

#include "EngineFixture.h"

namespace {

struct READ_RESULT {
    std::vector<std::string> messages;
    int heartbeats = 0;
    bool bBroken = false;
};

/// Feeds `stream` in pieces whose sizes `nextPiece` gives, through the borrowed bytes or straight into a big message.
READ_RESULT ReadInPieces(const std::string& stream, const std::function<size_t()>& nextPiece) {
    RECV_DATA_BUFFER partial;
    CLinkReader reader(partial);
    READ_RESULT result;
    for (size_t at = 0; at < stream.size() && !result.bBroken;) {
        const auto room = reader.Room();
        size_t size = std::min(std::max<size_t>(nextPiece(), 1), stream.size() - at);
        std::string piece;
        if (!room.empty()) {
            size = std::min(size, room.size());
            std::copy_n(stream.begin() + at, size, room.begin());
            reader.Added(static_cast<int>(size));
        } else {
            piece = stream.substr(at, size);
            reader.GiveAhead(piece);
        }
        at += size;
        for (auto step = reader.Next(); step != CLinkReader::NEED_BYTES; step = reader.Next()) {
            if (step == CLinkReader::MESSAGE)
                result.messages.emplace_back(reader.Message().data(), reader.Message().size());
            if (step == CLinkReader::HEARTBEAT) ++result.heartbeats;
            result.bBroken = step == CLinkReader::BROKEN;
            if (result.bBroken) break;
        }
    }
    return result;
}

const std::string BIG = Noise(300000);

const std::string MIXED = Framed("first") + Framed("") + PackedFrame("packed body") + "garbage!" + Framed(Noise(5000)) +
                          PackedFrame("") + Framed("1111") + Framed(BIG) + PackedFrame(Noise(70000, 3)) +
                          Framed("last");
const std::vector<std::string> MIXED_MESSAGES = {
    "first", "PACK" + PackedBody("packed body", 11),      Noise(5000), "PACK" + PackedBody("", 0), "1111",
    BIG,     "PACK" + PackedBody(Noise(70000, 3), 70000), "last"};

}  // namespace

TEST(LinkReader, GivesTheSameMessagesHoweverTheStreamIsCut) {
    for (const size_t piece : {1, 2, 3, 7, 8, 9, 31, 36, 4096, 33000, 1 << 20}) {
        const READ_RESULT result = ReadInPieces(MIXED, [&] { return piece; });
        EXPECT_EQ(result.messages, MIXED_MESSAGES) << piece;
        EXPECT_EQ(result.heartbeats, 1) << piece;
    }
    for (unsigned seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const READ_RESULT result = ReadInPieces(MIXED, [&] { return random() % 4 ? random() % 40 : random() % 90000; });
        EXPECT_EQ(result.messages, MIXED_MESSAGES) << seed;
    }
}

TEST(LinkReader, SenselessPackedLengthBreaks) {
    for (const tint32 length : {-1, INT32_MIN, INT32_MAX, INT32_MAX - 27}) {
        for (const size_t piece : {1, 1000}) {
            const READ_RESULT result = ReadInPieces(PackedFrame("x", length) + Framed("lost"), [&] { return piece; });
            EXPECT_TRUE(result.bBroken) << length;
            EXPECT_TRUE(result.messages.empty()) << length;
        }
    }
}

TEST(LinkReader, PromisedBytesCostNothingUntilTheyArrive) {
    const std::string hugeFrame = std::string("1111\xff\xff\xff\x7f") + std::string(1000, 'x');
    for (const std::string& stream : {hugeFrame, PackedFrame(std::string(1000, 'x'), INT32_MAX - 28)}) {
        RECV_DATA_BUFFER partial;
        CLinkReader reader(partial);
        std::string bytes = stream;
        reader.GiveAhead(bytes);
        EXPECT_EQ(reader.Next(), CLinkReader::NEED_BYTES);
        EXPECT_LE(reader.Room().size(), 64u * 1024);
        EXPECT_LE(partial.buffSize, 80 * 1024);
    }
}
