#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include "Commands.h"
#include "LiveReceiver.h"
#include "LiveReport.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

using namespace std::chrono_literals;
using Clock = CLiveReceiver::Clock;

constexpr auto DRAIN_AFTER_SIGNAL = 2s;
constexpr int64_t MICROSECONDS = 1'000'000;

// Takes the frames of a playback on the library's thread: video goes on to the receiver with a running index of its own,
// since that of a recording counts frames of every kind.
class CPlaySink {
public:
    CPlaySink(CInterrupt& interrupt, CLiveReceiver& receiver, const PLAY_OPTIONS& play)
        : m_interrupt(interrupt), m_receiver(receiver), m_play(play), m_bWinding(play.bReverse) {}

    // The PLAY_DATA_CALLBACK; pUser is the sink.
    static void OnFrame(POINTERHANDLE lHandle, HLX_FRAME_INFO info, BYTE* pBuffer, void* pUser) {
        static_cast<CPlaySink*>(pUser)->Take(lHandle, info, pBuffer);
    }

    bool Ended() const { return m_bEnded; }

    // A playback in reverse is wound to its end first; what comes till then is not shown. Called behind that end.
    void Turn() { m_bWinding = m_bEnded = false; }

private:
    void Take(POINTERHANDLE lHandle, HLX_FRAME_INFO& info, BYTE* pBuffer) {
        if (m_bEnded) return;
        const bool bVideo = info.frameType == DD_FRAME_TYPE_VIDEO;
        const bool bBefore = m_play.bReverse && !m_bWinding && bVideo && info.time < *m_play.span.from * MICROSECONDS;
        if (info.frameType == DD_FRAME_TYPE_END || bBefore) return End();
        if (m_bWinding && bVideo) return;
        if (bVideo) info.frameIndex = m_dwIndex++;
        if (IsRepeated(info, pBuffer)) return;
        CLiveReceiver::OnFrame(lHandle, info, pBuffer, &m_receiver);
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
    CLiveReceiver& m_receiver;
    const PLAY_OPTIONS& m_play;
    uint32_t m_dwIndex = 0;
    std::string m_strVideo;
    std::string m_strSound;
    std::atomic<bool> m_bWinding;
    std::atomic<bool> m_bEnded{false};
};

LIVE_END EndOfError(int nErrno) { return nErrno == EPIPE ? LIVE_END::READER_GONE : LIVE_END::WRITE_FAILED; }

// One playback from its start to its end.
class CPlayRun {
public:
    CPlayRun(const OPTIONS& options, CInterrupt& interrupt, CFrameWriter* pWriter)
        : m_options(options),
          m_play(options.play),
          m_interrupt(interrupt),
          m_pWriter(pWriter),
          m_receiver(interrupt, pWriter, 0),
          m_sink(interrupt, m_receiver, m_play),
          m_report(options.connect.bJson) {}

    EXIT_CODE Run(const CSession& session);

private:
    POINTERHANDLE Start(const CSession& session);
    bool Begin(POINTERHANDLE lPlay);
    bool BeginAtEnd(POINTERHANDLE lPlay);
    LIVE_END Follow();
    LIVE_END EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now) const;
    LIVE_END Finish(POINTERHANDLE lPlay, LIVE_END eEnd);
    EXIT_CODE Tell(LIVE_END eEnd) const;

    const OPTIONS& m_options;
    const PLAY_OPTIONS& m_play;
    CInterrupt& m_interrupt;
    CFrameWriter* const m_pWriter;
    CLiveReceiver m_receiver;
    CPlaySink m_sink;
    CLiveReport m_report;
    Clock::time_point m_begun;  // since when frames are waited for
};

EXIT_CODE CPlayRun::Run(const CSession& session) {
    const bool bJson = m_options.connect.bJson;
    const POINTERHANDLE lPlay = Start(session);
    if (lPlay <= 0) return FailLast(bJson, fmt::format("cannot play channel {}", m_play.lChannel));
    if (!Begin(lPlay)) {
        const EXIT_CODE eExit = FailLast(bJson, fmt::format("cannot play channel {}", m_play.lChannel));
        Finish(lPlay, LIVE_END::STALLED);
        return eExit;
    }
    const LIVE_END eEnd = Finish(lPlay, Follow());
    const EXIT_CODE eExit = Tell(eEnd);
    m_report.End(eEnd, eExit, m_receiver.TakeSnapshot(), m_play.strOutput);
    return eExit == EXIT_OK ? PrintedExit(m_report.Error()) : eExit;
}

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
    while (!m_sink.Ended() && m_interrupt.Signal() == 0 && Clock::now() < limit) m_interrupt.Wait(100ms);
    m_sink.Turn();
    return HLX_PlayBackControl(lPlay, HLX_PLAYCTRL_RESUME, 0, nullptr) &&
           HLX_PlayBackControl(lPlay, HLX_PLAYCTRL_REW, m_play.dwSpeed, nullptr);
}

