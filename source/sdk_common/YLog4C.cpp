#include "sdk_common/YLog4C.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <new>

#include "sdk_common/Console.h"
#include "sdk_common/LogText.h"
#include "sdk_common/TimeSource.h"
#include "sdk_common/WireReader.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t MAX_TEXT = 2048;        // bytes of a record's text with its terminator
constexpr int MAX_DUMP = 4096;           // bytes of a dump
constexpr size_t MAX_PIECE = 64 * 1024;  // bytes that go to the file at a time

CPUB_Lock& SettingsLock() {
    static CPUB_Lock lock;
    return lock;
}

// Switches and bounds; each stands for itself.
std::atomic<int> g_level{YLOG_INFO};
std::atomic<int> g_maxCount{YLog4C::MAX_FILE_COUNT};
std::atomic<int> g_maxSize{16 * 1024 * 1024};
std::atomic<bool> g_bConsole{false};
std::atomic<bool> g_bFile{false};
std::atomic<bool> g_bDiary{false};
std::atomic<bool> g_bThreadID{false};
std::atomic<bool> g_bFlushRT{false};
std::atomic<bool> g_bMultiThread{false};
std::atomic<bool> g_bForked{false};
LOG_FUN g_pfnLog = nullptr;  // SettingsLock, with its user value
void* g_pLogUser = nullptr;

constexpr char LOG_SUFFIX[] = ".log";

thread_local bool t_bInOutput = false;

struct InOutput {
    InOutput() { t_bInOutput = true; }
    ~InOutput() { t_bInOutput = false; }
};

struct KeepErrno {
    ~KeepErrno() { errno = value; }
    int value = errno;
};

/// A bound that a setting must keep: prints the bound that it broke.
bool Assert(bool bHolds, const char* pText) {
    if (!bHolds) PrintConsoleF("YLog4C, assertion failed: %s\n", pText);
    return bHolds;
}

/// The application may change its working directory later.
std::string Absolute(const char* pDirectory) {
    std::error_code error;
    const std::string path = fs::absolute(pDirectory, error);
    return error ? pDirectory : path;
}

template <size_t SIZE>
void SetText(char (&field)[SIZE], const char* pText) {
    std::lock_guard guard(SettingsLock());
    CopyText(field, pText);
}

}  // namespace

std::atomic<int> YLog4C::s_threshold{-1};
char YLog4C::g_strLogDir[256];
char YLog4C::g_strLogAppname[64];

YLog4C* YLog4C::GetInstance() {
    SettingsLock();  // made before, so it goes after
    static YLog4C instance;
    [[maybe_unused]] static const int result = pthread_atfork(nullptr, nullptr, AfterFork);
    return &instance;
}

/// In the child. What settings and the end of the program touch is made anew, since it may be locked or waited on by
/// threads that are not there; nothing of it can be destroyed.
void YLog4C::AfterFork() {
    g_bForked = true;
    s_threshold = -1;
    YLog4C& log = *GetInstance();
    new (&SettingsLock()) CPUB_Lock;
    new (&log.m_outputLock) CPUB_Lock;
    new (&log.m_thread) YLog4CThr(Output);
}

YLog4C::~YLog4C() {
    s_threshold = -1;
    CloseLog();
}

/// The writer looks at the place under the settings' lock, so what waits is written before that is taken.
bool YLog4C::SetPlace(const char* lpszDir, const char* lpszAppname) {
    if (!Assert(lpszDir != nullptr, "lpszDir!=NULL")) return false;
    if (!Assert(*lpszDir != '\0', "strlen(lpszDir)>0")) return false;
    const std::string directory = Absolute(lpszDir);
    if (!Assert(directory.size() < sizeof(g_strLogDir), "strlen(lpszDir)<sizeof(g_strLogDir)")) return false;
    GetInstance()->FlushLog();
    std::lock_guard guard(SettingsLock());
    SetText(g_strLogDir, directory.c_str());
    if (lpszAppname) SetText(g_strLogAppname, lpszAppname);
    return true;
}

