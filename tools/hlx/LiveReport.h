#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "ExitCodes.h"
#include "LiveReceiver.h"

// Why a live stream ended.
enum class LIVE_END {
    NONE,
    DURATION,
    FRAMES,
    SIGNAL,
    READER_GONE,
    STALLED,
    WRITE_FAILED,
    NO_MEMORY,
    FORMAT_CHANGED,
    RANGE_END
};

// Tells what a live stream does: as JSON records on standard output, or as figures and a closing line on standard
// error.
class CLiveReport {
public:
    explicit CLiveReport(bool bJson) : m_bJson(bJson) {}

    void Formats(const CLiveReceiver::SNAPSHOT& snapshot);

    // The figures of the second that is over.
    void Second(const CLiveReceiver::SNAPSHOT& snapshot);

    // strOutput: where the video went, empty for nowhere.
    void End(LIVE_END eEnd, EXIT_CODE eExit, const CLiveReceiver::SNAPSHOT& snapshot, const std::string& strOutput);

    // errno of the first failed write to standard output, after which nothing more is written; 0 if none failed.
    int Error() const { return m_nErrno; }

private:
    void Write(const nlohmann::ordered_json& record);
    void FormatJson(const LIVE_FORMAT& format);
    void SecondJson(const LIVE_FIGURES& second, const LIVE_FIGURES& total);

    const bool m_bJson;
    int m_nErrno = 0;
    unsigned m_nSecond = 0;
    LIVE_FIGURES m_before;  // at the last Second
};
