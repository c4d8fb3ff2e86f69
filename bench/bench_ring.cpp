// Frames through a ring of the registry, beside the limit: memcpy of the same bytes into a block of the ring's size.
// The argument is the size of a frame.
#include <cstring>
#include <vector>

#include "bench/Pairs.h"
#include "netservice/MultiNetDataBufferMan.h"

namespace {

constexpr int RING_SIZE = 2 << 20;
constexpr unsigned int RING_ID = LIVE_BUFFER_ID(1, 0, 0);
constexpr size_t BATCH = 64 << 20;
constexpr size_t ALIGNMENT = 4096;  // a run of the ring starts at a multiple of this

void RingFrames(const HLX_FRAME_INFO& frame, const unsigned char* pData, size_t count, benchmark::State& state) {
    auto& rings = *CMultiNetDataBufferMan::Instance();
    for (size_t i = 0; i < count; ++i) {
        unsigned char* pRun = nullptr;
        int len = 0;
        rings.PushData(RING_ID, frame, pData);
        if (!rings.GetDataBuffer(RING_ID, pRun, len)) state.SkipWithError("no frame");
        rings.ReleaseDataBuffer(RING_ID, pRun, len);
    }
}

void CopyFrames(std::vector<unsigned char>& block, const std::vector<unsigned char>& data, size_t count) {
    size_t at = 0;
    for (size_t i = 0; i < count; ++i) {
        if (at + data.size() > block.size()) at = 0;
        std::memcpy(block.data() + at, data.data(), data.size());
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
        at += (data.size() + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    }
}

void FrameRing(benchmark::State& state) {
    auto& rings = *CMultiNetDataBufferMan::Instance();
    rings.AddBuffer(RING_ID, RING_SIZE, false);
    const std::vector<unsigned char> data(static_cast<size_t>(state.range(0)), 7);
    std::vector<unsigned char> block(RING_SIZE);
    HLX_FRAME_INFO frame{};
    frame.frameType = DD_FRAME_TYPE_VIDEO;
    frame.length = static_cast<unsigned int>(data.size());
    const size_t count = BATCH / data.size();
    const TARGET target = data.size() >= 8000 ? AtLeast(0.4) : TARGET{};
    CompareRates(
        state, static_cast<double>(count * data.size()), target, [&] { RingFrames(frame, data.data(), count, state); },
        [&] { CopyFrames(block, data, count); });
    rings.RemoveBuffer(RING_ID);
}

}  // namespace

BENCHMARK(FrameRing)->Arg(300)->Arg(8000)->Arg(20000)->Arg(100000)->Iterations(31);
