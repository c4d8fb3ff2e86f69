#include "tests/soak/TracedSession.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "protocol/ClassicCommands.h"
#include "protocol/ClassicProtocol.h"
#include "protocol/LinkFrame.h"
#include "simulator/classic/ClassicRecorder.h"
#include "support/TestSupport.h"
#include "tests/soak/Receiver.h"

namespace {

constexpr std::uint32_t PIECE_LIMIT = 1024;

class CTracedRun {
public:
    void Run(std::uint16_t port, const TRACED_ORDER& order) {
        HLX_DEVICEINFO info{};
        m_id = HLX_Login("127.0.0.1", port, "admin", "secret", &info);
        if (!Note(m_id > 0, {info.videoInputNum, info.sensorInputNum, info.buildDate})) return;
        NoteEffect();
        Note(HLX_PTZControl_Other(m_id, 1, PTZ_CMD_UP, 0));
        Note(HLX_ChangTime(m_id, 1700000000));
        if (order.bLive) PlayLive(order);
        HLX_Logout(m_id);
    }

    TRACED_OUTCOME m_outcome;

private:
    bool Note(bool bDone, std::vector<DWORD> values = {}) {
        const DWORD error = bDone ? 0 : HLX_GetLastError();
        m_outcome.calls.push_back({bDone, error, bDone ? std::move(values) : std::vector<DWORD>{}});
        return bDone;
    }
    void NoteEffect() {
        DWORD effect[4] = {};
        const bool bDone = HLX_GetVideoEffect(m_id, 1, &effect[0], &effect[1], &effect[2], &effect[3]);
        Note(bDone, {effect, effect + 4});
    }
    void PlayLive(const TRACED_ORDER& order) {
        CReceiver receiver;
        if (!Note(receiver.Play(m_id, 0, HLX_SUB_STREAM) > 0)) return;
        WaitUntil([&] { return receiver.Count(DD_FRAME_TYPE_VIDEO) >= order.pictures; }, order.patience);
        NoteEffect();
        for (const RECEIVED_FRAME& frame : receiver.Frames())
            if (frame.info.frameType == DD_FRAME_TYPE_VIDEO) m_outcome.pictures.push_back(frame.digest);
    }

    LONG m_id = 0;
};

}  // namespace

bool TRACED_OUTCOME::AllDone() const {
    return std::ranges::all_of(calls, [](const CALL& call) { return call.bDone; });
}

TRACED_OUTCOME RunTraced(std::uint16_t port, const TRACED_ORDER& order) {
    CTracedRun run;
    run.Run(port, order);
    return std::move(run.m_outcome);
}

TRACED_OUTCOME RunReplayed(const REPLAY_CONFIG& config, const TRACED_ORDER& order) {
    CReplayServer server(config);
    std::string sError;
    return server.Start(sError) ? RunTraced(server.Port(), order) : TRACED_OUTCOME{};
}

TRACED_RECORD RecordTraced(const TRACED_ORDER& order) {
    TRACED_RECORD record;
    const CTempDir folder;
    const std::string sFile = folder.File("trace");
    CLASSIC_RECORDER_CONFIG config;
    config.channels = 2;
    config.speed = 10;
    config.sPassword = "secret";
    config.packLimit = PIECE_LIMIT;
    CClassicRecorder recorder(config);
    HLX_Cleanup();
    setenv("HLX_TRACE", sFile.c_str(), 1);
    if (HLX_Init() && recorder.Start(record.sError)) record.outcome = RunTraced(recorder.Port(), order);
    HLX_Cleanup();
    unsetenv("HLX_TRACE");
    HLX_Init();
    std::ifstream file(sFile);
    std::stringstream text;
    text << file.rdbuf();
    record.sText = text.str();
    auto links = ReadTrace(text, record.sError);
    if (links) record.config.links = std::move(*links);
    record.config.speed = 0;
    return record;
}

size_t PicturesWithin(const REPLAY_LINK& link, size_t bytes) {
    size_t end = 0, pictures = 0;
    bool bPicture = false;
    for (const REPLAY_STEP& step : link) {
        end += step.bytes.size();
        if (end > bytes) break;
        SIM_BYTE_VIEW rest(step.bytes);
        const auto head = ReadRecord<LINK_FRAME_HEAD>(rest);
        if (!head || head->marker != LINK_FRAME_MARKER || head->length == 0) continue;
        rest = rest.subspan(sizeof(*head));
        const auto piece = head->length < 0 ? ReadRecord<PACKED_HEAD>(rest) : PACKED_HEAD{0, 1, 0, 1, 0, 0};
        if (head->length < 0) rest = rest.subspan(sizeof(*piece));
        if (piece->dwPackIndex == 1) {
            const auto command = ReadRecord<PACKCMD>(rest);
            const auto frame = ReadRecord<FRAME_INFO>(rest.subspan(std::min(rest.size(), sizeof(*command))));
            bPicture =
                command && command->cmdType == CMD_REPLY_DATA_STREAM && frame && frame->frameType == FRAME_TYPE_VIDEO;
        }
        pictures += bPicture && piece->dwPackIndex == piece->dwTotalPack;
    }
    return pictures;
}

TRACED_OUTCOME RunMutated(REPLAY_CONFIG config, unsigned seed) {
    constexpr unsigned RATES = 8;
    constexpr std::chrono::milliseconds PATIENCE{20};
    config.mutationSeed = seed;
    config.mutationRate = 20U << seed % RATES;
    return RunReplayed(config, {seed / RATES % 2 == 0, TRACED_ORDER::PICTURES, PATIENCE});
}
