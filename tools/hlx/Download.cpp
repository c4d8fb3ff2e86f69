#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Convert.h"
#include "DateText.h"
#include "DownloadReceiver.h"
#include "Listing.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

using namespace std::chrono_literals;
using Clock = CDownloadReceiver::Clock;
using SNAPSHOT = CDownloadReceiver::SNAPSHOT;

constexpr int64_t SECOND = 1'000'000;  // microseconds
constexpr auto LOOK = 100ms;           // between two looks at the link
constexpr auto LAST_FRAMES_WAIT = 5s;  // for an end behind the stop time
constexpr int POSITION_OFFLINE = 200;
constexpr size_t BAR_WIDTH = 24;

enum class DOWNLOAD_END { NONE, COMPLETE, ENDED_EARLY, DEVICE_LOST, STALLED, INTERRUPTED, WRITE_FAILED };

struct DOWNLOAD_STATE {
    const char* sName;
    const char* sSentence;
    EXIT_CODE eExit;
};

// The exit code of an interruption is that of its signal.
constexpr DOWNLOAD_STATE STATES[] = {
    {"none", "", EXIT_OK},
    {"complete", "complete", EXIT_OK},
    {"recording ended early", "the recording ended before the time asked for", EXIT_ENDED_EARLY},
    {"device lost", "the device was lost", EXIT_UNREACHABLE},
    {"stalled", "the device stopped sending", EXIT_TIMED_OUT},
    {"interrupted", "interrupted", EXIT_INTERRUPTED},
    {"write failed", "writing failed", EXIT_FAILED},
};
static_assert(std::size(STATES) == static_cast<size_t>(DOWNLOAD_END::WRITE_FAILED) + 1);

// "x.avi.part" would be taken for an AVI file: what comes is in the library's own format.
std::string PartName(const DOWNLOAD_OPTIONS& download) {
    if (!download.bAvi) return download.strOutput + ".part";
    return download.strOutput.substr(0, download.strOutput.size() - strlen(".avi")) + ".hlx.part";
}

std::string LeftText(double dSeconds) {
    const auto nLeft = static_cast<int64_t>(std::min(dSeconds, 359999.0));
    return nLeft < 3600 ? fmt::format("{}:{:02}", nLeft / 60, nLeft % 60)
                        : fmt::format("{}:{:02}:{:02}", nLeft / 3600, nLeft / 60 % 60, nLeft % 60);
}

// One download from its start to its end.
class CDownloadRun {
public:
    CDownloadRun(const OPTIONS& options, CInterrupt& interrupt)
        : m_options(options),
          m_download(options.download),
          m_interrupt(interrupt),
          m_strPart(PartName(options.download)),
          m_receiver(interrupt) {}

    EXIT_CODE Run(const CSession& session);

private:
    POINTERHANDLE Begin(const CSession& session);
    DOWNLOAD_END Follow(POINTERHANDLE lHandle);
    DOWNLOAD_END EndOf(const SNAPSHOT& snapshot, POINTERHANDLE lHandle) const;
    bool IsBehindStop(const SNAPSHOT& snapshot) const { return snapshot.nLast / SECOND >= *m_download.span.to; }
    void ShowProgress(const SNAPSHOT& snapshot);
    double Share(const SNAPSHOT& snapshot) const;
    DOWNLOAD_END Keep(DOWNLOAD_END eEnd);
    EXIT_CODE Tell(DOWNLOAD_END eEnd) const;
    EXIT_CODE TellJson(DOWNLOAD_END eEnd, EXIT_CODE eExit) const;

    const OPTIONS& m_options;
    const DOWNLOAD_OPTIONS& m_download;
    CInterrupt& m_interrupt;
    const std::string m_strPart;
    CDownloadReceiver m_receiver;
    const Clock::time_point m_start = Clock::now();
    int m_nErrno = 0;                  // of what failed here
    int m_nPrintErrno = 0;             // of a write to standard output
    std::vector<std::string> m_files;  // whole ones
    CONVERT_END m_eConverted = CONVERT_END::WHOLE;
};

POINTERHANDLE CDownloadRun::Begin(const CSession& session) {
    const DD_TIME start = LibraryTime(*m_download.span.from);
    const DD_TIME stop = LibraryTime(*m_download.span.to);
    return HLX_GetFileByTimeExV2(session.UserID(), static_cast<LONG>(m_download.lChannel), &start, &stop, nullptr, 1,
                                 !m_download.bSub, 1, CDownloadReceiver::OnData, &m_receiver);
}

