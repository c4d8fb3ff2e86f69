#include "StreamRun.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Output.h"

namespace {

using namespace std::chrono_literals;

constexpr auto DRAIN_AFTER_SIGNAL = 2s;

STREAM_END EndOfError(int nErrno) { return nErrno == EPIPE ? STREAM_END::READER_GONE : STREAM_END::WRITE_FAILED; }

}  // namespace

CStreamRun::CStreamRun(CInterrupt& interrupt, STREAM_ORDER order, CFrameWriter* pWriter)
    : m_interrupt(interrupt),
      m_order(std::move(order)),
      m_receiver(interrupt, pWriter, m_order.nFrames),
      m_pWriter(pWriter),
      m_report(m_order.bJson) {}

EXIT_CODE CStreamRun::Run(const CSession& session) {
    const POINTERHANDLE lStream = Start(session);
    const bool bStarted = lStream != 0 && lStream != -1;
    if (!bStarted || !Begin(lStream)) {
        const EXIT_CODE eExit = FailLast(m_order.bJson, m_order.strCannot);
        if (bStarted) Finish(lStream);
        return eExit;
    }
    STREAM_END eEnd = Follow();
    Finish(lStream);
    if (WriterError() != 0) eEnd = EndOfError(WriterError());
    const SNAPSHOT snapshot = m_receiver.TakeSnapshot();
    const EXIT_CODE eExit = Tell(eEnd, snapshot);
    m_report.End(eEnd, eExit, snapshot, m_order.strOutput);
    return eExit == EXIT_OK ? PrintedExit(m_report.Error()) : eExit;
}

STREAM_END CStreamRun::Follow() {
    m_begun = Clock::now();
    auto nextSecond = m_begun + 1s;
    for (;;) {
        const SNAPSHOT snapshot = m_receiver.TakeSnapshot();
        m_report.Formats(snapshot);
        const auto now = Clock::now();
        if (const STREAM_END eEnd = EndOf(snapshot, now); eEnd != STREAM_END::NONE) return eEnd;
        if (now >= nextSecond) {
            if (IsStuck(snapshot)) return STREAM_END::WRITE_FAILED;
            m_report.Second(snapshot);
            nextSecond += 1s;
        }
        const auto wake = std::min({nextSecond, GivenUpAt(snapshot), OwnDue(snapshot)});
        m_interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(wake - now));
    }
}

STREAM_END CStreamRun::EndOf(const SNAPSHOT& snapshot, Clock::time_point now) const {
    if (m_interrupt.Signal() != 0) return STREAM_END::SIGNAL;
    if (WriterError() != 0) return EndOfError(WriterError());
    if (m_report.Error() != 0) return EndOfError(m_report.Error());
    if (snapshot.bNoMemory) return STREAM_END::NO_MEMORY;
    if (const STREAM_END eEnd = OwnEnd(snapshot, now); eEnd != STREAM_END::NONE) return eEnd;
    return now >= GivenUpAt(snapshot) ? STREAM_END::STALLED : STREAM_END::NONE;
}

CStreamRun::Clock::time_point CStreamRun::GivenUpAt(const SNAPSHOT& snapshot) const {
    return snapshot.bHeldUp ? Clock::time_point::max() : std::max(snapshot.ready, m_begun) + m_order.stall;
}

void CStreamRun::Finish(POINTERHANDLE lStream) {
    m_receiver.Close();
    if (m_pWriter) m_pWriter->CloseEntrance();  // frees the library's thread, which stopping waits for
    Stop(lStream);
    if (m_pWriter) Drain();
}

// Lets the queued video out. A reader that takes nothing holds the end up till a signal, and after one for a moment.
void CStreamRun::Drain() {
    while (m_interrupt.Signal() == 0) {
        if (m_pWriter->Drain(100ms)) return;
    }
    if (!m_pWriter->Drain(DRAIN_AFTER_SIGNAL)) PrintNote("hlx: the reader did not take the last of the video");
}

EXIT_CODE CStreamRun::Tell(STREAM_END eEnd, const SNAPSHOT&) const {
    const int nErrno = WriterError() != 0 ? WriterError() : m_report.Error();
    switch (eEnd) {
        case STREAM_END::SIGNAL:
            return SignalExitCode(m_interrupt.Signal());
        case STREAM_END::STALLED:
            return Fail(m_order.bJson, fmt::format("no frame came for {} s", m_order.stall.count() / 1000.0),
                        EXIT_TIMED_OUT);
        case STREAM_END::WRITE_FAILED:
            return Fail(m_order.bJson,
                        nErrno != 0 ? fmt::format("writing failed: {}", strerror(nErrno))
                                    : m_order.strOutput + " cannot be written any more",
                        EXIT_FAILED);
        case STREAM_END::NO_MEMORY:
            return Fail(m_order.bJson, ErrorRow(HLX_NORESOURCE).sSentence, EXIT_FAILED);
        default:
            return EXIT_OK;
    }
}

std::unique_ptr<CFrameWriter> OpenVideoOutput(bool bJson, const std::string& strOutput, CInterrupt& interrupt,
                                              EXIT_CODE& eExit) {
    if (strOutput.empty()) return nullptr;
    const bool bFile = strOutput != "-";
    const int nFd = bFile ? open(strOutput.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644) : STDOUT_FILENO;
    if (nFd >= 0) return std::make_unique<CFrameWriter>(nFd, bFile, [&interrupt] { interrupt.Wake(); });
    eExit = Fail(bJson, fmt::format("cannot write {}: {}", strOutput, strerror(errno)), EXIT_FAILED);
    return nullptr;
}
