// Frames through a ring of the registry, beside the limit: memcpy of the same bytes into a block of the ring's size. The argument is
// the size of a frame.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "netservice/MultiNetDataBufferMan.h"

namespace {

constexpr int RING_SIZE = 2 << 20;
constexpr unsigned int RING_ID = LIVE_BUFFER_ID(1, 0, 0);

void FrameRing(benchmark::State& state) {
    auto& rings = *CMultiNetDataBufferMan::Instance();
    rings.AddBuffer(RING_ID, RING_SIZE, false);
    const std::vector<unsigned char> data(static_cast<size_t>(state.range(0)), 7);
    HLX_FRAME_INFO frame{};
    frame.frameType = DD_FRAME_TYPE_VIDEO;
    frame.length = static_cast<unsigned int>(data.size());
    for (auto _ : state) {
        unsigned char* pRun = nullptr;
        int len = 0;
        rings.PushData(RING_ID, frame, data.data());
        if (!rings.GetDataBuffer(RING_ID, pRun, len)) state.SkipWithError("no frame");
        rings.ReleaseDataBuffer(RING_ID, pRun, len);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    rings.RemoveBuffer(RING_ID);
}

void BareCopy(benchmark::State& state) {
    const std::vector<unsigned char> data(static_cast<size_t>(state.range(0)), 7);
    std::vector<unsigned char> block(RING_SIZE);
    size_t at = 0;
    for (auto _ : state) {
        if (at + data.size() > block.size()) at = 0;
        std::memcpy(block.data() + at, data.data(), data.size());
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
        at += (data.size() + 4095) / 4096 * 4096;
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(FrameRing)->Arg(300)->Arg(8000)->Arg(100000);
BENCHMARK(BareCopy)->Arg(300)->Arg(8000)->Arg(100000);
