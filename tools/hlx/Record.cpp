#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "LiveReport.h"
#include "Output.h"
#include "Recording.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = CLiveReceiver::Clock;

// What the library gathers before it writes; a file that does not change for longer cannot be written.
constexpr uint64_t MOST_FRAMES_UNSEEN = 100;
constexpr uint64_t MOST_BYTES_UNSEEN = 1u << 20;

// An errno when the file cannot be written. The library would tell its log only.
int CheckWritable(const std::string& strFile) {
    int nFd = open(strFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (nFd >= 0) {
        close(nFd);
        return unlink(strFile.c_str()) == 0 ? 0 : errno;
    }
    if (errno == EEXIST) nFd = open(strFile.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (nFd < 0) return errno;
    struct stat state {};
    const int nErrno = fstat(nFd, &state) != 0 ? errno : S_ISREG(state.st_mode) ? 0 : EINVAL;
    close(nFd);
    return nErrno;
}

// One recording from its start to its end.
class CRecordRun {
public:
    CRecordRun(const OPTIONS& options, CInterrupt& interrupt)
        : m_options(options),
          m_interrupt(interrupt),
          m_recording(interrupt, options.record.strOutput, options.record.length),
          m_report(options.connect.bJson) {}

    EXIT_CODE Run(const CSession& session);

private:
    LIVE_END Follow();
    LIVE_END EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now);
    bool IsStuck(const CLiveReceiver::SNAPSHOT& snapshot);
    EXIT_CODE Tell(LIVE_END eEnd) const;
    EXIT_CODE TellFile(const CLiveReceiver::SNAPSHOT& snapshot, EXIT_CODE eExit) const;

    const OPTIONS& m_options;
    CInterrupt& m_interrupt;
    CRecording m_recording;
    CLiveReport m_report;
    std::optional<RECORDED_FILE> m_fileSeen;  // with what had come when it last changed
    LIVE_FIGURES m_figuresSeen;
};

EXIT_CODE CRecordRun::Run(const CSession& session) {
    HLX_CLIENTINFO request{};
    request.lChannel = m_options.record.lChannel;
    request.streamType = m_options.record.lStreamType;
    request.bNoDecode = 1;
    const POINTERHANDLE lLive = HLX_LivePlay(session.UserID(), &request, CRecording::OnFrame, &m_recording);
    if (lLive == 0 || lLive == -1) {
        return FailLast(m_options.connect.bJson, fmt::format("cannot open channel {}", m_options.record.lChannel));
    }
    const LIVE_END eEnd = Follow();
    m_recording.Close();
    HLX_StopLivePlay(lLive);  // completes the file
    const EXIT_CODE eTold = Tell(eEnd);
    const CLiveReceiver::SNAPSHOT snapshot = m_recording.TakeSnapshot();
    const EXIT_CODE eExit = TellFile(snapshot, eTold);
    m_report.End(eEnd, eExit, snapshot, m_options.record.strOutput);
    return eExit == EXIT_OK ? PrintedExit(m_report.Error()) : eExit;
}

LIVE_END CRecordRun::Follow() {
    auto nextSecond = Clock::now() + 1s;
    for (;;) {
        const CLiveReceiver::SNAPSHOT snapshot = m_recording.TakeSnapshot();
        m_report.Formats(snapshot);
        const auto now = Clock::now();
        if (const LIVE_END eEnd = EndOf(snapshot, now); eEnd != LIVE_END::NONE) return eEnd;
        if (now >= nextSecond) {
            if (IsStuck(snapshot)) return LIVE_END::WRITE_FAILED;
            m_report.Second(snapshot);
            nextSecond += 1s;
        }
        m_interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(nextSecond - now));
    }
}

LIVE_END CRecordRun::EndOf(const CLiveReceiver::SNAPSHOT& snapshot, Clock::time_point now) {
    switch (m_recording.End()) {
        case CRecording::END::LENGTH:
            return LIVE_END::DURATION;
        case CRecording::END::FORMAT:
            return LIVE_END::FORMAT_CHANGED;
        case CRecording::END::REFUSED:
            return LIVE_END::WRITE_FAILED;
        default:
            break;
    }
    if (m_interrupt.Signal() != 0) return LIVE_END::SIGNAL;
    if (m_report.Error() != 0) return m_report.Error() == EPIPE ? LIVE_END::READER_GONE : LIVE_END::WRITE_FAILED;
    if (snapshot.bNoMemory) return LIVE_END::NO_MEMORY;
    return now >= snapshot.ready + m_options.record.stall ? LIVE_END::STALLED : LIVE_END::NONE;
}

