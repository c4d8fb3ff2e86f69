// Messages that come in pieces.

#include "support/Test.h"
#include "TestRecorder.h"

namespace {

struct PIECE {
    tuint32 id = 1, count = 1, total = 0, index = 1;
    Bytes bytes;
    long long length = -1;  // told length; -1: as it is

    Bytes Packed() const {
        return Word(id) + Word(count) + Word(total) + Word(index) +
               Word(length < 0 ? bytes.size() : static_cast<tuint64>(length)) + Word(0) + bytes;
    }
};

/// `message` in `count` pieces, the first of at least 76 bytes.
std::vector<PIECE> Cut(const Bytes& message, tuint32 count, tuint32 id = 1) {
    std::vector<PIECE> pieces;
    const size_t step = (message.size() + count - 1) / count;
    for (tuint32 i = 0; i < count; ++i)
        pieces.push_back({id, count, static_cast<tuint32>(message.size()), i + 1, message.substr(i * step, step)});
    return pieces;
}

Bytes BigMessage(tuint32 streamID = 0, size_t size = 400) {
    Bytes data;
    for (size_t i = 0; i < size; ++i) data += static_cast<char>(i * 31);
    return TEST_FRAME{.streamID = streamID, .data = data}.Message();
}

Bytes Add(CPackedCombiner& combiner, const Bytes& piece) {
    const std::vector<char> exact(piece.begin(), piece.end());
    const auto whole = combiner.AddPiece(std::as_bytes(std::span(exact)));
    return {reinterpret_cast<const char*>(whole.data()), whole.size()};
}

TEST(PackedTest, FaultsDropTheMessage) {
    using Fault = void (*)(std::vector<PIECE>&);
    const Fault faults[] = {
        [](auto& pieces) { pieces.erase(pieces.begin() + 1); },
        [](auto& pieces) { std::swap(pieces[0], pieces[1]); },
        [](auto& pieces) { std::swap(pieces[1], pieces[2]); },
        [](auto& pieces) { pieces.insert(pieces.begin() + 1, pieces[1]); },
        [](auto& pieces) { pieces[1].index = 0; },
        [](auto& pieces) { pieces[1].id = 9; },
        [](auto& pieces) { pieces[1].count = 5; },
        [](auto& pieces) { pieces[1].total += 1; },
        [](auto& pieces) { pieces[1].bytes += "x"; },
        [](auto& pieces) { pieces[2].bytes.pop_back(); },
        [](auto& pieces) { pieces[1].length = 0x7FFFFFFF; },
        [](auto& pieces) { pieces[1].length = 0xFFFFFFFF; },
        [](auto& pieces) { pieces[0].bytes.resize(75); },
        [](auto& pieces) { pieces[0].count = 0; },
        [](auto& pieces) { pieces[0].total = 10; },
        [](auto& pieces) {
            for (auto& piece : pieces) piece.total = 0xFFFFFFFF;
        },
    };
    const Bytes message = BigMessage();
    for (const Fault& fault : faults) {
        CPackedCombiner combiner;
        auto pieces = Cut(message, 3);
        fault(pieces);
        for (const auto& piece : pieces) EXPECT_EQ(Add(combiner, piece.Packed()), "") << &fault - faults;
        Bytes got;
        for (const auto& piece : Cut(message, 3, 2)) got += Add(combiner, piece.Packed());
        EXPECT_EQ(got, message) << &fault - faults;
    }
}

TEST(PackedTest, StreamsMixAndReplaceTheirOwn) {
    CPackedCombiner combiner;
    const Bytes live = BigMessage(0), play = BigMessage(10, 500);
    const auto a = Cut(live, 2, 1), b = Cut(play, 2, 2), again = Cut(live, 2, 3);
    Add(combiner, a[0].Packed());
    Add(combiner, b[0].Packed());
    EXPECT_EQ(Add(combiner, a[1].Packed()), live);
    EXPECT_EQ(Add(combiner, b[1].Packed()), play);
    EXPECT_EQ(Add(combiner, a[1].Packed()), "") << "a finished message takes no more";

    Add(combiner, a[0].Packed());
    Add(combiner, again[0].Packed());
    EXPECT_EQ(Add(combiner, a[1].Packed()), "") << "the next frame of its stream has begun";
    EXPECT_EQ(Add(combiner, again[1].Packed()), live);
}

TEST(PackedTest, PromisesCostNothing) {
    CPackedCombiner combiner;
    for (tuint32 id = 1; id <= 1000; ++id) {
        const Bytes message = TEST_FRAME{.streamID = id, .data = Bytes(100, 'x')}.Message();
        Add(combiner, PIECE{id, 100, 60'000'000, 1, message}.Packed());
    }
    EXPECT_LT(combiner.HeldBytes(), 100'000u);
    // Bytes that really come are held up to the bound.
    const Bytes mebibyte(1 << 20, 'x');
    for (tuint32 index = 2; index < 100; ++index) {
        for (const tuint32 id : {1u, 2u, 3u}) Add(combiner, PIECE{id, 100, 60'000'000, index, mebibyte}.Packed());
        EXPECT_LE(combiner.HeldBytes(), CPackedCombiner::MAX_HELD_BYTES);
    }
}

TEST(PackedTest, SoundInPiecesStaysAsItIs) {
    CTestRecorder recorder;
    ASSERT_TRUE(recorder.LoggedIn() && recorder.m_device.StartLiveChannel(0, true, 0x401, 0));
    CTestRing ring(0x401);
    const Bytes sound(648, 'a');
    for (const auto& piece : Cut(TEST_FRAME{.type = 2, .data = sound}.Message(), 2))
        recorder.Receive("PACK" + piece.Packed());
    EXPECT_EQ(ring.Drain().at(0).second, sound);
}

TEST(PackedTest, PiecesOfAFallenLinkAreForgotten) {
    CTestRecorder recorder;
    CTestRing ring(0x401);
    const auto pieces = Cut(BigMessage(), 2);
    ASSERT_TRUE(recorder.LoggedIn());
    recorder.Receive("PACK" + pieces[0].Packed());
    recorder.BreakLink();
    recorder.m_device.SetNetHandle(&recorder);
    ASSERT_TRUE(recorder.LoggedIn() && recorder.m_device.StartLiveChannel(0, true, 0x401, 0));
    recorder.Receive("PACK" + pieces[1].Packed());
    EXPECT_TRUE(ring.Drain().empty());
}

}  // namespace
