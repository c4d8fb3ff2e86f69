#include <fmt/format.h>

#include "Commands.h"
#include "StreamRun.h"

namespace {

using namespace std::chrono_literals;

STREAM_ORDER OrderOf(const OPTIONS& options) {
    const LIVE_OPTIONS& live = options.live;
    return {options.connect.bJson, fmt::format("cannot open channel {}", live.lChannel), live.strOutput, live.stall,
            live.nFrames};
}

// One live stream from its start to its end.
class CLiveRun : public CStreamRun {
public:
    CLiveRun(const OPTIONS& options, CInterrupt& interrupt, CFrameWriter* pWriter)
        : CStreamRun(interrupt, OrderOf(options), pWriter), m_live(options.live) {}

private:
    POINTERHANDLE Start(const CSession& session) override {
        return StartLive(session, m_live.lChannel, m_live.lStreamType, CStreamReceiver::OnFrame, &m_receiver);
    }
    void Stop(POINTERHANDLE lStream) override { HLX_StopLivePlay(lStream); }

    STREAM_END OwnEnd(const SNAPSHOT& snapshot, Clock::time_point now) const override {
        if (snapshot.bHeldUp) return STREAM_END::NONE;  // a frame that was counted is on its way to the writer
        if (snapshot.bComplete) return STREAM_END::FRAMES;
        return now >= OwnDue(snapshot) ? STREAM_END::DURATION : STREAM_END::NONE;
    }
    Clock::time_point OwnDue(const SNAPSHOT& snapshot) const override {
        const bool bEnds = !snapshot.bHeldUp && snapshot.first && m_live.length > 0ms;
        return bEnds ? *snapshot.first + m_live.length : Clock::time_point::max();
    }

    const LIVE_OPTIONS& m_live;
};

}  // namespace

EXIT_CODE RunLive(const OPTIONS& options, CInterrupt& interrupt) {
    return RunVideo<CLiveRun>(options, interrupt, options.live.lChannel, options.live.strOutput);
}