// True when frames come and the file does not change.
bool CRecordRun::IsStuck(const CLiveReceiver::SNAPSHOT& snapshot) {
    const auto file = ReadRecorded(m_options.record.strOutput);
    const bool bChanged = file && (!m_fileSeen || file->nBytes != m_fileSeen->nBytes) && !file->bComplete;
    if (bChanged) {
        m_fileSeen = file;
        m_figuresSeen = snapshot.figures;
    }
    const LIVE_FIGURES unseen = snapshot.figures - m_figuresSeen;
    return unseen.nFrames > MOST_FRAMES_UNSEEN && (!file || unseen.nBytes > MOST_BYTES_UNSEEN);
}

// The exit code of an end, after telling those that a person must know of.
EXIT_CODE CRecordRun::Tell(LIVE_END eEnd) const {
    const bool bJson = m_options.connect.bJson;
    switch (eEnd) {
        case LIVE_END::SIGNAL:
            return SignalExitCode(m_interrupt.Signal());
        case LIVE_END::STALLED:
            return Fail(bJson, fmt::format("no frame came for {} s", m_options.record.stall.count() / 1000.0),
                        EXIT_TIMED_OUT);
        case LIVE_END::FORMAT_CHANGED:
            return Fail(bJson, "the picture's size changed; what came before is in the file", EXIT_FAILED);
        case LIVE_END::WRITE_FAILED:
            if (m_report.Error() != 0)
                return Fail(bJson, fmt::format("writing failed: {}", strerror(m_report.Error())), EXIT_FAILED);
            if (m_recording.Error() != 0) return Fail(bJson, "cannot record", ErrorRow(m_recording.Error()));
            return Fail(bJson, m_options.record.strOutput + " cannot be written any more", EXIT_FAILED);
        case LIVE_END::NO_MEMORY:
            return Fail(bJson, ErrorRow(HLX_NORESOURCE).sSentence, EXIT_FAILED);
        default:
            return EXIT_OK;
    }
}

// Looks at what was written, and fails for a file that is missing or not whole.
EXIT_CODE CRecordRun::TellFile(const CLiveReceiver::SNAPSHOT& snapshot, EXIT_CODE eExit) const {
    const bool bJson = m_options.connect.bJson;
    const std::string& strFile = m_options.record.strOutput;
    const auto file = snapshot.first ? ReadRecorded(strFile) : std::nullopt;
    if (!file) {
        const EXIT_CODE eNone = Fail(bJson, "nothing was recorded", EXIT_FAILED);
        return eExit == EXIT_OK ? eNone : eExit;
    }
    if (bJson) {
        PrintJson({{"event", "file"},
                   {"output", strFile},
                   {"complete", file->bComplete},
                   {"seconds", file->dSeconds},
                   {"frames", file->nFrames},
                   {"bytes", file->nBytes}});
    } else {
        PrintNote(fmt::format("{}: {:.2f} s, {} frames, {}", strFile, file->dSeconds, file->nFrames,
                              BytesText(file->nBytes)));
    }
    if (!file->bComplete)
        return Fail(bJson, strFile + " could not be completed; hlx repair gives it its index", EXIT_FAILED);
    if (file->nFrames >= snapshot.figures.nFrames) return eExit;
    return Fail(
        bJson, fmt::format("{} of the {} frames that came are in {}", file->nFrames, snapshot.figures.nFrames, strFile),
        EXIT_FAILED);
}

}  // namespace

EXIT_CODE RunRecord(const OPTIONS& options, CInterrupt& interrupt) {
    const std::string& strFile = options.record.strOutput;
    if (const int nErrno = CheckWritable(strFile); nErrno != 0)
        return Fail(options.connect.bJson, fmt::format("cannot write {}: {}", strFile, strerror(nErrno)), EXIT_FAILED);
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    const EXIT_CODE eChannel = CheckChannel(session, options.connect, options.record.lChannel);
    if (eChannel != EXIT_OK) return eChannel;
    return CRecordRun(options, interrupt).Run(session);
}
