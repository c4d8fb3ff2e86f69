// Every call that the library makes to the system fails in its turn, once and for good, while an application logs in, plays and ends.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#include "../cli/Process.h"
#include "HLX.h"
#include "support/FaultPlan.h"
#include "support/MovedTime.h"
#include "support/TestSupport.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr unsigned SEED = 20;
constexpr auto SAMPLE_TIME = 1000ms;   // what a test spends on its sites when not all are asked for
constexpr unsigned LONGEST_SITE = 40;  // seconds, then it hangs
constexpr int SOME_FRAMES = 3;

/// How fast time runs: where success is expected, where a link may have to heal, where nothing can succeed.
constexpr int RATE_SURE = 1, RATE_HEALING = 20, RATE_LOST = 200;

char g_site[128];

void TellHang(int) {
    const ssize_t ignored = write(STDERR_FILENO, g_site, strnlen(g_site, sizeof(g_site)));
    (void)ignored;
    abort();
}

/// A recorder for all tests of the program.
class CRecorder {
public:
    explicit CRecorder(std::vector<std::string> more = {})
        : m_process(Line(std::move(more)), {{"HLX_PASSWORD=secret"}, {}, false}) {
        EXPECT_TRUE(m_process.ReadUntil("\n")) << m_process.Errors();
        m_port = static_cast<WORD>(std::stoi(m_process.Output().substr(m_process.Output().find("\"port\":") + 7)));
    }
    WORD Port() const { return m_port; }

private:
    static std::vector<std::string> Line(std::vector<std::string> more) {
        std::vector<std::string> line = {HLX_SIMULATOR, "classic",       "--port",  "0",  "--channels",  "4",
                                         "--user",      "admin",         "--speed", "20", "--heartbeat", "50",
                                         "--media",     HLX_MEDIA_FOLDER};
        line.insert(line.end(), more.begin(), more.end());
        return line;
    }
    CProcess m_process;
    WORD m_port = 0;
};

CRecorder& SteadyRecorder() {
    static CRecorder recorder;
    return recorder;
}

/// Closes each link after a while.
CRecorder& CuttingRecorder() {
    static CRecorder recorder({"--fault", "close-after=300000"});
    return recorder;
}

/// In place of an error: the call moves one byte only.
constexpr int ONE_BYTE = -1;

enum class EXPECTED { SUCCESS, HEALING, NOTHING };

class SystemFaults;
struct FAULT_ROW {
    const char* pName;
    void (SystemFaults::*scenario)(EXPECTED expected);
    SYSTEM_CALL call;
    std::vector<int> unseenForGood;  // errors, or ONE_BYTE: the scenario succeeds as if nothing had been
    std::vector<int> unseenOnce;     // the same for one such fault
    std::vector<int> others;
};

std::ostream& operator<<(std::ostream& out, const FAULT_ROW& row) { return out << row.pName; }

class SystemFaults : public testing::TestWithParam<FAULT_ROW> {
public:
    /// An application that plays streams.
    void Play(EXPECTED expected) { Use(SteadyRecorder(), &SystemFaults::PlaySome, expected); }
    /// One whose link is cut again and again.
    void Heal(EXPECTED expected) { Use(CuttingRecorder(), &SystemFaults::PlayOverCuts, expected); }
    /// One that devices call.
    void Listen(EXPECTED expected);

protected:
    void SetUp() override;
    void RunSite(const FAULT_PLAN& plan, EXPECTED expected);
    int CountSites();
    std::vector<std::pair<FAULT_PLAN, EXPECTED>> Sites(int count) const;
    void ExpectNothingLeft();

