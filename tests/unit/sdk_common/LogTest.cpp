// The log: outputs, levels, names, rotation, and what must not harm anybody.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <set>

#include "sdk_common/LogText.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/YLog4C.h"
#include "support/MovedTime.h"
#include "support/Test.h"

namespace fs = std::filesystem;

namespace {

size_t FileCount(const fs::path& directory) {
    return static_cast<size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Everything that was received, one record each.
struct HEARD {
    static void Hear(int level, const char* pText, void* pUser) {
        auto& heard = *static_cast<HEARD*>(pUser);
        heard.levels.push_back(level);
        heard.text += pText;
        heard.threads.insert(std::this_thread::get_id());
        YLOG(YLOG_FATAL, "from inside");
        YLog4C::GetInstance()->CloseLog();
    }
    std::vector<int> levels;
    std::string text;
    std::set<std::thread::id> threads;
};

/// An output that takes nothing on until it is let.
struct GATE {
    static void Hold(int, const char*, void* pUser) {
        auto& gate = *static_cast<GATE*>(pUser);
        gate.bHolds = true;
        WaitUntil([&] { return gate.bGo.load(); });
    }
    std::atomic<bool> bHolds{false}, bGo{false};
};

bool IsDone(const std::future<void>& action, std::chrono::milliseconds wait) {
    return action.wait_for(wait) == std::future_status::ready;
}

class Log : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_log.SetLogDir(m_dir.Path().c_str()));
        ASSERT_TRUE(m_log.SetLogAppname("app"));
        m_log.SetLogLevel(YLOG_BUFF);
    }
    void TearDown() override {
        m_log.SetLog2Console(false);
        m_log.SetLog2File(false);
        m_log.SetLog2Func(nullptr, nullptr);
        for (const auto set :
             {YLog4C::SetLog2MultiThread, YLog4C::SetFlushRT, YLog4C::SetLogDiary, YLog4C::SetLogThreadID})
            set(false);
        m_log.SetLogFileMaxcnt(YLog4C::MAX_FILE_COUNT);
        m_log.SetLogMaxsize(1 << 24);
        m_log.CloseLog();
        EXPECT_FALSE(YLog4C::IsOn());
    }
    /// Lets the background writer stand in its first record until the gate opens.
    void HoldWriter(GATE& gate) {
        m_log.SetLog2File(true);
        m_log.SetLog2MultiThread(true);
        m_log.SetLog2Func(GATE::Hold, &gate);
        m_log.Info("first");
        ASSERT_TRUE(WaitUntil([&] { return gate.bHolds.load(); }));
    }
    std::string Written(const char* pName = "app.log") { return ReadBytes(m_dir.Path() / pName); }

    CTempDir m_dir;
    YLog4C& m_log = *YLog4C::GetInstance();
};

TEST_F(Log, SettingsOutsideTheirBoundsChangeNothing) {
    const std::string longest = "/" + std::string(254, 'd'), tooLong = longest + "d";
    testing::internal::CaptureStderr();
    for (const char* pWrong : {static_cast<const char*>(nullptr), "", tooLong.c_str()})
        EXPECT_FALSE(m_log.SetLogDir(pWrong) || m_log.SetLogAppname(pWrong) || YLog4C::SetLogPlace(pWrong));
    EXPECT_FALSE(YLog4C::SetLogPlace((std::string(64, 'n') + ".log").c_str()));
    EXPECT_FALSE(m_log.SetLogFileMaxcnt(0) || m_log.SetLogFileMaxcnt(101) || m_log.SetLogMaxsize(0));
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(Holds(printed, "lpszDir!=NULL") && Holds(printed, "lpszAppname!=NULL"));
    EXPECT_EQ(YLog4C::Log4COpenLog(nullptr), m_dir.File("app.log"));
    EXPECT_TRUE(m_log.SetLogAppname(std::string(63, 'a').c_str()) && m_log.SetLogDir(longest.c_str()));
    EXPECT_EQ(YLog4C::Log4COpenLog(""), longest + "/" + std::string(63, 'a') + ".log");
}