bool YLog4C::SetLogDir(const char* lpszDir) try { return SetPlace(lpszDir, nullptr); } catch (...) {  // no memory
    return false;
}

bool YLog4C::SetLogAppname(const char* lpszAppname) {
    if (!Assert(lpszAppname != nullptr, "lpszAppname!=NULL")) return false;
    if (!Assert(*lpszAppname != '\0', "strlen(lpszAppname)>0")) return false;
    if (!Assert(std::strlen(lpszAppname) < sizeof(g_strLogAppname), "strlen(lpszAppname)<sizeof(g_strLogAppname)"))
        return false;
    SetText(g_strLogAppname, lpszAppname);
    return true;
}

bool YLog4C::SetLogPlace(const char* lpszPath) try {
    const fs::path path = Absolute(lpszPath ? lpszPath : "");
    const std::string name = path.stem();
    std::error_code ignored;
    if (path.extension() != LOG_SUFFIX || fs::is_directory(path, ignored)) return SetPlace(lpszPath, "");
    if (!Assert(name.size() < sizeof(g_strLogAppname), "strlen(lpszAppname)<sizeof(g_strLogAppname)")) return false;
    return SetPlace(path.parent_path().c_str(), name.c_str());
} catch (...) {  // no memory
    return false;
}

bool YLog4C::SetLogFileMaxcnt(int maxCount) {
    if (!Assert(maxCount >= 1 && maxCount <= MAX_FILE_COUNT, "maxCount>=1 && maxCount<=100")) return false;
    g_maxCount = maxCount;
    return true;
}

bool YLog4C::SetLogMaxsize(int maxSize) {
    if (!Assert(maxSize >= 1, "maxSize>=1")) return false;
    g_maxSize = maxSize;
    return true;
}

void YLog4C::SetThreshold() {
    std::lock_guard guard(SettingsLock());
    const bool bOutput = g_bConsole || g_bFile || g_pfnLog;
    s_threshold = bOutput && !g_bForked ? g_level.load() : -1;
}

void YLog4C::SetLogLevel(int level) {
    g_level = std::clamp<int>(level, YLOG_FATAL, YLOG_BUFF);
    SetThreshold();
}

void YLog4C::SetLog2Console(bool bOn) {
    if (!bOn && g_bConsole) GetInstance()->FlushLog();
    g_bConsole = bOn;
    SetThreshold();
}

void YLog4C::SetLog2File(bool bOn) {
    if (!bOn && g_bFile) GetInstance()->FlushLog();
    g_bFile = bOn;
    SetThreshold();
}

void YLog4C::SetLog2Func(LOG_FUN pfnLog, void* pUser) {
    {
        std::lock_guard guard(SettingsLock());
        g_pfnLog = pfnLog;
        g_pLogUser = pUser;
    }
    SetThreshold();
}

void YLog4C::SetLogDiary(bool bOn) { g_bDiary = bOn; }
void YLog4C::SetLogThreadID(bool bOn) { g_bThreadID = bOn; }
void YLog4C::SetFlushRT(bool bOn) { g_bFlushRT = bOn; }
void YLog4C::SetLog2MultiThread(bool bOn) { g_bMultiThread = bOn; }

LOG_FILE_PLACE YLog4C::Place(const char* pName) {
    LOG_FILE_PLACE place;
    {
        std::lock_guard guard(SettingsLock());
        place.directory = g_strLogDir;
        place.name = pName && *pName ? pName : g_strLogAppname;
    }
    if (place.directory.empty()) place.directory = Module().directory;
    if (place.name.empty()) place.name = Module().name;
    if (g_bDiary) place.date = LogDate(TimeSource().WallMicroseconds());
    place.maxSize = g_maxSize;
    place.maxCount = g_maxCount;
    return place;
}

std::string YLog4C::Log4COpenLog(const char* pName) { return Place(pName).Path(); }

bool YLog4C::OpenLog() try {
    const KeepErrno keepErrno;
    std::lock_guard guard(m_outputLock);
    return m_file.Prepare(Place(nullptr));
} catch (...) {
    return false;
}