    /// One call of the application. Its result is told by `failed`; a failure has a number.
    template <class Operation, class Result>
    bool Call(const char* pName, EXPECTED expected, Result failure, Operation operation) {
        Result result;
        {
            const CTestsOwnDoing library(false);
            result = operation();
        }
        if (result != failure) return true;
        EXPECT_NE(HLX_GetLastError(), DWORD{HLX_SUCCESS}) << pName << " fails without a number";
        EXPECT_NE(expected, EXPECTED::SUCCESS) << pName << " fails with " << HLX_GetLastError();
        return false;
    }
    void Use(const CRecorder& recorder, void (SystemFaults::*play)(LONG, EXPECTED), EXPECTED expected);
    void PlaySome(LONG lUserID, EXPECTED expected);
    void PlayOverCuts(LONG lUserID, EXPECTED expected);
    void Stop(POINTERHANDLE handle);
    void End();
    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO info, BYTE*, void* pUser) {
        if (info.frameType == DD_FRAME_TYPE_VIDEO) ++static_cast<SystemFaults*>(pUser)->m_frames;
    }

    static void OnException(DWORD type, LONG, LONG, void* pUser) {
        if (type == NETWORK_RECONNECT) ++static_cast<SystemFaults*>(pUser)->m_returns;
    }

    const CTestsOwnDoing m_own;
    CMovedTime m_time;
    CTempDir m_logs;
    std::atomic<int> m_frames{0};
    std::atomic<int> m_returns{0};
    char m_picture[1 << 20];
    int m_threads = 0;
    int m_descriptors = 0;
};

void SystemFaults::SetUp() {
    signal(SIGALRM, TellHang);
    SteadyRecorder();
    CuttingRecorder();
    ASSERT_TRUE(HLX_Init());
    HLX_Cleanup();  // what lives as long as the process is there from now on
    m_threads = ThreadCount();
    m_descriptors = OpenDescriptorCount();
}

void SystemFaults::ExpectNothingLeft() {
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= m_threads; }))
        << ThreadCount() << " threads, were " << m_threads;
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() <= m_descriptors; }, 1s));
}

void SystemFaults::Use(const CRecorder& recorder, void (SystemFaults::*play)(LONG, EXPECTED), EXPECTED expected) {
    m_frames = m_returns = 0;
    if (!Call("HLX_Init", expected, BOOL{0}, HLX_Init)) return;
    Call("HLX_SetLogToFile", EXPECTED::SUCCESS, BOOL{0},
         [&] { return HLX_SetLogToFile(1, m_logs.Path().c_str(), 0, YLOG_INFO); });
    HLX_DEVICEINFO device{};
    LONG lUserID = -1;
    Call("HLX_Login", expected, LONG{-1},
         [&] { return lUserID = HLX_Login("127.0.0.1", recorder.Port(), "admin", "secret", &device); });
    if (lUserID > 0) {
        (this->*play)(lUserID, expected);
        Call("HLX_Logout", EXPECTED::SUCCESS, BOOL{0}, [&] { return HLX_Logout(lUserID); });
    }
    End();
}

void SystemFaults::PlaySome(LONG lUserID, EXPECTED expected) {
    HLX_CLIENTINFO info{};
    POINTERHANDLE handle = -1;
    if (!Call("HLX_LivePlay", expected, POINTERHANDLE{-1},
              [&] { return handle = HLX_LivePlay(lUserID, &info, OnFrame, this); }))
        return;
    const auto played = [&] { return m_frames >= SOME_FRAMES; };
    const bool bPlayed = WaitUntil(played, expected == EXPECTED::NOTHING ? 30ms : 20000ms);
    EXPECT_TRUE(bPlayed || expected == EXPECTED::NOTHING) << "no frames";
    // The same channel once more, which takes a session of its own, and a picture.
    POINTERHANDLE handle2 = -1;
    Call("HLX_LivePlay", expected, POINTERHANDLE{-1},
         [&] { return handle2 = HLX_LivePlay(lUserID, &info, OnFrame, this); });
    DWORD dwSize = 0;
    Call("HLX_CaptureJPEGPicture", expected, BOOL{0},
         [&] { return HLX_CaptureJPEGPicture(lUserID, 1, nullptr, m_picture, sizeof(m_picture), &dwSize); });
    Call("HLX_MakeKeyFrame", expected, BOOL{0}, [&] { return HLX_MakeKeyFrame(lUserID, 0); });
    Stop(handle);
    if (handle2 > 0) Stop(handle2);
}