TEST_F(Log, APlaceIsADirectoryOrAFile) {
    const fs::path before = fs::current_path();
    fs::create_directory(m_dir.File("folder.log"));
    const std::pair<std::string, std::string> rows[] = {{"gate.log", m_dir.File("gate.log")},
                                                        {"logs/gate.log", m_dir.File("logs/gate.log")},
                                                        {"/gate.log", "//gate.log"},
                                                        {m_dir.File("a.log.log"), m_dir.File("a.log.log")}};
    for (const auto& [place, path] : rows) {
        fs::current_path(m_dir.Path());
        EXPECT_TRUE(YLog4C::SetLogPlace(place.c_str())) << place;
        fs::current_path(before);  // a place stays where it was
        EXPECT_EQ(YLog4C::Log4COpenLog(nullptr), path);
    }
    for (const std::string& directory : {m_dir.File("folder.log"), m_dir.File("logs"), m_dir.File(".log")}) {
        EXPECT_TRUE(YLog4C::SetLogPlace(directory.c_str()));
        const std::string path = YLog4C::Log4COpenLog(nullptr);  // named after the program
        EXPECT_TRUE(fs::path(path).parent_path() == directory && path != directory + "/a.log.log") << path;
    }
}

TEST_F(Log, LevelsDecideAndTheFunctionHearsWhatTheFileHolds) {
    HEARD heard;
    m_log.SetLog2Func(HEARD::Hear, &heard);
    m_log.SetLog2File(true);
    for (const int allowed : {YLOG_FATAL, YLOG_WARN, YLOG_BUFF}) {
        heard.levels.clear();
        m_log.SetLogLevel(allowed);
        for (int level = YLOG_FATAL; level <= YLOG_BUFF; ++level) YLOG(level, "at %d", level);
        EXPECT_EQ(heard.levels.size(), static_cast<size_t>(allowed) + 1);
        EXPECT_EQ(heard.levels.back(), allowed);
    }
    m_log.Info("to %s", "inform");
    m_log.LogBuff("path/File.cpp", 7,
                  "\x01\xAB"
                  "0123456789abcdef",
                  18);
    EXPECT_EQ(heard.text, Written());
    EXPECT_TRUE(Holds(heard.text, "INFO  [" + std::to_string(getpid()) + "] to inform\n"));
    EXPECT_TRUE(Holds(heard.text,
                      "] File.cpp:7 18 bytes\n  0000: 01 ab 30 31 32 33 34 35 36 37 38 39 61 62 63 64\n"
                      "  0010: 65 66\n"));
    EXPECT_FALSE(Holds(heard.text, "from inside"));
    m_log.SetLogLevel(-7);
    EXPECT_FALSE(YLog4C::IsOn(YLOG_ERROR));
    EXPECT_TRUE(YLog4C::IsOn(YLOG_FATAL));
}

TEST_F(Log, AnyTextIsOneLineAndNothingOfTheCallerChanges) {
    m_log.SetLog2File(true);
    m_log.SetLogThreadID(true);
    CThreadState::Instance()->SetLastError(HLX_BUSY);
    errno = ENOTTY;
    YLOG(YLOG_INFO, "%s", "two\nlines\x1B[2J\r\n");
    YLOG(YLOG_INFO, "%s", std::string(100000, 'x').c_str());
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(CThreadState::Instance()->GetLastError(), DWORD{HLX_BUSY});
    const std::string text = Written();
    EXPECT_TRUE(Holds(text, " two?lines?[2J\n"));
    EXPECT_TRUE(Holds(text, "[" + std::to_string(getpid()) + ":" + std::to_string(gettid()) + "] LogTest.cpp:"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_TRUE(Holds(text, " " + std::string(2047, 'x') + "\n"));
}

TEST_F(Log, BackgroundWriterKeepsTheOrderAndEndsWithTheLog) {
    constexpr int RECORDS = 2000;
    const int threads = ThreadCount();
    HEARD heard;
    m_log.SetLog2Func(HEARD::Hear, &heard);
    m_log.SetLog2File(true);
    m_log.SetLog2MultiThread(true);
    for (int number = 0; number < RECORDS; ++number) m_log.Info("n%d", number);
    m_log.FlushLog();
    EXPECT_EQ(heard.threads.size(), 1u);
    EXPECT_EQ(heard.threads.count(std::this_thread::get_id()), 0u);
    std::istringstream lines(Written());
    std::string line;
    for (int number = 0; std::getline(lines, line); ++number)
        ASSERT_EQ(line.substr(line.rfind(' ')), " n" + std::to_string(number));
    EXPECT_EQ(heard.levels.size(), size_t{RECORDS});

    m_log.SetFlushRT(true);
    m_log.Info("at once");
    EXPECT_TRUE(Holds(Written(), "at once"));
    m_log.CloseLog();
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() == threads; }));
    m_log.Info("opened again");
    EXPECT_TRUE(Holds(Written(), "opened again"));
}

