// What a live frame costs: 4 Mbit/s in frames of 20 KB, one stream, the whole library from HLX_Login on in a process of
// its own, beside a minimal program of select, ring, thread and callback, and beside ffmpeg. Windows of 100 frames in
// turns.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "bench/Child.h"
#include "bench/FrameSource.h"
#include "bench/minimal_live.h"
#include "bench/Pairs.h"
#include "HLX.h"

namespace {

constexpr unsigned WINDOW_FRAMES = 100;
constexpr int WINDOWS = 9;
constexpr int RTSP_PORT = 38554;  // the first of a thousand
constexpr int FFMPEG_WINDOWS = 5;
constexpr double FFMPEG_RATE = 25;  // frames a second

void OnFrame(POINTERHANDLE, HLX_FRAME_INFO frame, BYTE* pData, void* pUser) {
    auto& viewer = *static_cast<LIVE_SHARED::VIEWER*>(pUser);
    viewer.bReady = true;
    if (frame.length == LIVE_FRAME_BYTES) viewer.Note(pData);
}

void RunLibrary(LIVE_SHARED::VIEWER& viewer) {
    HLX_Init();
    HLX_DEVICEINFO device{};
    const LONG id = HLX_Login("127.0.0.1", static_cast<WORD>(viewer.port), "admin", "", &device);
    HLX_CLIENTINFO info{};
    info.lChannel = 0;
    info.streamType = HLX_MAIN_STREAM;
    if (HLX_LivePlay(id, &info, OnFrame, &viewer) <= 0) _exit(1);
    for (;;) pause();
}

void RunMinimal(LIVE_SHARED::VIEWER& viewer) {
    viewer.bReady = true;
    RunMinimalLive(viewer.port, [&](const unsigned char* pData, size_t) { viewer.Note(pData); });
}

/// What one window of frames cost.
struct WINDOW {
    double processorTime = 0;  // microseconds a frame, as the others
    double median = 0;
    double worst = 0;  // 99 of 100 are not above
};

/// Source and viewers.
class CScene {
public:
    CScene()
        : m_source([this] { RunFrameSource(m_shared); }),
          m_library([this] { RunSide(SIDE_LIBRARY, RunLibrary); }),
          m_minimal([this] { RunSide(SIDE_MINIMAL, RunMinimal); }) {
        for (const auto& viewer : m_shared.viewers) Await([&] { return viewer.bReady.load(); }, "the viewers");
        Pause(0.5);
    }

    WINDOW Measure(LIVE_SIDE side) {
        const CChild& process = side == SIDE_LIBRARY ? m_library : m_minimal;
        LIVE_SHARED::VIEWER& viewer = m_shared.viewers[side];
        m_shared.side = side;
        const unsigned first = viewer.frames + 1;
        Await([&] { return viewer.frames >= first; }, "a frame");
        const double before = process.ProcessorSeconds();
        const unsigned start = viewer.frames;
        Await([&] { return viewer.frames >= start + WINDOW_FRAMES; }, "a window of frames");
        const double used = process.ProcessorSeconds() - before;
        m_shared.side = SIDE_NOBODY;
        std::vector<double> delays;
        for (unsigned i = start; i < start + WINDOW_FRAMES; ++i)
            delays.push_back(static_cast<double>(viewer.delays[i % viewer.delays.size()]) / 1e3);
        return {used / WINDOW_FRAMES * 1e6, Median(delays), Of100The99th(delays)};
    }

private:
    void RunSide(LIVE_SIDE side, void (*run)(LIVE_SHARED::VIEWER&)) {
        LIVE_SHARED::VIEWER& viewer = m_shared.viewers[side];
        Await([&] { return viewer.port != 0; }, "the source");
        run(viewer);
    }