void SystemFaults::Stop(POINTERHANDLE handle) {
    Call("HLX_StopLivePlay", EXPECTED::SUCCESS, BOOL{0}, [&] { return HLX_StopLivePlay(handle); });
}

/// Once the system has recovered, so has the stream.
void SystemFaults::PlayOverCuts(LONG lUserID, EXPECTED expected) {
    HLX_SetReconnect(500, 1);
    HLX_SetSDKMessageCallBack(0, nullptr, OnException, this);
    HLX_CLIENTINFO info{};
    POINTERHANDLE handle = -1;
    if (!Call("HLX_LivePlay", expected, POINTERHANDLE{-1},
              [&] { return handle = HLX_LivePlay(lUserID, &info, OnFrame, this); }))
        return;
    const bool bLost = expected == EXPECTED::NOTHING;
    m_time.SetRate(bLost ? RATE_LOST : RATE_HEALING);
    EXPECT_TRUE(WaitUntil([&] { return m_returns > 0; }, bLost ? 100ms : 20000ms) || bLost);
    CFaultsInForce::Lift();
    m_time.SetRate(RATE_HEALING);
    const int before = m_frames;
    EXPECT_TRUE(WaitUntil([&] { return m_frames >= before + SOME_FRAMES; }, 20000ms)) << "no frames any more";
    Stop(handle);
}

