#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Recording.h"
#include "StreamRun.h"

namespace {

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

STREAM_ORDER OrderOf(const OPTIONS& options) {
    const RECORD_OPTIONS& record = options.record;
    return {options.connect.bJson, fmt::format("cannot open channel {}", record.lChannel), record.strOutput,
            record.stall};
}

// One recording from its start to its end.
class CRecordRun : public CStreamRun {
public:
    CRecordRun(const OPTIONS& options, CInterrupt& interrupt)
        : CStreamRun(interrupt, OrderOf(options), nullptr),
          m_record(options.record),
          m_recording(interrupt, m_receiver, options.record.strOutput, options.record.length) {}

private:
    POINTERHANDLE Start(const CSession& session) override {
        return StartLive(session, m_record.lChannel, m_record.lStreamType, CRecording::OnFrame, &m_recording);
    }
    void Stop(POINTERHANDLE lStream) override { HLX_StopLivePlay(lStream); }  // completes the file
    STREAM_END OwnEnd(const SNAPSHOT& snapshot, Clock::time_point now) const override;
    bool IsStuck(const SNAPSHOT& snapshot) override;
    EXIT_CODE Tell(STREAM_END eEnd, const SNAPSHOT& snapshot) const override;
    EXIT_CODE TellEnd(STREAM_END eEnd, const SNAPSHOT& snapshot) const;
    EXIT_CODE TellFile(const SNAPSHOT& snapshot, EXIT_CODE eExit) const;

    const RECORD_OPTIONS& m_record;
    CRecording m_recording;
    std::optional<RECORDED_FILE> m_fileSeen;  // with what had come when it last changed
    STREAM_FIGURES m_figuresSeen;
};

STREAM_END CRecordRun::OwnEnd(const SNAPSHOT&, Clock::time_point) const {
    switch (m_recording.End()) {
        case CRecording::END::LENGTH:
            return STREAM_END::DURATION;
        case CRecording::END::FORMAT:
            return STREAM_END::FORMAT_CHANGED;
        case CRecording::END::REFUSED:
            return STREAM_END::WRITE_FAILED;
        default:
            return STREAM_END::NONE;
    }
}

// True when frames come and the file does not change.
bool CRecordRun::IsStuck(const SNAPSHOT& snapshot) {
    const auto file = ReadRecorded(m_record.strOutput);
    const bool bChanged = file && (!m_fileSeen || file->nBytes != m_fileSeen->nBytes) && !file->bComplete;
    if (bChanged) {
        m_fileSeen = file;
        m_figuresSeen = snapshot.figures;
    }
    const STREAM_FIGURES unseen = snapshot.figures - m_figuresSeen;
    return unseen.nFrames > MOST_FRAMES_UNSEEN && (!file || unseen.nBytes > MOST_BYTES_UNSEEN);
}

EXIT_CODE CRecordRun::Tell(STREAM_END eEnd, const SNAPSHOT& snapshot) const {
    return TellFile(snapshot, TellEnd(eEnd, snapshot));
}

EXIT_CODE CRecordRun::TellEnd(STREAM_END eEnd, const SNAPSHOT& snapshot) const {
    const bool bJson = m_order.bJson;
    if (eEnd == STREAM_END::FORMAT_CHANGED)
        return Fail(bJson, "the picture's size changed; what came before is in the file", EXIT_FAILED);
    if (m_recording.Error() != 0) return Fail(bJson, "cannot record", ErrorRow(m_recording.Error()));
    return CStreamRun::Tell(eEnd, snapshot);
}

// Looks at what was written, and fails for a file that is missing or not whole.
EXIT_CODE CRecordRun::TellFile(const SNAPSHOT& snapshot, EXIT_CODE eExit) const {
    const bool bJson = m_order.bJson;
    const std::string& strFile = m_record.strOutput;
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
    const EXIT_CODE eExit = session.Open(options.connect, options.record.lChannel);
    return eExit == EXIT_OK ? CRecordRun(options, interrupt).Run(session) : eExit;
}
