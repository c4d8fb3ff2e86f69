#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Convert.h"
#include "Output.h"

namespace {

std::string NamesText(const std::vector<std::string>& files) {
    std::string strText;
    for (const std::string& strFile : files) strText += (strText.empty() ? "" : ", ") + strFile;
    return strText;
}

// Also by another name.
bool IsSameFile(const std::string& strOne, const std::string& strOther) {
    std::error_code error;
    return std::filesystem::equivalent(strOne, strOther, error) && !error;
}

std::string ReasonText(const CONVERTED& result) {
    return result.nErrno != 0 ? strerror(result.nErrno) : "writing failed";
}

}  // namespace

const char* ConvertState(CONVERT_END eEnd) {
    constexpr const char* STATES[] = {"complete",    "cut off",      "broken",     "no pictures",
                                      "read failed", "write failed", "interrupted"};
    static_assert(std::size(STATES) == static_cast<size_t>(CONVERT_END::INTERRUPTED) + 1);
    return STATES[static_cast<size_t>(eEnd)];
}

CONVERTED ConvertFrames(const std::string& strInput, const std::string& strOutput, const CInterrupt& interrupt) {
    struct stat state {};
    const double dWhole = stat(strInput.c_str(), &state) == 0 ? static_cast<double>(state.st_size) : 0;
    CFrameConverter converter(strOutput, [&](uint64_t nRead) {
        if (dWhole > 0) PrintFigures(fmt::format("converting {:3.0f} %", 100 * static_cast<double>(nRead) / dWhole));
        return interrupt.Signal() == 0;
    });
    CONVERTED result = converter.Convert(strInput);
    ClearFigures();
    return result;
}

EXIT_CODE TellConverted(bool bJson, const std::string& strInput, const CONVERTED& result, const CInterrupt& interrupt) {
    switch (result.eEnd) {
        case CONVERT_END::WHOLE:
            return EXIT_OK;
        case CONVERT_END::CUT:
            return Fail(bJson, strInput + " ends before the end of the recording; what it has is converted",
                        EXIT_FAILED);
        case CONVERT_END::BROKEN:
            return Fail(bJson, strInput + " is broken; what stands before that is converted", EXIT_FAILED);
        case CONVERT_END::NO_PICTURES:
            return Fail(bJson, strInput + " has no picture to begin with", EXIT_FAILED);
        case CONVERT_END::READ_FAILED:
            return Fail(bJson, fmt::format("cannot read {}: {}", strInput, strerror(result.nErrno)), EXIT_FAILED);
        case CONVERT_END::WRITE_FAILED:
            return Fail(bJson, "cannot write the AVI file: " + ReasonText(result), EXIT_FAILED);
        default:
            return SignalExitCode(interrupt.Signal());
    }
}

EXIT_CODE RunConvert(const OPTIONS& options, CInterrupt& interrupt) {
    const CONVERT_OPTIONS& convert = options.convert;
    const bool bJson = options.connect.bJson;
    if (IsSameFile(convert.strInput, convert.strOutput))
        return Fail(bJson, convert.strOutput + " would replace what it is made from; give another OUTPUT", EXIT_USAGE);
    interrupt.QuitAtOnce(false);
    const CONVERTED result = ConvertFrames(convert.strInput, convert.strOutput, interrupt);
    const EXIT_CODE eExit = TellConverted(bJson, convert.strInput, result, interrupt);
    if (!bJson) {
        if (!result.files.empty())
            PrintNote(fmt::format("{} frames in {}{}", result.nFrames, NamesText(result.files),
                                  result.nLost ? fmt::format(", {} left out", result.nLost) : ""));
        return eExit;
    }
    const EXIT_CODE ePrinted = PrintedExit(PrintJson({{"event", "end"},
                                                      {"state", ConvertState(result.eEnd)},
                                                      {"exit", static_cast<int>(eExit)},
                                                      {"frames", result.nFrames},
                                                      {"leftOut", result.nLost},
                                                      {"files", result.files}}));
    return eExit == EXIT_OK ? ePrinted : eExit;
}
