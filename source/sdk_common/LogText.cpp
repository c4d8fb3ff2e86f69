#include "sdk_common/LogText.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <string_view>

#include "sdk_common/PubTime.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr size_t DUMP_LINE = 16;  // bytes
constexpr std::string_view DELETED_MARK = " (deleted)";
constexpr const char* LEVEL_NAMES[] = {"FATAL", "ERROR", "WARN ", "INFO ", "DEBUG", "BUFF "};

/// The time zone is read anew each time, which allocates inside the C library; one thread at a time is enough.
constinit std::mutex g_timeLock;

tm LocalTime(tint64 wallMicroseconds) {
    std::lock_guard guard(g_timeLock);
    return DVRTimeToTm(wallMicroseconds);
}

const char* LevelName(int level) {
    return level >= 0 && level < static_cast<int>(std::size(LEVEL_NAMES)) ? LEVEL_NAMES[level] : "?    ";
}

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

std::string GetModuleFileName() {
    char link[32] = {};
    char path[PATH_MAX] = {};
    std::snprintf(link, sizeof(link), "/proc/%d/exe", getpid());
    const ssize_t length = readlink(link, path, sizeof(path));
    return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

LOG_MODULE ModuleOf(std::string path) {
    if (path.ends_with(DELETED_MARK) && access(path.c_str(), F_OK) != 0) path.resize(path.size() - DELETED_MARK.size());
    if (path.empty()) return {".", "HLX"};
    const size_t slash = path.rfind('/');
    return {slash == 0 ? "/" : path.substr(0, slash), std::string(BaseName(path))};
}

const LOG_MODULE& Module() {
    static const LOG_MODULE module = ModuleOf(GetModuleFileName());
    return module;
}

std::string LogDate(tint64 wallMicroseconds) {
    const tm day = LocalTime(wallMicroseconds);
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%04d%02d%02d", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
    return text;
}

std::string LogHead(int level, const char* pFile, int iLine, bool bThreadID) {
    const tint64 now = TimeSource().WallMicroseconds();
    const tm time = LocalTime(now);
    const int milliseconds = static_cast<int>(now / 1000 % 1000);
    char head[96] = {};
    std::snprintf(head, sizeof(head), "%04d-%02d-%02d %02d:%02d:%02d.%03d %s [%d", time.tm_year + 1900, time.tm_mon + 1,
                  time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec, milliseconds, LevelName(level), getpid());
    std::string text = head;
    if (bThreadID) text += ":" + std::to_string(syscall(SYS_gettid));
    text += "] ";
    if (pFile) text.append(BaseName(pFile)).append(":").append(std::to_string(iLine)).append(" ");
    return text;
}

std::string CleanText(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    for (char& character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) character = '?';
    }
    return text;
}

std::string HexDump(const unsigned char* pBytes, size_t length) {
    std::string text;
    char piece[32] = {};
    for (size_t index = 0; index < length; ++index) {
        if (index % DUMP_LINE == 0) {
            std::snprintf(piece, sizeof(piece), "  %04zx:", index);
            text += piece;
        }
        std::snprintf(piece, sizeof(piece), " %02x", static_cast<unsigned>(pBytes[index]));
        text += piece;
        if (index % DUMP_LINE == DUMP_LINE - 1 || index + 1 == length) text += '\n';
    }
    return text;
}