EXIT_CODE CDownloadRun::Run(const CSession& session) {
    const bool bJson = m_options.connect.bJson;
    if (std::error_code error; std::filesystem::is_directory(m_download.strOutput, error))
        return Fail(bJson, fmt::format("cannot write {}: {}", m_download.strOutput, strerror(EISDIR)), EXIT_FAILED);
    if (const int nErrno = m_receiver.Open(m_strPart); nErrno != 0)
        return Fail(bJson, fmt::format("cannot write {}: {}", m_strPart, strerror(nErrno)), EXIT_FAILED);
    const POINTERHANDLE lHandle = Begin(session);
    if (lHandle <= 0) {
        const EXIT_CODE eExit = FailLast(bJson, fmt::format("cannot download channel {}", m_download.lChannel));
        m_receiver.Close();
        unlink(m_strPart.c_str());
        return eExit;
    }
    DOWNLOAD_END eEnd = Follow(lHandle);
    HLX_StopGetFile(lHandle);
    m_nErrno = m_receiver.Close();
    ClearFigures();
    if (m_nErrno != 0) eEnd = DOWNLOAD_END::WRITE_FAILED;
    return Tell(Keep(eEnd));
}

DOWNLOAD_END CDownloadRun::Follow(POINTERHANDLE lHandle) {
    auto nextSecond = Clock::now() + 1s;
    for (;;) {
        const SNAPSHOT snapshot = m_receiver.TakeSnapshot();
        if (const DOWNLOAD_END eEnd = EndOf(snapshot, lHandle); eEnd != DOWNLOAD_END::NONE) return eEnd;
        if (Clock::now() >= nextSecond) {
            m_receiver.Flush();
            ShowProgress(snapshot);
            nextSecond += 1s;
        }
        m_interrupt.Wait(LOOK);
    }
}

// What came is looked at first: a device that is lost behind the end does no harm.
DOWNLOAD_END CDownloadRun::EndOf(const SNAPSHOT& snapshot, POINTERHANDLE lHandle) const {
    if (snapshot.nErrno != 0) return DOWNLOAD_END::WRITE_FAILED;
    if (snapshot.bEnd) {
        const bool bEarly = *m_download.span.to > snapshot.nLast / SECOND + 1;
        return bEarly ? DOWNLOAD_END::ENDED_EARLY : DOWNLOAD_END::COMPLETE;
    }
    if (m_interrupt.Signal() != 0) return DOWNLOAD_END::INTERRUPTED;
    const auto silence = Clock::now() - snapshot.came;
    if (IsBehindStop(snapshot)) return silence >= LAST_FRAMES_WAIT ? DOWNLOAD_END::COMPLETE : DOWNLOAD_END::NONE;
    if (HLX_GetDownloadPos(lHandle) == POSITION_OFFLINE) {
        // The end may have come meanwhile.
        const SNAPSHOT last = m_receiver.TakeSnapshot();
        return last.bEnd ? EndOf(last, lHandle) : DOWNLOAD_END::DEVICE_LOST;
    }
    return silence >= m_download.stall ? DOWNLOAD_END::STALLED : DOWNLOAD_END::NONE;
}

// Of the time asked for, from 0 to 1.
double CDownloadRun::Share(const SNAPSHOT& snapshot) const {
    const auto dFrom = static_cast<double>(*m_download.span.from);
    const auto dTo = static_cast<double>(*m_download.span.to);
    const double dDone = static_cast<double>(snapshot.nLast) / SECOND - dFrom;
    return snapshot.nLast == 0 ? 0 : std::clamp(dDone / (dTo - dFrom), 0.0, 1.0);
}

void CDownloadRun::ShowProgress(const SNAPSHOT& snapshot) {
    const double dShare = Share(snapshot);
    const double dPassed = std::chrono::duration<double>(Clock::now() - m_start).count();
    const double dLeft = dShare > 0 ? dPassed * (1 - dShare) / dShare : 0;
    if (!m_options.connect.bJson) {
        const auto nBar = static_cast<size_t>(dShare * BAR_WIDTH);
        return PrintFigures(
            fmt::format("[{:<{}}] {:3.0f} %  {:>9}  {:>9}/s  {} left", std::string(nBar, '#'), BAR_WIDTH, dShare * 100,
                        BytesText(snapshot.nBytes),
                        BytesText(static_cast<uint64_t>(static_cast<double>(snapshot.nBytes) / dPassed)),
                        dShare > 0 ? LeftText(dLeft) : "?"));
    }
    nlohmann::ordered_json record = {{"event", "progress"},
                                     {"percent", static_cast<int>(dShare * 100)},
                                     {"frames", snapshot.nFrames},
                                     {"bytes", snapshot.nBytes}};
    if (dShare > 0) record["secondsLeft"] = static_cast<int64_t>(dLeft);
    if (m_nPrintErrno == 0) m_nPrintErrno = PrintJson(record);
}

