#include "bench/FrameSource.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>

#include "protocol/ClassicProtocol.h"
#include "simulator/classic/ClassicSession.h"
#include "simulator/SimClip.h"

namespace {

constexpr double STANDSTILL = 1e-9;  // speed of the recorder's own clips: the first frames, and no more

std::int64_t Nanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

/// One link: a recorder's session, if it is for the library, and frames while its side has its turn.
class CFrameSession : public CSimSession {
public:
    CFrameSession(CSimLink& link, CLASSIC_STATE& state, LIVE_SHARED& shared, LIVE_SIDE side)
        : m_shared(shared), m_side(side), m_sender(link, state) {
        if (side == SIDE_LIBRARY) m_recorder.emplace(link, state);
    }

    void OnOpen(SIM_TIME now) override {
        m_next = now;
        if (m_recorder) m_recorder->OnOpen(now);
    }
    void OnSpoken() override {
        if (m_recorder) m_recorder->OnSpoken();
    }
    void OnMessage(SIM_BYTE_VIEW message, SIM_TIME now) override {
        if (m_recorder) m_recorder->OnMessage(message, now);
    }
    void OnBadInput() override { std::abort(); }
    SIM_TIME OnDue(SIM_TIME now) override {
        const SIM_TIME due = m_recorder ? m_recorder->OnDue(now) : SIM_TIME::max();
        for (; now >= m_next; m_next += std::chrono::milliseconds(LIVE_FRAME_INTERVAL)) {
            if (m_shared.side == m_side) SendFrame();
        }
        return std::min(due, m_next);
    }
    bool IsBlocked() const override { return false; }
    void OnClosed() override {
        if (m_recorder) m_recorder->OnClosed();
    }

private:
    void SendFrame() {
        CLASSIC_FRAME frame;
        frame.info.channel = 0;
        frame.info.keyFrame = 1;
        frame.info.frameType = FRAME_TYPE_VIDEO;
        frame.info.frameAttrib = LIVE_FRAME_FIRST_STREAM;
        frame.info.streamID = LIVE_STREAM_ID;
        frame.info.frameIndex = ++m_index;
        frame.info.length = LIVE_FRAME_BYTES;
        const std::int64_t now = Nanoseconds();
        std::memcpy(m_data, &now, sizeof(now));
        frame.data = m_data;
        m_sender.Send(frame);
    }

    LIVE_SHARED& m_shared;
    const LIVE_SIDE m_side;
    std::optional<CClassicSession> m_recorder;
    CFrameSender m_sender;
    SIM_TIME m_next{};
    tuint32 m_index = 1000;
    std::byte m_data[LIVE_FRAME_BYTES] = {};
};

std::shared_ptr<const CSimClip> LoadClip(const CLASSIC_RECORDER_CONFIG& config, const std::string& sName) {
    std::string sError;
    auto pClip = CSimClip::Load(FindMediaFolder(config.sMediaFolder) / sName, sError);
    if (pClip) return pClip;
    std::fprintf(stderr, "%s\n", sError.c_str());
    std::exit(1);
}

/// A device for one of the sides: its listening server with what its links share.
struct DEVICE {
    DEVICE(LIVE_SHARED& shared, LIVE_SIDE side) {
        state.config.channels = 1;
        state.config.speed = STANDSTILL;
        state.config.packLimit = 1 << 20;
        state.sources = {{LoadClip(state.config, state.config.firstClips[0])},
                         {LoadClip(state.config, state.config.secondClips[0])},
                         LoadClip(state.config, state.config.sSoundClip),
                         LoadClip(state.config, state.config.sJpegClip),
                         1};
        std::string sError;
        const auto maker = [&shared, side, this](CSimLink& link) {
            return std::make_unique<CFrameSession>(link, state, shared, side);
        };
        if (!server.Start("127.0.0.1", 0, maker, sError)) std::abort();
        shared.viewers[side].port = server.Port();
    }
    CLASSIC_STATE state;
    CSimServer server;  // its sessions use the state
};

}  // namespace

void LIVE_SHARED::VIEWER::Note(const unsigned char* pData) {
    std::int64_t sent = 0;
    std::memcpy(&sent, pData, sizeof(sent));
    delays[frames % delays.size()] = Nanoseconds() - sent;
    ++frames;
}

void RunFrameSource(LIVE_SHARED& shared) {
    DEVICE recorder(shared, SIDE_LIBRARY);
    DEVICE bare(shared, SIDE_MINIMAL);
    for (;;) pause();
}
