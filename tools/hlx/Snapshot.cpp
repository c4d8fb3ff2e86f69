#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "Commands.h"
#include "Output.h"
#include "Picture.h"
#include "Session.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t LARGEST_PICTURE = 2 * 1024 * 1024;  // bytes; the library takes no larger ones

int WriteFile(const fs::path& path, std::string_view strBytes) {
    const int nFd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (nFd < 0) return errno;
    int nErrno = 0;
    while (!strBytes.empty() && nErrno == 0) {
        const ssize_t nWritten = write(nFd, strBytes.data(), strBytes.size());
        if (nWritten >= 0) strBytes.remove_prefix(static_cast<size_t>(nWritten));
        if (nWritten < 0 && errno != EINTR) nErrno = errno;
    }
    if (close(nFd) != 0 && nErrno == 0) nErrno = errno;
    return nErrno;
}

// The file has the whole picture or stays as it was. Pipes and devices are written to directly. 0, or an errno.
int WritePicture(const std::string& strPath, std::string_view strBytes) {
    std::error_code error;
    const fs::path there = fs::canonical(strPath, error);  // a link stays a link
    const fs::path target = error ? fs::path(strPath) : there;
    if (fs::exists(target, error) && !fs::is_regular_file(target, error)) return WriteFile(target, strBytes);
    const fs::path part = target.string() + ".part";
    int nErrno = WriteFile(part, strBytes);
    if (nErrno == 0 && rename(part.c_str(), target.c_str()) != 0) nErrno = errno;
    if (nErrno != 0) unlink(part.c_str());
    return nErrno;
}

EXIT_CODE Write(const OPTIONS& options, std::string_view strPicture) {
    const SNAPSHOT_OPTIONS& snapshot = options.snapshot;
    if (snapshot.strOutput == "-") return PrintedExit(PrintData(strPicture));
    if (const int nErrno = WritePicture(snapshot.strOutput, strPicture); nErrno != 0) {
        return Fail(options.connect.bJson, fmt::format("cannot write {}: {}", snapshot.strOutput, strerror(nErrno)),
                    EXIT_FAILED);
    }
    if (options.connect.bJson) {
        return PrintedExit(PrintJson({{"event", "snapshot"},
                                      {"channel", snapshot.lChannel},
                                      {"file", snapshot.strOutput},
                                      {"bytes", strPicture.size()}}));
    }
    return PrintedExit(PrintData(
        fmt::format("{}: channel {}, {}\n", snapshot.strOutput, snapshot.lChannel, BytesText(strPicture.size()))));
}

EXIT_CODE Capture(const OPTIONS& options, const CSession& session) {
    const int64_t lChannel = options.snapshot.lChannel;
    std::vector<char> buffer(LARGEST_PICTURE);
    DWORD dwSize = 0;
    if (!HLX_CaptureJPEGPicture(session.UserID(), static_cast<LONG>(lChannel), nullptr, buffer.data(),
                                static_cast<DWORD>(buffer.size()), &dwSize)) {
        return FailLast(options.connect.bJson, fmt::format("no picture of channel {}", lChannel));
    }
    const auto strPicture = JpegOf({buffer.data(), std::min<size_t>(dwSize, buffer.size())});
    if (strPicture.empty()) {
        return Fail(options.connect.bJson,
                    fmt::format("what the device sent as a picture ({}) is no whole JPEG", BytesText(dwSize)),
                    EXIT_FAILED);
    }
    return Write(options, strPicture);
}

}  // namespace

EXIT_CODE RunSnapshot(const OPTIONS& options, CInterrupt& interrupt) {
    return RunInSession(options.connect, interrupt, options.snapshot.lChannel,
                        [&](const CSession& session) { return Capture(options, session); });
}
