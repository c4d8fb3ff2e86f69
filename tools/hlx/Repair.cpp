#include <fmt/format.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "main_utility/media/avi/AVIRepair.h"
#include "Output.h"
#include "Text.h"

namespace {

std::string WhyNot(const AVI_REPAIR_REPORT& report) {
    switch (report.result) {
        case AVI_REPAIR::NOT_OURS:
            return "no AVI file that was recorded here; left as it is";
        case AVI_REPAIR::CLOSED:
            return "was completed, but its index does not agree with its frames; left as it is without --force";
        case AVI_REPAIR::WORSE:
            return "its index knows more frames than can be found; left as it is";
        default:
            break;
    }
    if (report.error == EBUSY) return "is being written or repaired; left as it is";
    return fmt::format("cannot be repaired: {}", strerror(report.error));
}

std::string Sentence(const AVI_REPAIR_REPORT& report) {
    std::string strText =
        fmt::format("{}, {} frames, {:.3f} s, {} of sound", report.result == AVI_REPAIR::WHOLE ? "whole" : "repaired",
                    report.frames, static_cast<double>(report.milliseconds) / 1000, BytesText(report.audioBytes));
    const auto fnAdd = [&](tint64 nBytes, const char* sWhat) {
        if (nBytes > 0) strText += fmt::format(", {} {}", BytesText(static_cast<uint64_t>(nBytes)), sWhat);
    };
    fnAdd(report.damagedBytes, "damaged");
    fnAdd(report.droppedBytes, "dropped at the end");
    return strText;
}

int Tell(bool bJson, const std::string& strFile, const AVI_REPAIR_REPORT& report) {
    if (!bJson) return PrintData(fmt::format("{}: {}\n", strFile, Sentence(report)));
    return PrintJson({{"event", "repair"},
                      {"file", strFile},
                      {"result", report.result == AVI_REPAIR::WHOLE ? "whole" : "repaired"},
                      {"frames", report.frames},
                      {"empty_frames", report.emptyFrames},
                      {"milliseconds", report.milliseconds},
                      {"audio_bytes", report.audioBytes},
                      {"damaged_bytes", report.damagedBytes},
                      {"dropped_bytes", report.droppedBytes}});
}

}  // namespace

EXIT_CODE RunRepair(const OPTIONS& options, CInterrupt& interrupt) {
    const bool bJson = options.connect.bJson;
    EXIT_CODE eExit = EXIT_OK;
    interrupt.QuitAtOnce(false);  // a file is not left half repaired
    for (const std::string& strFile : options.repair.files) {
        if (interrupt.Signal() != 0) return SignalExitCode(interrupt.Signal());
        CAVIRepair repair;
        const AVI_REPAIR_REPORT report = repair.Repair(strFile.c_str(), options.repair.bForce);
        if (report.result != AVI_REPAIR::REPAIRED && report.result != AVI_REPAIR::WHOLE) {
            eExit = Fail(bJson, fmt::format("{}: {}", strFile, WhyNot(report)), EXIT_FAILED);
        } else if (const int nErrno = Tell(bJson, strFile, report); nErrno != 0) {
            return PrintedExit(nErrno);
        }
    }
    return eExit;
}