void SystemFaults::Listen(EXPECTED expected) {
    if (!Call("HLX_Init", expected, BOOL{0}, HLX_Init)) return;
    const int caller = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* pAddress = reinterpret_cast<sockaddr*>(&address);
    EXPECT_TRUE(bind(probe, pAddress, size) == 0 && getsockname(probe, pAddress, &size) == 0);
    close(probe);
    Call("HLX_SetRegisterPort", expected, BOOL{0},
         [&] { return HLX_SetRegisterPort(ntohs(address.sin_port), nullptr, 0); });
    // A caller that speaks no protocol of ours is sent away.
    const timeval patience{expected == EXPECTED::NOTHING ? 0 : 20, 50000};
    setsockopt(caller, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    char answer = 0;
    const std::string noBlock(64, 'x');
    const bool bServed = connect(caller, pAddress, size) == 0 && send(caller, noBlock.data(), 64, MSG_NOSIGNAL) == 64 &&
                         (recv(caller, &answer, 1, 0) == 0 || errno == ECONNRESET);
    EXPECT_TRUE(bServed || expected != EXPECTED::SUCCESS);
    close(caller);
    Call("HLX_SetRegisterPort", EXPECTED::SUCCESS, BOOL{0}, [] { return HLX_SetRegisterPort(0, nullptr, 0); });
    End();
}

/// Whatever fails, what was begun can be ended.
void SystemFaults::End() {
    m_time.SetRate(RATE_LOST);
    Call("HLX_Cleanup", EXPECTED::SUCCESS, BOOL{0}, HLX_Cleanup);
}

int SystemFaults::CountSites() {
    const CFaultsInForce counting({GetParam().call, 0, false, {}});
    (this->*GetParam().scenario)(EXPECTED::SUCCESS);
    return CFaultsInForce::Calls(GetParam().call);
}

std::vector<std::pair<FAULT_PLAN, EXPECTED>> SystemFaults::Sites(int count) const {
    const FAULT_ROW& row = GetParam();
    std::vector<std::pair<FAULT_PLAN, EXPECTED>> sites;
    const auto add = [&](const auto& faults, bool bForGood, EXPECTED expected) {
        for (const int error : faults) {
            const SYSTEM_FAULT fault = error == ONE_BYTE ? SYSTEM_FAULT{0, 1} : SYSTEM_FAULT{error};
            for (int site = 1; site <= count; ++site) sites.push_back({{row.call, site, bForGood, fault}, expected});
        }
    };
    for (const bool bForGood : {false, true}) add(row.unseenForGood, bForGood, EXPECTED::SUCCESS);
    add(row.unseenOnce, false, EXPECTED::SUCCESS);
    add(row.others, false, EXPECTED::HEALING);
    add(row.others, true, EXPECTED::NOTHING);
    return sites;
}

void SystemFaults::RunSite(const FAULT_PLAN& plan, EXPECTED expected) {
    std::snprintf(g_site, sizeof(g_site), "%s, call %d fails %s with %d, at most %zu bytes\n", GetParam().pName,
                  plan.site, plan.bForGood ? "for good" : "once", plan.fault.error, plan.fault.longest);
    SCOPED_TRACE(g_site);
    alarm(LONGEST_SITE);
    const CFaultsInForce faults(plan);
    m_time.SetRate(expected == EXPECTED::SUCCESS   ? RATE_SURE
                   : expected == EXPECTED::HEALING ? RATE_HEALING
                                                   : RATE_LOST);
    (this->*GetParam().scenario)(expected);
    ExpectNothingLeft();
    CFaultsInForce::Lift();
    m_time.SetRate(RATE_SURE);
    (this->*GetParam().scenario)(EXPECTED::SUCCESS);
    ExpectNothingLeft();
    alarm(0);
}

using F = SystemFaults;
using C = SYSTEM_CALL;
const FAULT_ROW ROWS[] = {
    {"play_socket", &F::Play, C::SOCKET, {}, {}, {EMFILE, ENFILE, ENOBUFS, ENOMEM}},
    {"play_connect", &F::Play, C::CONNECT, {}, {EINTR, EAGAIN}, {EAGAIN, ECONNRESET, ENOBUFS}},
    {"play_recv", &F::Play, C::RECV, {ONE_BYTE}, {EINTR, EAGAIN}, {EAGAIN, ECONNRESET, ENOBUFS}},
    {"play_send", &F::Play, C::SEND, {ONE_BYTE}, {EINTR, EAGAIN}, {EAGAIN, ECONNRESET, EPIPE, ENOBUFS}},
    {"play_epoll_create", &F::Play, C::EPOLL_CREATE, {}, {}, {EMFILE, ENOMEM}},
    {"play_epoll_ctl", &F::Play, C::EPOLL_CTL, {}, {EINTR}, {ENOMEM, ENOSPC}},
    {"play_epoll_wait", &F::Play, C::EPOLL_WAIT, {}, {EINTR}, {ENOMEM, EINTR}},
    {"play_event_fd", &F::Play, C::EVENT_FD, {}, {}, {EMFILE, ENOMEM}},
    {"play_open_file", &F::Play, C::OPEN_FILE, {EMFILE, ENFILE, ENOSPC, EINTR}, {}, {}},
    {"play_write_file", &F::Play, C::WRITE_FILE, {ENOSPC, EAGAIN, EINTR, ONE_BYTE}, {}, {}},
    {"play_map_memory", &F::Play, C::MAP_MEMORY, {}, {}, {ENOMEM}},
    {"play_start_thread", &F::Play, C::START_THREAD, {}, {}, {EAGAIN}},
    {"play_allocate", &F::Play, C::ALLOCATE, {}, {}, {ENOMEM}},
    {"heal_socket", &F::Heal, C::SOCKET, {}, {}, {EMFILE}},
    {"heal_connect", &F::Heal, C::CONNECT, {}, {}, {ECONNRESET}},
    {"heal_recv", &F::Heal, C::RECV, {}, {}, {EINTR, ECONNRESET}},
    {"heal_send", &F::Heal, C::SEND, {}, {}, {EPIPE}},
    {"heal_epoll_ctl", &F::Heal, C::EPOLL_CTL, {}, {}, {ENOSPC}},
    {"heal_map_memory", &F::Heal, C::MAP_MEMORY, {}, {}, {ENOMEM}},
    {"heal_start_thread", &F::Heal, C::START_THREAD, {}, {}, {EAGAIN}},
    {"heal_allocate", &F::Heal, C::ALLOCATE, {}, {}, {ENOMEM}},
    {"listen_socket", &F::Listen, C::SOCKET, {}, {}, {EMFILE, ENOBUFS}},
    {"listen_bind", &F::Listen, C::BIND, {}, {}, {ENOBUFS}},
    {"listen_listen", &F::Listen, C::LISTEN, {}, {}, {ENOBUFS}},
    {"listen_accept", &F::Listen, C::ACCEPT, {}, {EINTR, EAGAIN, EMFILE, ENFILE, ENOMEM}, {EMFILE, ENOBUFS}},
    {"listen_recv", &F::Listen, C::RECV, {ONE_BYTE}, {EINTR, EAGAIN}, {ECONNRESET}},
    {"listen_event_fd", &F::Listen, C::EVENT_FD, {}, {}, {EMFILE}},
    {"listen_start_thread", &F::Listen, C::START_THREAD, {}, {}, {EAGAIN}},
    {"listen_allocate", &F::Listen, C::ALLOCATE, {}, {}, {ENOMEM}},
};

/// In a child that has not used the library yet. What it finds is its exit code.
enum START_RESULT { START_GOOD, START_WITHOUT_NUMBER, START_STAYS_REFUSED, START_HAS_NO_SUCH_SITE };

START_RESULT StartFresh(const FAULT_PLAN& plan) {
    alarm(LONGEST_SITE);
    const CFaultsInForce faults(plan);
    LONG number = 0;
    if (HLX_Init()) {
        HLX_Cleanup();
    } else {
        HLX_GetErrorMsg(&number);
        if (number != HLX_ALLOC_RESOURCE_ERROR) return START_WITHOUT_NUMBER;
    }
    if (CFaultsInForce::Calls(plan.call) < plan.site) return START_HAS_NO_SUCH_SITE;
    CFaultsInForce::Lift();
    return HLX_Init() && HLX_Cleanup() ? START_GOOD : START_STAYS_REFUSED;
}

}  // namespace