TEST_F(Log, AConsoleThatNobodyReadsHoldsUpNobody) {
    constexpr size_t LINES = 300;
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    fcntl(ends[1], F_SETPIPE_SZ, 8192);
    const int console = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    std::string seen;
    const auto drain = [&] {
        char buffer[4096];
        for (ssize_t got; (got = read(ends[0], buffer, sizeof(buffer))) > 0;) seen.append(buffer, size_t(got));
    };
    m_log.SetLog2Console(true);
    m_log.SetLog2File(true);
    const auto writing = std::async(std::launch::async, [&] {
        m_log.LogBuff(nullptr, 0, std::string(4096, 'x').c_str(), 4096);
        for (size_t line = 1; line < LINES; ++line) m_log.Info("line %zu", line);
    });
    const bool bInTime = IsDone(writing, std::chrono::seconds(8));
    while (!IsDone(writing, std::chrono::milliseconds(0))) drain();
    drain();
    m_log.Info("again");
    drain();
    m_log.SetLog2Console(false);
    dup2(console, STDERR_FILENO);
    for (const int end : {ends[0], ends[1], console}) close(end);

    EXPECT_TRUE(bInTime);
    EXPECT_TRUE(Holds(Written(), "line 299\n"));
    const std::string note = " console lines were lost\n";
    const size_t told = seen.find(note);
    ASSERT_NE(told, std::string::npos);
    const size_t lost = std::stoul(seen.substr(seen.rfind('\n', told) + 1));
    EXPECT_EQ(seen.substr(seen.size() - 7), " again\n");
    const size_t dumpLines = 4096 / 16;  // behind the head of their record
    EXPECT_EQ(lost + static_cast<size_t>(std::count(seen.begin(), seen.end(), '\n')), LINES + dumpLines + 2);
}

TEST_F(Log, NobodyWaitsForAWriterThatEnds) {
    GATE gate;
    HoldWriter(gate);
    const auto closing = std::async(std::launch::async, [&] { m_log.CloseLog(); });
    EXPECT_FALSE(IsDone(closing, std::chrono::milliseconds(50)));
    const auto logging = std::async(std::launch::async, [&] { m_log.Info("meanwhile"); });
    EXPECT_TRUE(IsDone(logging, std::chrono::seconds(5)));
    const auto flushing = std::async(std::launch::async, [&] { m_log.FlushLog(); });
    EXPECT_FALSE(IsDone(flushing, std::chrono::milliseconds(50)));
    gate.bGo = true;
    closing.wait();
    m_log.Info("behind");
    m_log.FlushLog();
    EXPECT_TRUE(Holds(Written(), " behind\n"));
}

TEST_F(Log, AForkedChildHasNoLogAndEndsAllTheSame) {
    m_log.SetLog2File(true);
    m_log.SetLog2MultiThread(true);
    m_log.Info("parent");
    m_log.FlushLog();
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        for (int number = 0; number < 10; ++number) m_log.Info("child");
        m_log.SetLogDir(m_dir.File("child").c_str());
        m_log.SetLog2File(true);
        m_log.Info("child");
        m_log.FlushLog();
        m_log.~YLog4C();
        _exit(fs::exists(m_dir.Path() / "child"));
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    m_log.Info("behind");
    m_log.FlushLog();
    EXPECT_FALSE(Holds(Written(), "child"));
    EXPECT_TRUE(Holds(Written(), "behind"));
}

TEST_F(Log, SlowOutputLosesLinesAndSaysSo) {
    GATE gate;
    HoldWriter(gate);
    const std::string text(2000, 'x');
    for (int number = 0; number < 1500; ++number) m_log.Info("%s", text.c_str());
    gate.bGo = true;
    m_log.Info("behind");
    m_log.FlushLog();
    const std::string written = Written();
    EXPECT_TRUE(Holds(written, " lines were lost\n"));
    EXPECT_LT(written.size(), 2500000u);
    EXPECT_GT(written.size(), 900000u);
}