// A whole recording gets its name, or becomes AVI files.
DOWNLOAD_END CDownloadRun::Keep(DOWNLOAD_END eEnd) {
    if (eEnd != DOWNLOAD_END::COMPLETE && eEnd != DOWNLOAD_END::ENDED_EARLY) return eEnd;
    if (!m_download.bAvi) {
        m_nErrno = std::rename(m_strPart.c_str(), m_download.strOutput.c_str()) == 0 ? 0 : errno;
        if (m_nErrno != 0) return DOWNLOAD_END::WRITE_FAILED;
        m_files.push_back(m_download.strOutput);
        return eEnd;
    }
    const CONVERTED result = ConvertFrames(m_strPart, m_download.strOutput, m_interrupt);
    m_files = result.files;
    m_eConverted = result.eEnd;
    m_nErrno = result.nErrno;
    if (result.eEnd == CONVERT_END::INTERRUPTED) return DOWNLOAD_END::INTERRUPTED;
    // Without the end frame where the stop time was passed: all that was asked for is there.
    if (result.eEnd != CONVERT_END::WHOLE && result.eEnd != CONVERT_END::CUT) return DOWNLOAD_END::WRITE_FAILED;
    m_eConverted = CONVERT_END::WHOLE;
    unlink(m_strPart.c_str());
    return eEnd;
}

EXIT_CODE CDownloadRun::Tell(DOWNLOAD_END eEnd) const {
    const DOWNLOAD_STATE& state = STATES[static_cast<size_t>(eEnd)];
    const bool bWhole = eEnd == DOWNLOAD_END::COMPLETE || eEnd == DOWNLOAD_END::ENDED_EARLY;
    const EXIT_CODE eExit = eEnd == DOWNLOAD_END::INTERRUPTED ? SignalExitCode(m_interrupt.Signal()) : state.eExit;
    std::string strText = state.sSentence;
    if (eEnd == DOWNLOAD_END::ENDED_EARLY)
        strText += fmt::format(", at {} (local time here)", ShortTimeText(m_receiver.TakeSnapshot().nLast / SECOND));
    if (eEnd == DOWNLOAD_END::WRITE_FAILED)
        strText += fmt::format(": {}", m_nErrno != 0 ? strerror(m_nErrno) : ConvertState(m_eConverted));
    if (!bWhole) strText += fmt::format("; what came stands in {}, which hlx convert reads", m_strPart);
    if (m_options.connect.bJson) return TellJson(eEnd, eExit);
    if (bWhole) {
        for (const std::string& strFile : m_files) strText += "; written to " + strFile;
        PrintNote(strText);
    } else {
        Fail(false, strText, eExit);
    }
    return eExit;
}

EXIT_CODE CDownloadRun::TellJson(DOWNLOAD_END eEnd, EXIT_CODE eExit) const {
    const SNAPSHOT snapshot = m_receiver.TakeSnapshot();
    const bool bPart = access(m_strPart.c_str(), F_OK) == 0;
    nlohmann::ordered_json record = {{"event", "end"},
                                     {"state", STATES[static_cast<size_t>(eEnd)].sName},
                                     {"exit", static_cast<int>(eExit)},
                                     {"frames", snapshot.nFrames},
                                     {"bytes", snapshot.nBytes},
                                     {"files", m_files}};
    if (snapshot.nFirst != 0) {
        record["first"] = UtcIsoText(snapshot.nFirst / SECOND);
        record["last"] = UtcIsoText(snapshot.nLast / SECOND);
    }
    if (bPart) record["part"] = m_strPart;
    if (m_nErrno != 0) record["message"] = strerror(m_nErrno);
    const int nErrno = m_nPrintErrno != 0 ? m_nPrintErrno : PrintJson(record);
    return eExit == EXIT_OK ? PrintedExit(nErrno) : eExit;
}

}  // namespace

EXIT_CODE RunDownload(const OPTIONS& options, CInterrupt& interrupt) {
    CSession session(interrupt);
    const EXIT_CODE eExit = session.Open(options.connect, options.download.lChannel);
    return eExit == EXIT_OK ? CDownloadRun(options, interrupt).Run(session) : eExit;
}
