// The library's log.
#pragma once

#include <atomic>
#include <cstdarg>
#include <string>
#include <vector>

#include "HLX.h"
#include "sdk_common/LogFile.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/YLog4CThr.h"

/// Receives each record, a text that ends with a line feed, lent for the call. On the writer's thread, or without one
/// on each thread that logs, several at a time; a pair that was replaced may be called once more until FlushLog is
/// back. What it logs itself is dropped.
using LOG_FUN = void (*)(int level, const char* pText, void* pUser);

/// The single logger: to files, to the console (standard error, since standard output belongs to the application) and
/// to a function. Off at first. All settings may change at any time, from any thread. A setting outside its bounds
/// stays as it is, prints the bound to standard error and gives false; a level is held inside its range.
///
/// A record is "date time LEVEL [process] file:line text" with control characters of the text replaced, so that a text
/// from outside cannot forge a line. Passwords, keys and nonces are never given to it.
///
/// Logging keeps errno and the last error, throws nothing, and no failure of an output does more than lose lines; the
/// number lost stands in the next file line that can be written. With a background writer and without SetFlushRT any
/// lock of the caller may be held, since nothing is waited for; otherwise none that the function takes.
///
/// In a forked child the log is off for good: the writer is not there, and a lock that another thread held stays taken.
class YLog4C {
public:
    static constexpr int MAX_FILE_COUNT = 100;

    static YLog4C* GetInstance();
    ~YLog4C();
    YLog4C(const YLog4C&) = delete;
    YLog4C& operator=(const YLog4C&) = delete;

    /// The directory and the application's name, the first part of the file names; 255 and 63 bytes at most. Without
    /// them both come from the program's own path. A missing directory is made; a relative one counts from the working
    /// directory at the call, and its absolute path must fit. What was logged before still goes to the old directory,
    /// and the call waits for it.
    static bool SetLogDir(const char* lpszDir);
    static bool SetLogAppname(const char* lpszAppname);

    /// A directory, with files named after the program; or a file whose name ends in ".log", which is then the current
    /// one. A directory that is there is one whatever its name. Bounds as above.
    static bool SetLogPlace(const char* lpszPath);

    /// The most files, 1 to 100, and the most bytes of each, from 1. The oldest files go.
    static bool SetLogFileMaxcnt(int maxCount);
    static bool SetLogMaxsize(int maxSize);

    static void SetLogLevel(int level);

    /// The outputs. What was logged before console or file is switched off still gets there, and the call waits for it.
    static void SetLog2Console(bool bOn);
    static void SetLog2File(bool bOn);
    static void SetLog2Func(LOG_FUN pfnLog, void* pUser);

    /// A file for each day.
    static void SetLogDiary(bool bOn);
    /// The number of the thread in each record.
    static void SetLogThreadID(bool bOn);
    /// Log returns only once the record is with the system. Without it and with a background writer the caller never
    /// waits for an output.
    static void SetFlushRT(bool bOn);
    /// Outputs are served by a background thread.
    static void SetLog2MultiThread(bool bOn);

    /// What a call on the hot road costs while the log is off: one relaxed load.
    static bool IsOn(int level = YLOG_FATAL) { return s_threshold.load(std::memory_order_relaxed) >= level; }

    /// Opens the file at once, which the first record does otherwise. False if that is not possible.
    bool OpenLog();
    /// Writes what waits, ends the background thread and closes the file. The next record opens it again.
    void CloseLog();
    /// Waits until the records before are written.
    void FlushLog();

    /// Writes a record at a level; `pFile` (may be null) is shown without its directories. A text is cut at 2047 bytes.
    void Log(int level, const char* pFile, int iLine, const char* pFormat, ...) __attribute__((format(printf, 5, 6)));
    void LogV(int level, const char* pFile, int iLine, const char* pFormat, va_list arguments)
        __attribute__((format(printf, 5, 0)));
    void Info(const char* pFormat, ...) __attribute__((format(printf, 2, 3)));

    /// Writes up to 4096 bytes in hexadecimal, 16 a line, as one record at YLOG_BUFF. Never for bytes that hold
    /// secrets.
    void LogBuff(const char* pFile, int iLine, const void* pBuffer, int length);

    /// The path of the log named `pName` (null or empty: the application's name) for now: "<directory>/<name>.log", or
    /// "<directory>/<name>_<yyyymmdd>.log" with SetLogDiary.
    static std::string Log4COpenLog(const char* pName);

private:
    YLog4C() = default;
    static bool SetPlace(const char* lpszDir, const char* lpszAppname);
    static void SetThreshold();
    static void AfterFork();
    static LOG_FILE_PLACE Place(const char* pName);
    static void Output(const std::vector<LOG_RECORD>& records, size_t lost);
    void OutputHere(const std::vector<LOG_RECORD>& records, size_t lost);
    void OutputToFile(const std::vector<LOG_RECORD>& records);
    void TellLost(const LOG_FILE_PLACE& place);
    static void TellFunction(const std::vector<LOG_RECORD>& records);
    void Write(LOG_RECORD&& record);

    static std::atomic<int> s_threshold;  // the highest level that is written; -1 without an output
    static char g_strLogDir[256];         // the settings' lock, as the next
    static char g_strLogAppname[64];

    CPUB_Lock m_outputLock;  // over console and file; above the settings' lock only
    CLogFile m_file;         // m_outputLock
    size_t m_lost = 0;       // lines lost since the last that went to the file; m_outputLock
    YLog4CThr m_thread{Output};
};

/// Logs `...` (a printf format and its arguments) at `level`; the arguments are not evaluated while nobody listens.
#define YLOG(level, ...)                                                                             \
    do {                                                                                             \
        if (YLog4C::IsOn(level)) YLog4C::GetInstance()->Log(level, __FILE__, __LINE__, __VA_ARGS__); \
    } while (false)