TEST_F(Log, DiaryHasAFileForEachDayAndKeepsTheNewest) {
    CMovedTime time;
    m_log.SetLog2File(true);
    m_log.SetLogDiary(true);
    m_log.SetLogFileMaxcnt(3);
    std::vector<std::string> days;
    for (int day = 0; day < 5; ++day) {
        days.push_back("app_" + LogDate(time.WallMicroseconds()) + ".log");
        EXPECT_EQ(YLog4C::Log4COpenLog(nullptr), m_dir.File(days.back().c_str()));
        m_log.Info("day %d", day);
        time.JumpWall(24 * 3600 * 1000);
    }
    EXPECT_EQ(FileCount(m_dir.Path()), 3u);
    for (size_t day = 2; day < days.size(); ++day)
        EXPECT_TRUE(Holds(Written(days[day].c_str()), "day " + std::to_string(day))) << day;
}

TEST_F(Log, RotationStaysWithinBothLimitsAtAnyTime) {
    const struct {
        int maxSize, maxCount;
        const char* pNewest;
        size_t left;
    } rows[] = {{500, 1, "app.log.7", 1},
                {500, 2, "app.log.7", 2},
                {1000, 5, "app.log.7", 5},
                {1000, 5, "app.log.999999999", 4}};  // the highest number there may be is used again
    m_log.SetLog2File(true);
    for (const auto& row : rows) {
        const CTempDir dir;
        m_log.SetLogDir(dir.Path().c_str());
        m_log.SetLogMaxsize(row.maxSize);
        m_log.SetLogFileMaxcnt(row.maxCount);
        const auto written = [&] { return ReadBytes(dir.File("app.log")); };
        for (const char* pForeign :
             {"app.txt", "app.log.1.gz", "apple.log", "app_2026.log", "app.log.x", "app.2.log", "app.2.log.1"})
            std::ofstream(dir.Path() / pForeign) << "foreign";
        const size_t foreign = FileCount(dir.Path());
        for (const char* pOld : {"app_20200101.log", "app_20200101.log.4", row.pNewest})
            std::ofstream(dir.Path() / pOld) << "old\n";
        for (int number = 0; number < 300; ++number) {
            m_log.Info("line %d", number);
            ASSERT_LE(FileCount(dir.Path()) - foreign, static_cast<size_t>(row.maxCount));
            ASSERT_TRUE(Holds(written(), "line " + std::to_string(number) + "\n"));
        }
        for (const auto& file : fs::directory_iterator(dir.Path()))
            EXPECT_LE(file.file_size(), static_cast<size_t>(row.maxSize)) << file.path();
        EXPECT_EQ(FileCount(dir.Path()) - foreign, row.left);
        m_log.Info("%s", std::string(2000, 'x').c_str());  // fits no file
        m_log.Info("after it");
        EXPECT_TRUE(Holds(written(), " 1 lines were lost\n") && Holds(written(), " after it\n"));
    }
}

TEST_F(Log, AFullFileThatCannotBeEmptiedEndsTheTry) {
    const int sealed = memfd_create("log", MFD_ALLOW_SEALING);
    ASSERT_EQ(fcntl(sealed, F_ADD_SEALS, F_SEAL_SHRINK), 0);
    fs::create_symlink("/proc/self/fd/" + std::to_string(sealed), m_dir.Path() / "app.log");
    CMovedTime time;
    CLogFile file;
    const LOG_FILE_PLACE place{m_dir.Path(), "app", "", 100, 1};
    const std::string line = std::string(59, 'x') + "\n";
    EXPECT_EQ(file.Append(place, line), 0u);
    EXPECT_EQ(file.Append(place, line + line), 2u);
    EXPECT_FALSE(file.Prepare(place)) << "not tried again yet";
    time.Advance(6000);
    EXPECT_TRUE(file.Prepare(place));
    close(sealed);
}