    LIVE_SHARED& m_shared = Shared<LIVE_SHARED>();
    CChild m_source;
    CChild m_library;
    CChild m_minimal;
};

/// The three figures come from the same windows.
struct LIVE_FIGURES {
    CPairs processorTime;
    CPairs median;
    CPairs worst;
};

const LIVE_FIGURES& MeasuredLive() {
    static const LIVE_FIGURES figures = [] {
        LIVE_FIGURES result;
        CScene scene;
        for (int i = 0; i < WINDOWS; ++i) {
            const bool bOursFirst = i % 2 == 0;
            WINDOW ours;
            if (bOursFirst) ours = scene.Measure(SIDE_LIBRARY);
            const WINDOW limit = scene.Measure(SIDE_MINIMAL);
            if (!bOursFirst) ours = scene.Measure(SIDE_LIBRARY);
            result.processorTime.Add(ours.processorTime, limit.processorTime);
            result.median.Add(ours.median, limit.median);
            result.worst.Add(ours.worst, limit.worst);
        }
        return result;
    }();
    return figures;
}

void LiveProcessorTime(benchmark::State& state) {
    for (auto _ : state) MeasuredLive().processorTime.Report(state, "us/frame", AtMost(1.5));
}
void LiveDelayMedian(benchmark::State& state) {
    for (auto _ : state) MeasuredLive().median.Report(state, "us", AtMost(2));
}
void LiveDelayOf99(benchmark::State& state) {
    for (auto _ : state) MeasuredLive().worst.Report(state, "us", AtMost(3));
}

/// A folder for a clip of the same rate; removed at the end.
struct CLIP_FOLDER {
    CLIP_FOLDER() {
        std::string sPath = (std::filesystem::temp_directory_path() / "hlx-bench-XXXXXX").string();
        if (!mkdtemp(sPath.data())) std::abort();
        path = sPath;
    }
    ~CLIP_FOLDER() { std::filesystem::remove_all(path); }
    std::filesystem::path path;
};

bool MakeClip(const std::string& sFile) {
    const std::string sCommand =
        "ffmpeg -v error -y -f lavfi -i testsrc2=size=704x576:rate=25 -t 120 -c:v libx264 "
        "-preset veryfast -g 25 -b:v 4M -minrate 4M -maxrate 4M -bufsize 400k -x264-params nal-hrd=cbr -f mpegts '" +
        sFile + "' </dev/null >/dev/null 2>&1";
    return std::system(sCommand.c_str()) == 0;
}

/// The library and the minimal program beside ffmpeg, from the same windows.
struct FFMPEG_FIGURES {
    CPairs library;
    CPairs minimal;
    const char* pProblem = nullptr;
};

/// ffmpeg receives the same rate over RTSP and TCP and throws it away.
FFMPEG_FIGURES MeasureFfmpeg() {
    FFMPEG_FIGURES figures;
    const CLIP_FOLDER folder;
    const std::string sClip = (folder.path / "clip.ts").string();
    if (!MakeClip(sClip)) return {{}, {}, "no ffmpeg with libx264"};
    const std::string sPort = std::to_string(RTSP_PORT + getpid() % 1000);
    const std::string sUrl = "rtsp://127.0.0.1:" + sPort + "/live";
    CScene scene;
    const CChild server(
        std::vector<const char*>{"/usr/bin/python3", HLX_BENCH_FOLDER "/rtsp_server.py", sPort.c_str(), sClip.c_str()});
    Pause(2);
    const CChild receiver(std::vector<const char*>{"ffmpeg", "-rtsp_transport", "tcp", "-i", sUrl.c_str(), "-c", "copy",
                                                   "-f", "null", "-"});
    Pause(10);  // it looks at the stream first
    for (int i = 0; i < FFMPEG_WINDOWS; ++i) {
        const WINDOW ours = scene.Measure(SIDE_LIBRARY);
        const double before = receiver.ProcessorSeconds();
        const double seconds = SecondsOf([] { Pause(WINDOW_FRAMES / FFMPEG_RATE); });
        const double used = (receiver.ProcessorSeconds() - before) / seconds / FFMPEG_RATE * 1e6;
        if (used < 1)
            return {{}, {}, "left out: ffmpeg gets nothing; bench/rtsp_server.py names packages that may be missing"};
        const WINDOW minimal = scene.Measure(SIDE_MINIMAL);
        figures.library.Add(ours.processorTime, used);
        figures.minimal.Add(minimal.processorTime, used);
    }
    return figures;
}

const FFMPEG_FIGURES& MeasuredFfmpeg() {
    static const FFMPEG_FIGURES figures = MeasureFfmpeg();
    return figures;
}

void LiveBesideFfmpeg(benchmark::State& state) {
    for (auto _ : state) MeasuredFfmpeg().library.Report(state, "us/frame", AtMost(0.2));
    if (MeasuredFfmpeg().pProblem) state.SkipWithError(MeasuredFfmpeg().pProblem);
}
/// What a program could come down to.
void MinimalBesideFfmpeg(benchmark::State& state) {
    for (auto _ : state) MeasuredFfmpeg().minimal.Report(state, "us/frame", {});
    if (MeasuredFfmpeg().pProblem) state.SkipWithError(MeasuredFfmpeg().pProblem);
}

}  // namespace

BENCHMARK(LiveProcessorTime)->Iterations(1);
BENCHMARK(LiveDelayMedian)->Iterations(1);
BENCHMARK(LiveDelayOf99)->Iterations(1);
BENCHMARK(LiveBesideFfmpeg)->Iterations(1);
BENCHMARK(MinimalBesideFfmpeg)->Iterations(1);
