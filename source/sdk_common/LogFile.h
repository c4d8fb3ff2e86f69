// The files of a log: whole lines, a bounded size, a bounded number, shared with other processes.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "protocol/WireTypes.h"

/// Where a log goes. The current file is `<directory>/<name>.log`, or `<directory>/<name>_<date>.log` with a date; a
/// full one gets a dot and a number behind its name, the higher the newer; no program's current file is called so.
struct LOG_FILE_PLACE {
    std::string directory;
    std::string name;
    std::string date;  // eight digits, or empty
    tint64 maxSize = 0;
    int maxCount = 1;  // files of this name in the directory, all dates together

    std::string Base() const { return date.empty() ? name : name + "_" + date; }
    std::string Path() const { return directory + "/" + Base() + ".log"; }
};

/// Appends lines. Several objects and several processes may write to one place: a lock on the file keeps lines whole
/// and sizes true. No failure does more than lose lines. One thread at a time.
class CLogFile {
public:
    CLogFile() = default;
    ~CLogFile() { Close(); }
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    /// Opens the file without writing. False if that is not possible.
    bool Prepare(const LOG_FILE_PLACE& place);

    /// Writes `text`, whole lines that end with a line feed; starts a new file when the current one is full. The
    /// number of lines that could not be written. Waits 200 ms at most for another process. When the file cannot be
    /// opened, locked or emptied all is lost until 5 s later. A forked child opens the file again for itself.
    size_t Append(const LOG_FILE_PLACE& place, std::string_view text);

    void Close();

private:
    bool OpenLocked(const LOG_FILE_PLACE& place);
    bool Open(const LOG_FILE_PLACE& place, const std::string& path);
    bool Refuse();
    bool LockFile(int& triesLeft) const;
    void UnlockFile() const;
    bool IsCurrent() const;
    tint64 Size() const;
    bool WriteWhole(std::string_view text) const;
    bool StartNewFile(const LOG_FILE_PLACE& place);

    int m_fd = -1;
    pid_t m_pid = 0;           // of the opener: a lock belongs to the opening, which a forked child would share
    std::string m_path;        // of m_fd, or of the last try to open
    tint64 m_nextOpening = 0;  // monotonic microseconds before which nothing is tried after a failure
};
