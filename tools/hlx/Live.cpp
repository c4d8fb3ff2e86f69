#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "Commands.h"
#include "LiveReceiver.h"
#include "LiveReport.h"
#include "Output.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = CLiveReceiver::Clock;

constexpr auto DRAIN_AFTER_SIGNAL = 2s;

LIVE_END EndOfError(int nErrno) { return nErrno == EPIPE ? LIVE_END::READER_GONE : LIVE_END::WRITE_FAILED; }

// One stream from its start to its end.
class CLiveRun {
public:
    CLiveRun(const OPTIONS& options, CInterrupt& interrupt, CFrameWriter* pWriter)
        : m_options(options),
          m_interrupt(interrupt),
          m_pWriter(pWriter),
          m_receiver(interrupt, pWriter, options.live.nFrames),
          m_report(options.connect.bJson) {}

    EXIT_CODE Run(const CSession& session);

private:
    LIVE_END Follow();
    LIVE_END EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now) const;
    void Drain();
    EXIT_CODE Tell(LIVE_END eEnd) const;

    const OPTIONS& m_options;
    CInterrupt& m_interrupt;
    CFrameWriter* const m_pWriter;
    CLiveReceiver m_receiver;
    CLiveReport m_report;
};

EXIT_CODE CLiveRun::Run(const CSession& session) {
    HLX_CLIENTINFO request{};
    request.lChannel = m_options.live.lChannel;
    request.streamType = m_options.live.lStreamType;
    request.bNoDecode = 1;
    const POINTERHANDLE lLive = HLX_LivePlay(session.UserID(), &request, CLiveReceiver::OnFrame, &m_receiver);
    if (lLive == 0 || lLive == -1) {
        return FailLast(m_options.connect.bJson, fmt::format("cannot open channel {}", m_options.live.lChannel));
    }
    LIVE_END eEnd = Follow();
    m_receiver.Close();
    if (m_pWriter) m_pWriter->CloseEntrance();  // frees the stream's thread, which stopping waits for
    HLX_StopLivePlay(lLive);
    if (m_pWriter) {
        Drain();
        if (m_pWriter->Error() != 0) eEnd = EndOfError(m_pWriter->Error());
    }
    const EXIT_CODE eExit = Tell(eEnd);
    m_report.End(eEnd, eExit, m_receiver.TakeSnapshot(), m_options.live.strOutput);
    return eExit == EXIT_OK ? PrintedExit(m_report.Error()) : eExit;
}

LIVE_END CLiveRun::Follow() {
    auto nextSecond = Clock::now() + 1s;
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
        if (!snapshot.bHeldUp) wake = std::min(wake, snapshot.ready + m_options.live.stall);
        if (!snapshot.bHeldUp && snapshot.first && m_options.live.length > 0ms)
            wake = std::min(wake, *snapshot.first + m_options.live.length);
        m_interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(wake - now));
    }
}

LIVE_END CLiveRun::EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now) const {
    const LIVE_OPTIONS& live = m_options.live;
    if (m_interrupt.Signal() != 0) return LIVE_END::SIGNAL;
    if (m_pWriter && m_pWriter->Error() != 0) return EndOfError(m_pWriter->Error());
    if (m_report.Error() != 0) return EndOfError(m_report.Error());
    if (snapshot.bNoMemory) return LIVE_END::NO_MEMORY;
    if (snapshot.bHeldUp) return LIVE_END::NONE;  // a frame that was counted is on its way to the writer
    if (snapshot.bComplete) return LIVE_END::FRAMES;
    if (snapshot.first && live.length > 0ms && now >= *snapshot.first + live.length) return LIVE_END::DURATION;
    if (now >= snapshot.ready + live.stall) return LIVE_END::STALLED;
    return LIVE_END::NONE;
}

// Lets the queued video out. A reader that takes nothing holds the end up till a signal, and after one for a moment.
void CLiveRun::Drain() {
    while (m_interrupt.Signal() == 0) {
        if (m_pWriter->Drain(100ms)) return;
    }
    if (!m_pWriter->Drain(DRAIN_AFTER_SIGNAL)) PrintNote("hlx: the reader did not take the last of the video");
}

// The exit code of an end, after telling those that a person must know of.
EXIT_CODE CLiveRun::Tell(LIVE_END eEnd) const {
    const bool bJson = m_options.connect.bJson;
    const int nErrno = m_pWriter && m_pWriter->Error() != 0 ? m_pWriter->Error() : m_report.Error();
    switch (eEnd) {
        case LIVE_END::SIGNAL:
            return SignalExitCode(m_interrupt.Signal());
        case LIVE_END::STALLED:
            return Fail(bJson, fmt::format("no frame came for {} s", m_options.live.stall.count() / 1000.0),
                        EXIT_TIMED_OUT);
        case LIVE_END::WRITE_FAILED:
            return Fail(bJson, fmt::format("writing failed: {}", strerror(nErrno)), EXIT_FAILED);
        case LIVE_END::NO_MEMORY:
            return Fail(bJson, ErrorRow(HLX_NORESOURCE).sSentence, EXIT_FAILED);
        default:
            return EXIT_OK;
    }
}

}  // namespace

int OpenVideoOutput(bool bJson, const std::string& strOutput) {
    if (strOutput == "-") return STDOUT_FILENO;
    const int nFd = open(strOutput.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (nFd >= 0) return nFd;
    Fail(bJson, fmt::format("cannot write {}: {}", strOutput, strerror(errno)), EXIT_FAILED);
    return -1;
}

EXIT_CODE RunLive(const OPTIONS& options, CInterrupt& interrupt) {
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    const EXIT_CODE eChannel = CheckChannel(session, options.connect, options.live.lChannel);
    if (eChannel != EXIT_OK) return eChannel;
    std::unique_ptr<CFrameWriter> writer;
    if (!options.live.strOutput.empty()) {
        const int nFd = OpenVideoOutput(options.connect.bJson, options.live.strOutput);
        if (nFd < 0) return EXIT_FAILED;
        writer = std::make_unique<CFrameWriter>(nFd, nFd != STDOUT_FILENO, [&interrupt] { interrupt.Wake(); });
    }
    return CLiveRun(options, interrupt, writer.get()).Run(session);
}
