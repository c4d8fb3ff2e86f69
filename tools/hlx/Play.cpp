#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "Commands.h"
#include "Output.h"
#include "StreamRun.h"
#include "TimeText.h"

namespace {

using namespace std::chrono_literals;

constexpr int64_t MICROSECONDS = 1'000'000;

// Takes the frames of a playback on the library's thread: video goes on to the receiver with a running index of its own,
// since that of a recording counts frames of every kind.
class CPlaySink {
public:
    CPlaySink(CInterrupt& interrupt, CStreamReceiver& receiver, const PLAY_OPTIONS& play)
        : m_interrupt(interrupt), m_receiver(receiver), m_play(play), m_bWinding(play.bReverse) {}

    // The PLAY_DATA_CALLBACK; pUser is the sink.
    static void OnFrame(POINTERHANDLE lHandle, HLX_FRAME_INFO info, BYTE* pBuffer, void* pUser) {
        static_cast<CPlaySink*>(pUser)->Take(lHandle, info, pBuffer);
    }

    bool Ended() const { return m_bEnded; }

    // A playback in reverse is wound to its end first; what comes till then does not count. Called behind that end.
    void Turn() { m_bWinding = m_bEnded = false; }

    // How far it is wound, from 0 to 1.
    double Wound() const {
        const auto dBegin = static_cast<double>(*m_play.span.from);
        const double dDone = static_cast<double>(m_nWoundTo) / MICROSECONDS - dBegin;
        return std::clamp(dDone / (static_cast<double>(*m_play.span.to) - dBegin), 0.0, 1.0);
    }

private:
    void Take(POINTERHANDLE lHandle, HLX_FRAME_INFO& info, BYTE* pBuffer) {
        if (m_bEnded) return;
        const bool bVideo = info.frameType == DD_FRAME_TYPE_VIDEO;
        const bool bMedia = bVideo || info.frameType == DD_FRAME_TYPE_AUDIO;
        const bool bBefore = m_play.bReverse && !m_bWinding && bVideo && info.time < *m_play.span.from * MICROSECONDS;
        if (info.frameType == DD_FRAME_TYPE_END || bBefore) return End();
        if (m_bWinding && bVideo) m_nWoundTo = info.time;
        if (m_bWinding && bMedia) return;
        if (bVideo) info.frameIndex = m_dwIndex++;
        if (IsRepeated(info, pBuffer)) return;
        CStreamReceiver::OnFrame(lHandle, info, pBuffer, &m_receiver);
    }
    // The library puts a format ahead of each frame until the device tells one.
    bool IsRepeated(const HLX_FRAME_INFO& info, const BYTE* pBuffer) {
        const bool bVideo = info.frameType == DD_FRAME_TYPE_VIDEO_FORMAT;
        if (!bVideo && info.frameType != DD_FRAME_TYPE_AUDIO_FORMAT) return false;
        std::string& strTold = bVideo ? m_strVideo : m_strSound;
        const std::string strFormat(reinterpret_cast<const char*>(pBuffer), info.length);
        return std::exchange(strTold, strFormat) == strFormat;
    }
    void End() {
        m_bEnded = true;
        m_interrupt.Wake();
    }

    CInterrupt& m_interrupt;
    CStreamReceiver& m_receiver;
    const PLAY_OPTIONS& m_play;
    uint32_t m_dwIndex = 0;
    std::string m_strVideo;
    std::string m_strSound;
    std::atomic<bool> m_bWinding;
    std::atomic<int64_t> m_nWoundTo{0};  // time of a picture, microseconds since 1970
    std::atomic<bool> m_bEnded{false};
};

STREAM_ORDER OrderOf(const OPTIONS& options) {
    const PLAY_OPTIONS& play = options.play;
    return {options.connect.bJson, fmt::format("cannot play channel {}", play.lChannel), play.strOutput, play.stall};
}

// One playback from its start to its end.
class CPlayRun : public CStreamRun {
public:
    CPlayRun(const OPTIONS& options, CInterrupt& interrupt, CFrameWriter* pWriter)
        : CStreamRun(interrupt, OrderOf(options), pWriter),
          m_play(options.play),
          m_sink(interrupt, m_receiver, m_play) {}

private:
    POINTERHANDLE Start(const CSession& session) override;
    bool Begin(POINTERHANDLE lPlay) override;
    void Stop(POINTERHANDLE lPlay) override { HLX_StopPlayBack(lPlay); }
    STREAM_END OwnEnd(const SNAPSHOT&, Clock::time_point) const override {
        return m_sink.Ended() ? STREAM_END::RANGE_END : STREAM_END::NONE;
    }
    bool BeginAtEnd(POINTERHANDLE lPlay);

    const PLAY_OPTIONS& m_play;
    CPlaySink m_sink;
};

POINTERHANDLE CPlayRun::Start(const CSession& session) {
    const LONG lChannel = m_play.lChannel;
    const DD_TIME start = LibraryTime(*m_play.span.from);
    const DD_TIME stop = LibraryTime(*m_play.span.to);
    return HLX_PlayBackByTimeEx(session.UserID(), &lChannel, 1, &start, &stop, nullptr,
                                m_play.lStreamType == HLX_MAIN_STREAM);
}

// The first frames may be gone before the callback is set, so the playback is held and begins anew behind it.
bool CPlayRun::Begin(POINTERHANDLE lPlay) {
    const auto control = [&](DWORD dwCode, int64_t nValue) {
        return HLX_PlayBackControl(lPlay, dwCode, static_cast<DWORD>(nValue), nullptr);
    };
    const bool bBegun = control(HLX_PLAYCTRL_PAUSE, 0) && HLX_SetPlayDataCallBack(lPlay, CPlaySink::OnFrame, &m_sink) &&
                        control(HLX_PLAYCTRL_SETPOS, *m_play.span.from);
    if (!bBegun) return false;
    if (m_play.bReverse) return BeginAtEnd(lPlay);
    return m_play.dwSpeed == HLX_RPB_SPEED_1X || control(HLX_PLAYCTRL_FF, m_play.dwSpeed);
}

// A device goes back only to where it was told to begin, so the way to the end is played, too, as fast as can be.
bool CPlayRun::BeginAtEnd(POINTERHANDLE lPlay) {
    constexpr int64_t FASTEST = 32;
    if (!HLX_PlayBackControl(lPlay, HLX_PLAYCTRL_FF, HLX_RPB_SPEED_32X, nullptr)) return false;
    const auto way = std::chrono::seconds((*m_play.span.to - *m_play.span.from) / FASTEST);
    const auto limit = Clock::now() + 2 * way + m_play.stall;
    while (!m_sink.Ended() && m_interrupt.Signal() == 0 && Clock::now() < limit) {
        PrintFigures(fmt::format("winding to the end, {:3.0f} %", 100 * m_sink.Wound()));
        m_interrupt.Wait(100ms);
    }
    ClearFigures();
    m_sink.Turn();
    return HLX_PlayBackControl(lPlay, HLX_PLAYCTRL_RESUME, 0, nullptr) &&
           HLX_PlayBackControl(lPlay, HLX_PLAYCTRL_REW, m_play.dwSpeed, nullptr);
}

}  // namespace

EXIT_CODE RunPlay(const OPTIONS& options, CInterrupt& interrupt) {
    return RunVideo<CPlayRun>(options, interrupt, options.play.lChannel, options.play.strOutput);
}