LIVE_END CPlayRun::Follow() {
    m_begun = Clock::now();
    auto nextSecond = m_begun + 1s;
    for (;;) {
        const CLiveReceiver::SNAPSHOT snapshot = m_receiver.TakeSnapshot();
        m_report.Formats(snapshot);
        const auto now = Clock::now();
        const LIVE_END eEnd = EndOf(snapshot, now);
        if (eEnd != LIVE_END::NONE) return eEnd;
        if (now >= nextSecond) {
            m_report.Second(snapshot);
            nextSecond += 1s;
        }
        auto wake = nextSecond;
        if (!snapshot.bHeldUp) wake = std::min(wake, std::max(snapshot.ready, m_begun) + m_play.stall);
        m_interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(wake - now));
    }
}

LIVE_END CPlayRun::EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now) const {
    if (m_interrupt.Signal() != 0) return LIVE_END::SIGNAL;
    if (m_pWriter && m_pWriter->Error() != 0) return EndOfError(m_pWriter->Error());
    if (m_report.Error() != 0) return EndOfError(m_report.Error());
    if (snapshot.bNoMemory) return LIVE_END::NO_MEMORY;
    if (m_sink.Ended()) return LIVE_END::RANGE_END;
    if (!snapshot.bHeldUp && now >= std::max(snapshot.ready, m_begun) + m_play.stall) return LIVE_END::STALLED;
    return LIVE_END::NONE;
}

// Stops and lets the queued video out; a reader that takes nothing holds the end up till a signal.
LIVE_END CPlayRun::Finish(POINTERHANDLE lPlay, LIVE_END eEnd) {
    m_receiver.Close();
    if (m_pWriter) m_pWriter->CloseEntrance();  // frees the library's thread, which stopping waits for
    HLX_StopPlayBack(lPlay);
    if (!m_pWriter) return eEnd;
    bool bOut = false;
    while (!bOut && m_interrupt.Signal() == 0) bOut = m_pWriter->Drain(100ms);
    if (!bOut && !m_pWriter->Drain(DRAIN_AFTER_SIGNAL)) PrintNote("hlx: the reader did not take the last of the video");
    return m_pWriter->Error() != 0 ? EndOfError(m_pWriter->Error()) : eEnd;
}

EXIT_CODE CPlayRun::Tell(LIVE_END eEnd) const {
    const bool bJson = m_options.connect.bJson;
    const int nErrno = m_pWriter && m_pWriter->Error() != 0 ? m_pWriter->Error() : m_report.Error();
    switch (eEnd) {
        case LIVE_END::SIGNAL:
            return SignalExitCode(m_interrupt.Signal());
        case LIVE_END::STALLED:
            return Fail(bJson, fmt::format("no frame came for {} s", m_play.stall.count() / 1000.0), EXIT_TIMED_OUT);
        case LIVE_END::WRITE_FAILED:
            return Fail(bJson, fmt::format("writing failed: {}", strerror(nErrno)), EXIT_FAILED);
        case LIVE_END::NO_MEMORY:
            return Fail(bJson, ErrorRow(HLX_NORESOURCE).sSentence, EXIT_FAILED);
        default:
            return EXIT_OK;
    }
}

}  // namespace

EXIT_CODE RunPlay(const OPTIONS& options, CInterrupt& interrupt) {
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    const EXIT_CODE eChannel = CheckChannel(session, options.connect, options.play.lChannel);
    if (eChannel != EXIT_OK) return eChannel;
    std::unique_ptr<CFrameWriter> writer;
    if (!options.play.strOutput.empty()) {
        const int nFd = OpenVideoOutput(options.connect.bJson, options.play.strOutput);
        if (nFd < 0) return EXIT_FAILED;
        writer = std::make_unique<CFrameWriter>(nFd, nFd != STDOUT_FILENO, [&interrupt] { interrupt.Wake(); });
    }
    return CPlayRun(options, interrupt, writer.get()).Run(session);
}