TEST_F(Log, TwoProcessesShareAFolder) {
    constexpr int WRITERS = 3, LINES = 400;
    const LOG_FILE_PLACE place{m_dir.Path(), "app", "", 2000, 100};
    CMovedTime time;
    CLogFile log;  // open before, so that the children have it too
    ASSERT_EQ(log.Append(place, "parent\n"), 0u);
    pid_t writers[WRITERS];
    for (int writer = 0; writer < WRITERS; ++writer) {
        writers[writer] = fork();
        if (writers[writer] != 0) continue;
        alarm(60);
        for (int number = 0; number < LINES; ++number) {
            const std::string line = "writer " + std::to_string(writer) + " line " + std::to_string(number) + "\n";
            while (log.Append(place, line) != 0) time.Advance(6000);  // a busy machine: no turn in time
        }
        _exit(0);
    }
    for (const pid_t writer : writers) {
        int status = -1;
        ASSERT_EQ(waitpid(writer, &status, 0), writer);
        ASSERT_EQ(status, 0);
    }
    std::multiset<std::string> lines;
    for (const auto& entry : fs::directory_iterator(m_dir.Path())) {
        EXPECT_LE(entry.file_size(), 2000u);
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) lines.insert(line);
    }
    EXPECT_EQ(lines.size(), size_t{WRITERS * LINES + 1});
    for (const std::string& line : lines) EXPECT_EQ(lines.count(line), 1u) << line;
}

TEST_F(Log, UnusablePlacesDoNoHarmAndTheLogRecovers) {
    CMovedTime time;
    m_log.SetLog2File(true);
    std::ofstream(m_dir.Path() / "file") << "no directory";
    ASSERT_EQ(mkfifo(m_dir.File("pipe.log").c_str(), 0600), 0);
    fs::create_symlink("/dev/full", m_dir.Path() / "full.log");
    fs::create_directory(m_dir.Path() / "dir.log");
    m_log.SetLogDir(m_dir.File("file").c_str());
    m_log.Info("lost");
    EXPECT_FALSE(m_log.OpenLog());
    m_log.SetLogDir(m_dir.Path().c_str());
    for (const char* pName : {"pipe", "full", "dir"}) {
        m_log.SetLogAppname(pName);
        m_log.Info("lost");
        EXPECT_FALSE(m_log.OpenLog()) << pName;
    }
    fs::remove(m_dir.Path() / "dir.log");
    EXPECT_FALSE(m_log.OpenLog()) << "not tried again yet";
    time.Advance(6000);
    m_log.Info("recovered");
    EXPECT_TRUE(Holds(Written("dir.log"), " 4 lines were lost\n"));
    EXPECT_TRUE(Holds(Written("dir.log"), " recovered\n"));
    m_log.SetLogDir(m_dir.File("new/deep").c_str());
    EXPECT_TRUE(m_log.OpenLog());
    EXPECT_TRUE(fs::exists(m_dir.Path() / "new/deep/dir.log"));
}

/// A limit on file sizes stands for a disk that has no room left in the middle of a line.
TEST_F(Log, FullDiskLeavesNoHalfLines) {
    m_log.SetLog2File(true);
    m_log.Info("before");
    const auto size = fs::file_size(m_dir.Path() / "app.log");
    {
        const CFullDisk full(size + 10);
        for (int number = 0; number < 3; ++number) m_log.Info("does not fit");
        EXPECT_EQ(fs::file_size(m_dir.Path() / "app.log"), size);
    }
    m_log.Info("after");
    const std::string text = Written();
    EXPECT_FALSE(Holds(text, "does not fit"));
    EXPECT_TRUE(Holds(text, " 3 lines were lost\n"));
    EXPECT_TRUE(Holds(text, " after\n"));
}

TEST_F(Log, ManyThreadsAndChangingSettings) {
    m_log.SetLog2MultiThread(true);
    m_log.SetLog2File(true);
    m_log.SetLogMaxsize(5000);
    m_log.SetLogFileMaxcnt(4);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([this, thread] {
                for (int number = 0; number < 200; ++number) m_log.Info("thread %d line %d", thread, number);
            });
        for (int round = 0; round < 20; ++round) {
            m_log.SetLog2File(round % 2 == 0);
            m_log.SetLogDir(m_dir.File(round % 3 ? "a" : "b").c_str());
            m_log.SetLogDiary(round % 5 == 0);
            m_log.CloseLog();
        }
    }
    m_log.SetLog2File(true);
    m_log.Info("last");
    m_log.CloseLog();
    EXPECT_TRUE(Holds(ReadBytes(YLog4C::Log4COpenLog(nullptr)), " last\n"));
}

}  // namespace
