// Downloads to a file beside a plain loop over the same bytes: reads of 256 KiB from a loopback connection, each written
// to a file. A device of its own process sends recordings as fast as the client's notices let it: video of 4 Mbit/s in
// frames of 20 KB, with sound; or the small frames of a still picture.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

#include "bench/Child.h"
#include "bench/Pairs.h"
#include "HLX.h"
#include "simulator/classic/ClassicRecorder.h"
#include "tests/support/PaddedClip.h"

namespace {

constexpr size_t FRAME_BYTES = 20000;
constexpr tint64 SPAN = 300;  // seconds of a recording
constexpr int DOWNLOAD_ENDED = 100;

struct FOLDER {
    FOLDER() {
        std::string sPath = (std::filesystem::temp_directory_path() / "hlx-bench-XXXXXX").string();
        if (!mkdtemp(sPath.data())) std::abort();
        path = sPath;
    }
    ~FOLDER() { std::filesystem::remove_all(path); }
    std::string File(const char* pName) const { return (path / pName).string(); }
    std::filesystem::path path;
};

double ProcessorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Where the recorder is, and what it has.
struct SOURCE {
    std::atomic<WORD> port{0};
    tint64 start = 0;  // of a recording of SPAN
};

/// Serves until the process is ended. An empty name means the clip that is always there.
void RunRecorder(SOURCE& source, const std::string& sClip) {
    CLASSIC_RECORDER_CONFIG config;
    if (!sClip.empty()) config.recordings.firstClips = {sClip};
    config.recordings.days = 1;
    config.recordings.sChangeClip.clear();
    config.recordings.end = 1'700'000'000;
    CClassicRecorder recorder(config);
    std::string sError;
    if (!recorder.Start(sError)) std::abort();
    for (const ARCHIVE_FILE& file : recorder.Archive().Files())
        if (file.channel == 0 && file.span.stop - file.span.start > SPAN) source.start = file.span.start;
    source.port = recorder.Port();
    for (;;) pause();
}

/// A recorder with an archive, and the library that is logged in to it.
class CScene {
public:
    explicit CScene(const std::string& sClip) : m_recorder([&] { RunRecorder(m_source, sClip); }) {
        Await([&] { return m_source.port != 0; }, "the recorder");
        HLX_DEVICEINFO info{};
        if (HLX_Init()) m_lUserID = HLX_Login("127.0.0.1", m_source.port, "admin", "", &info);
        if (m_lUserID < 1) std::abort();
    }
    ~CScene() { HLX_Cleanup(); }

    void Download(const std::string& sName, bool bCustom) {
        DD_TIME start{};
        DD_TIME stop{};
        HLX_FormatTime(m_source.start * 1000000, &start);
        HLX_FormatTime((m_source.start + SPAN) * 1000000, &stop);
        const POINTERHANDLE handle =
            HLX_GetFileByTimeEx(m_lUserID, 0, &start, &stop, sName.c_str(), bCustom, 0, nullptr, nullptr);
        if (handle < 1) std::abort();
        while (HLX_GetDownloadPos(handle) < DOWNLOAD_ENDED) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        HLX_StopGetFile(handle);
    }

private:
    SOURCE& m_source = Shared<SOURCE>();
    CChild m_recorder;
    LONG m_lUserID = 0;
};

/// Sends `bytes` over a loopback connection from a thread of its own and writes what comes to a file.
void CopyRaw(const std::string& sName, size_t bytes) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof(address);
    auto* pAddress = reinterpret_cast<sockaddr*>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    const int sender = socket(AF_INET, SOCK_STREAM, 0);
    if (bind(listener, pAddress, len) || listen(listener, 1) || getsockname(listener, pAddress, &len) ||
        connect(sender, pAddress, len))
        std::abort();
    const int receiver = accept(listener, nullptr, nullptr);
    std::thread source([&] {
        const std::string block(262144, 'x');
        for (size_t left = bytes; left > 0;) {
            const ssize_t sent = send(sender, block.data(), std::min(left, block.size()), MSG_NOSIGNAL);
            if (sent <= 0) std::abort();
            left -= static_cast<size_t>(sent);
        }
        shutdown(sender, SHUT_WR);
    });
    const int file = open(sName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::string block(262144, 0);
    for (ssize_t got; (got = recv(receiver, block.data(), block.size(), 0)) > 0;)
        if (write(file, block.data(), static_cast<size_t>(got)) != got) std::abort();
    source.join();
    for (const int fd : {file, receiver, sender, listener}) close(fd);
}

void DownloadTo(benchmark::State& state, bool bCustom, TARGET target, bool bSmallFrames = false) {
    const FOLDER folder;
    CScene scene(bSmallFrames ? "" : MakePaddedClip(folder.path, FRAME_BYTES));
    const std::string sOurs = folder.File(bCustom ? "x.hlx" : "x.avi");
    scene.Download(sOurs, bCustom);
    const size_t bytes = std::filesystem::file_size(sOurs);
    double used = 0;
    int rounds = 0;
    const auto ours = [&] {
        const double before = ProcessorSeconds();
        scene.Download(sOurs, bCustom);
        used += ProcessorSeconds() - before;
        ++rounds;
    };
    CompareRates(state, static_cast<double>(bytes), target, ours, [&] { CopyRaw(folder.File("raw"), bytes); });
    state.counters["cpu_s_per_GB"] = used / rounds / static_cast<double>(bytes) * 1e9;
}

void DownloadToFrames(benchmark::State& state) { DownloadTo(state, true, AtLeast(0.5)); }
void DownloadOfSmallFrames(benchmark::State& state) { DownloadTo(state, true, {}, true); }
void DownloadToAvi(benchmark::State& state) { DownloadTo(state, false, AtLeast(0.4)); }

}  // namespace

BENCHMARK(DownloadToFrames)->Iterations(9);
BENCHMARK(DownloadToAvi)->Iterations(9);
BENCHMARK(DownloadOfSmallFrames)->Iterations(9);