void YLog4C::CloseLog() {
    if (t_bInOutput) return;
    const KeepErrno keepErrno;
    m_thread.Stop();
    std::lock_guard guard(m_outputLock);
    m_file.Close();
}

void YLog4C::FlushLog() {
    const KeepErrno keepErrno;
    if (!t_bInOutput) m_thread.FlushLog();
}

void YLog4C::Log(int level, const char* pFile, int iLine, const char* pFormat, ...) {
    va_list arguments;
    va_start(arguments, pFormat);
    LogV(level, pFile, iLine, pFormat, arguments);
    va_end(arguments);
}

void YLog4C::Info(const char* pFormat, ...) {
    va_list arguments;
    va_start(arguments, pFormat);
    LogV(YLOG_INFO, nullptr, 0, pFormat, arguments);
    va_end(arguments);
}

void YLog4C::LogV(int level, const char* pFile, int iLine, const char* pFormat, va_list arguments) {
    if (!pFormat || !IsOn(std::max<int>(level, YLOG_FATAL)) || t_bInOutput) return;
    const KeepErrno keepErrno;
    char text[MAX_TEXT] = {};
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    try {
        Write({level, LogHead(level, pFile, iLine, g_bThreadID) + CleanText(text) + "\n"});
    } catch (...) {  // no memory: the record is lost
    }
}

void YLog4C::LogBuff(const char* pFile, int iLine, const void* pBuffer, int length) {
    if (!pBuffer || length <= 0 || !IsOn(YLOG_BUFF) || t_bInOutput) return;
    const KeepErrno keepErrno;
    const auto* pBytes = static_cast<const unsigned char*>(pBuffer);
    try {
        Write({YLOG_BUFF, LogHead(YLOG_BUFF, pFile, iLine, g_bThreadID) + std::to_string(length) + " bytes\n" +
                              HexDump(pBytes, static_cast<size_t>(std::min(length, MAX_DUMP)))});
    } catch (...) {
    }
}

/// Without a background writer, or with none to be had, the caller serves the outputs.
void YLog4C::Write(LOG_RECORD&& record) {
    if (!g_bMultiThread || !m_thread.WriteLog(std::move(record))) {
        std::vector<LOG_RECORD> records;
        records.push_back(std::move(record));
        Output(records, 0);
    } else if (g_bFlushRT) {
        m_thread.FlushLog();
    }
}

void YLog4C::Output(const std::vector<LOG_RECORD>& records, size_t lost) try {
    const InOutput inOutput;
    GetInstance()->OutputHere(records, lost);
    TellFunction(records);
} catch (...) {  // no memory: these are lost
}

void YLog4C::OutputHere(const std::vector<LOG_RECORD>& records, size_t lost) {
    std::lock_guard guard(m_outputLock);
    m_lost += lost;
    if (g_bFile) OutputToFile(records);
    if (g_bConsole)
        for (const LOG_RECORD& record : records) PrintConsole(record.text);
}

void YLog4C::OutputToFile(const std::vector<LOG_RECORD>& records) {
    const LOG_FILE_PLACE place = Place(nullptr);
    TellLost(place);
    std::string piece;
    for (size_t index = 0; index < records.size(); ++index) {
        piece += records[index].text;
        if (piece.size() < MAX_PIECE && index + 1 < records.size()) continue;
        m_lost += m_file.Append(place, piece);
        piece.clear();
    }
}

void YLog4C::TellLost(const LOG_FILE_PLACE& place) {
    if (m_lost == 0) return;
    const std::string head = LogHead(YLOG_WARN, nullptr, 0, g_bThreadID);
    if (m_file.Append(place, head + std::to_string(m_lost) + " lines were lost\n") == 0) m_lost = 0;
}

void YLog4C::TellFunction(const std::vector<LOG_RECORD>& records) {
    LOG_FUN pfnLog = nullptr;
    void* pUser = nullptr;
    {
        std::lock_guard guard(SettingsLock());
        pfnLog = g_pfnLog;
        pUser = g_pLogUser;
    }
    if (!pfnLog) return;
    for (const LOG_RECORD& record : records) pfnLog(record.level, record.text.c_str(), pUser);
}
