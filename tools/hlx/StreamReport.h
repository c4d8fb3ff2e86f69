#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "ExitCodes.h"
#include "StreamReceiver.h"

// Why a stream ended.
enum class STREAM_END {
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

// Tells what a stream does: as JSON records on standard output, or as figures and a closing line on standard
// error.
class CStreamReport {
public:
    explicit CStreamReport(bool bJson) : m_bJson(bJson) {}

    void Formats(const CStreamReceiver::SNAPSHOT& snapshot);

    // The figures of the second that is over.
    void Second(const CStreamReceiver::SNAPSHOT& snapshot);

    // strOutput: where the video went, empty for nowhere.
    void End(STREAM_END eEnd, EXIT_CODE eExit, const CStreamReceiver::SNAPSHOT& snapshot, const std::string& strOutput);

    // errno of the first failed write to standard output, after which nothing more is written; 0 if none failed.
    int Error() const { return m_nErrno; }

private:
    void Write(const nlohmann::ordered_json& record);
    void FormatJson(const STREAM_FORMAT& format);
    void SecondJson(const STREAM_FIGURES& second, const STREAM_FIGURES& total);

    const bool m_bJson;
    int m_nErrno = 0;
    unsigned m_nSecond = 0;
    STREAM_FIGURES m_before;  // at the last Second
};
