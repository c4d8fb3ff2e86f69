#include "sdk_common/LogFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "sdk_common/PubTime.h"
#include "sdk_common/SystemFault.h"
#include "sdk_common/TimeSource.h"

namespace fs = std::filesystem;

namespace {

constexpr tint64 OPENING_PAUSE = 5000000;  // microseconds
constexpr int LOCK_TRIES = 100;
constexpr unsigned int LOCK_STEP = 2;  // milliseconds
constexpr int OPEN_TRIES = 4;          // the current file may be renamed between opening and locking
constexpr size_t DATE_LENGTH = 8;
constexpr size_t MAX_NUMBER_LENGTH = 9;
constexpr tint64 MAX_NUMBER = 999999999;
constexpr tint64 CURRENT = 1LL << 40;  // stands for the number that a current file does not have

/// One file of a log, in order of age.
struct LOG_FILE_ENTRY {
    std::string date;
    tint64 number = CURRENT;
    std::string path;

    bool operator<(const LOG_FILE_ENTRY& other) const {
        return date != other.date ? date < other.date : number < other.number;
    }
};

bool TakeText(std::string_view& rest, std::string_view text) {
    if (rest.substr(0, text.size()) != text) return false;
    rest.remove_prefix(text.size());
    return true;
}

std::string_view TakeDigits(std::string_view& rest) {
    const size_t length = std::min(rest.find_first_not_of("0123456789"), rest.size());
    const std::string_view digits = rest.substr(0, length);
    rest.remove_prefix(length);
    return digits;
}

/// Tells whether a file name is `<name>[_<date>].log[.<number>]`.
bool ParseName(std::string_view rest, const std::string& name, LOG_FILE_ENTRY& entry) {
    if (!TakeText(rest, name)) return false;
    if (TakeText(rest, "_")) {
        entry.date = TakeDigits(rest);
        if (entry.date.size() != DATE_LENGTH) return false;
    }
    if (!TakeText(rest, ".log")) return false;
    if (rest.empty()) return true;
    if (!TakeText(rest, ".")) return false;
    const std::string_view number = TakeDigits(rest);
    if (number.empty() || number.size() > MAX_NUMBER_LENGTH || !rest.empty()) return false;
    entry.number = std::stoll(std::string(number));
    return true;
}

/// The log's files, the oldest first. The standard library's walk over a directory ends the process when memory is
/// short.
std::vector<LOG_FILE_ENTRY> ListFiles(const LOG_FILE_PLACE& place) {
    std::vector<LOG_FILE_ENTRY> files;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(place.directory.c_str()), closedir);
    while (const dirent* pFile = directory ? readdir(directory.get()) : nullptr) {
        LOG_FILE_ENTRY entry;
        struct stat state {};
        if (!ParseName(pFile->d_name, place.name, entry)) continue;
        if (fstatat(dirfd(directory.get()), pFile->d_name, &state, 0) != 0 || !S_ISREG(state.st_mode)) continue;
        entry.path = place.Path().substr(0, place.directory.size() + 1) + pFile->d_name;
        files.push_back(std::move(entry));
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Removes the oldest files until at most `count` are left; never the current one. False if more are left.
bool Prune(const LOG_FILE_PLACE& place, size_t count) {
    const std::string current = place.Path();
    const auto files = ListFiles(place);
    size_t left = files.size();
    for (const LOG_FILE_ENTRY& file : files) {
        if (left <= count) break;
        if (file.path != current && unlink(file.path.c_str()) == 0) --left;
    }
    return left <= count;
}

/// How much of `text` goes into `room` bytes in whole lines.
size_t FittingLines(std::string_view text, tint64 room) {
    if (room <= 0) return 0;
    if (text.size() <= static_cast<tuint64>(room)) return text.size();
    const size_t last = text.rfind('\n', static_cast<size_t>(room) - 1);
    return last == std::string_view::npos ? 0 : last + 1;
}

size_t LineCount(std::string_view text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

}  // namespace

bool CLogFile::Prepare(const LOG_FILE_PLACE& place) {
    if (!OpenLocked(place)) return false;
    UnlockFile();
    return true;
}

size_t CLogFile::Append(const LOG_FILE_PLACE& place, std::string_view text) {
    size_t lost = 0;
    while (!text.empty()) {
        if (!OpenLocked(place)) return lost + LineCount(text);
        const tint64 size = Size();
        const size_t part = FittingLines(text, place.maxSize - size);
        if (part == 0 && size > 0) {
            if (!StartNewFile(place)) return lost + LineCount(text);
            continue;
        }
        if (part == 0) {  // a line that no file can take
            text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
            ++lost;
        } else {
            if (!WriteWhole(text.substr(0, part))) lost += LineCount(text.substr(0, part));
            text.remove_prefix(part);
        }
        UnlockFile();
    }
    return lost;
}

void CLogFile::Close() {
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
    m_nextOpening = 0;
}

/// What does not work now is not tried again for each line.
bool CLogFile::Refuse() {
    Close();
    m_nextOpening = TimeSource().MonotonicMicroseconds() + OPENING_PAUSE;
    return false;
}

bool CLogFile::OpenLocked(const LOG_FILE_PLACE& place) {
    const std::string path = place.Path();
    int lockTriesLeft = LOCK_TRIES;
    for (int tries = 0; tries < OPEN_TRIES; ++tries) {
        if (m_path != path || m_pid != getpid()) Close();
        if (m_fd < 0 && !Open(place, path)) return false;
        if (!LockFile(lockTriesLeft)) return Refuse();
        if (IsCurrent()) return true;
        Close();  // another process has renamed or removed it
    }
    return false;
}

bool CLogFile::Open(const LOG_FILE_PLACE& place, const std::string& path) {
    if (TimeSource().MonotonicMicroseconds() < m_nextOpening) return false;
    m_path = path;
    m_pid = getpid();
    std::error_code ignored;
    fs::create_directories(place.directory, ignored);
    const size_t maxCount = static_cast<size_t>(place.maxCount);
    Prune(place, access(path.c_str(), F_OK) == 0 ? maxCount : maxCount - 1);
    // A name that leads to a pipe or a device must neither hold up the writer nor be written to.
    m_fd = SystemCall(SYSTEM_CALL::OPEN_FILE, -1, [&](size_t) {
        return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0640);
    });
    struct stat state {};
    if (m_fd >= 0 && fstat(m_fd, &state) == 0 && S_ISREG(state.st_mode)) return true;
    return Refuse();
}

/// A file system without locks is written to without.
bool CLogFile::LockFile(int& triesLeft) const {
    for (; triesLeft > 0; --triesLeft) {
        if (flock(m_fd, LOCK_EX | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) return true;
        PUB_Sleep(LOCK_STEP);
    }
    return false;
}

void CLogFile::UnlockFile() const { flock(m_fd, LOCK_UN); }

bool CLogFile::IsCurrent() const {
    struct stat opened {
    }, named{};
    return fstat(m_fd, &opened) == 0 && stat(m_path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

tint64 CLogFile::Size() const {
    struct stat state {};
    return fstat(m_fd, &state) == 0 ? tint64{state.st_size} : 0;
}

/// On a full disk nothing stays of what went in by half.
bool CLogFile::WriteWhole(std::string_view text) const {
    const tint64 before = Size();
    while (!text.empty()) {
        const ssize_t written = SystemCall(SYSTEM_CALL::WRITE_FILE, ssize_t{-1}, [&](size_t longest) {
            return write(m_fd, text.data(), std::min(text.size(), longest));
        });
        if (written <= 0) return (void)!ftruncate(m_fd, before), false;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

/// Lock held. The full file gets a number, or is emptied where one file is all there may be or it cannot be renamed.
/// Room is made before, so that there are never more files than allowed. False if it stays as it is.
bool CLogFile::StartNewFile(const LOG_FILE_PLACE& place) {
    const bool bRoom = Prune(place, static_cast<size_t>(std::max(place.maxCount - 1, 1)));
    tint64 next = 1;
    for (const LOG_FILE_ENTRY& file : ListFiles(place))
        if (file.date == place.date && file.number != CURRENT) next = std::max(next, file.number + 1);
    const std::string aside = m_path + "." + std::to_string(std::min(next, MAX_NUMBER));
    const bool bAside = bRoom && place.maxCount > 1 && std::rename(m_path.c_str(), aside.c_str()) == 0;
    if (!bAside && ftruncate(m_fd, 0) != 0) return Refuse();
    Close();
    return true;
}
