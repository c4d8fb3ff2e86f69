#include "StreamReport.h"

#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "Output.h"
#include "Text.h"

namespace {

using Json = nlohmann::ordered_json;

const char* EndName(STREAM_END eEnd) {
    constexpr const char* NAMES[] = {"none",    "duration",     "frames",    "signal",         "reader gone",
                                     "stalled", "write failed", "no memory", "format changed", "end of range"};
    static_assert(std::size(NAMES) == static_cast<size_t>(STREAM_END::RANGE_END) + 1);
    return NAMES[static_cast<size_t>(eEnd)];
}

double StreamSeconds(const CStreamReceiver::SNAPSHOT& snapshot) {
    return snapshot.first ? std::chrono::duration<double>(snapshot.last - *snapshot.first).count() : 0;
}

// The first frame opens the time, so the frames after it fill it.
double FrameRate(const CStreamReceiver::SNAPSHOT& snapshot) {
    const double dSeconds = StreamSeconds(snapshot);
    return dSeconds > 0 ? static_cast<double>(snapshot.figures.nFrames - 1) / dSeconds : 0;
}

double Rounded(double dValue) { return std::round(dValue * 100) / 100; }

std::string FormatText(const STREAM_FORMAT& format) {
    if (format.bVideo) return fmt::format("video {} {}x{}", format.strCodec, format.nWidth, format.nHeight);
    return fmt::format("sound format {}, {} channel(s), {} samples a second", format.strCodec, format.nChannels,
                       format.nRate);
}

}  // namespace

void CStreamReport::Write(const Json& record) {
    if (m_nErrno == 0) m_nErrno = PrintJson(record);
}

void CStreamReport::Formats(const CStreamReceiver::SNAPSHOT& snapshot) {
    for (const STREAM_FORMAT& format : snapshot.formats) {
        if (m_bJson) {
            FormatJson(format);
        } else if (FiguresShown()) {
            PrintNote(FormatText(format));
        }
    }
}

void CStreamReport::FormatJson(const STREAM_FORMAT& format) {
    Json record = {{"event", "format"}, {"kind", format.bVideo ? "video" : "sound"}, {"codec", format.strCodec}};
    if (format.bVideo) {
        record.update(Json{{"width", format.nWidth}, {"height", format.nHeight}});
    } else {
        record.update(Json{{"channels", format.nChannels}, {"rate", format.nRate}});
    }
    Write(record);
}

void CStreamReport::Second(const CStreamReceiver::SNAPSHOT& snapshot) {
    const STREAM_FIGURES& total = snapshot.figures;
    const STREAM_FIGURES second = total - m_before;
    m_before = total;
    ++m_nSecond;
    if (m_bJson) return SecondJson(second, total);
    PrintFigures(fmt::format("{:>4} s  {:>3} frames/s  {:>9}/s  total {}  key frames {}  gaps {}  sound {}", m_nSecond,
                             second.nFrames, BytesText(second.nBytes), BytesText(total.nBytes), total.nKeyFrames,
                             total.nGaps, total.nSoundFrames));
}

void CStreamReport::SecondJson(const STREAM_FIGURES& second, const STREAM_FIGURES& total) {
    Write(Json{{"event", "second"},
               {"second", m_nSecond},
               {"frames", second.nFrames},
               {"bytes", second.nBytes},
               {"keyFrames", second.nKeyFrames},
               {"gaps", second.nGaps},
               {"soundFrames", second.nSoundFrames},
               {"totalFrames", total.nFrames},
               {"totalBytes", total.nBytes}});
}

void CStreamReport::End(STREAM_END eEnd, EXIT_CODE eExit, const CStreamReceiver::SNAPSHOT& snapshot,
                        const std::string& strOutput) {
    const STREAM_FIGURES& total = snapshot.figures;
    if (!m_bJson) {
        PrintNote(fmt::format("{} frames in {:.1f} s ({:.1f} a second), {}, {} key frames, {} gaps, {} sound frames{}",
                              total.nFrames, StreamSeconds(snapshot), FrameRate(snapshot), BytesText(total.nBytes),
                              total.nKeyFrames, total.nGaps, total.nSoundFrames,
                              strOutput.empty() || strOutput == "-" ? "" : "; written to " + strOutput));
        return;
    }
    Write(Json{{"event", "end"},
               {"reason", EndName(eEnd)},
               {"exit", static_cast<int>(eExit)},
               {"seconds", Rounded(StreamSeconds(snapshot))},
               {"frameRate", Rounded(FrameRate(snapshot))},
               {"frames", total.nFrames},
               {"bytes", total.nBytes},
               {"keyFrames", total.nKeyFrames},
               {"gaps", total.nGaps},
               {"soundFrames", total.nSoundFrames},
               {"soundBytes", total.nSoundBytes},
               {"output", strOutput}});
}