/// What is made once in a process is made again when it could not be made the first time.
TEST(FreshProcess, StartsOnceThereIsMemory) {
    CMovedTime time;
    time.SetRate(RATE_LOST);
    int found = START_GOOD;
    for (int site = 1; found == START_GOOD; ++site) {
        const pid_t child = fork();
        if (child == 0) _exit(StartFresh({SYSTEM_CALL::ALLOCATE, site, true, {ENOMEM}}));
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << "allocation " << site;
        found = WEXITSTATUS(status);
    }
    EXPECT_EQ(found, START_HAS_NO_SUCH_SITE);
}

TEST_P(SystemFaults, FailAndPass) {
    alarm(LONGEST_SITE);
    const int count = CountSites();
    ASSERT_GT(count, 0);
    auto sites = Sites(count);
    const bool bAll = std::getenv("HLX_TEST_ALL_SITES") != nullptr;
    if (!bAll) std::shuffle(sites.begin(), sites.end(), std::minstd_rand(SEED));
    size_t run = 0;
    for (const auto end = Clock::now() + SAMPLE_TIME; run < sites.size() && (bAll || run == 0 || Clock::now() < end);
         ++run)
        RunSite(sites[run].first, sites[run].second);
    std::printf("%d calls, %zu of %zu faults\n", count, run, sites.size());
}

INSTANTIATE_TEST_SUITE_P(, SystemFaults, testing::ValuesIn(ROWS), [](const auto& row) { return row.param.pName; });
