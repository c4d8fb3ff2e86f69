// Every call that the library makes to the system fails in its turn, once and for good, while an application logs in, plays and ends.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
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

/// One recorder for all tests of the program.
int RecorderPort() {
    static CProcess recorder({HLX_SIMULATOR, "classic", "--port", "0", "--channels", "4", "--user", "admin", "--speed",
                              "20", "--heartbeat", "50", "--media", HLX_MEDIA_FOLDER},
                             {{"HLX_PASSWORD=secret"}, {}, false});
    static const int s_port = [] {
        EXPECT_TRUE(recorder.ReadUntil("\n")) << recorder.Errors();
        return std::stoi(recorder.Output().substr(recorder.Output().find("\"port\":") + 7));
    }();
    return s_port;
}

enum class EXPECTED { SUCCESS, HEALING, NOTHING };

class SystemFaults;
struct FAULT_ROW {
    const char* pName;
    void (SystemFaults::*scenario)(EXPECTED expected);
    SYSTEM_CALL call;
    std::vector<SYSTEM_FAULT> unseenForGood;  // the scenario succeeds as if nothing had been
    std::vector<SYSTEM_FAULT> unseenOnce;     // the same for one such fault
    std::vector<SYSTEM_FAULT> others;
};

std::ostream& operator<<(std::ostream& out, const FAULT_ROW& row) { return out << row.pName; }

class SystemFaults : public testing::TestWithParam<FAULT_ROW> {
public:
    /// An application that plays a stream.
    void Play(EXPECTED expected);
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
    void PlaySome(LONG lUserID, EXPECTED expected);
    void End();
    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO info, BYTE*, void* pUser) {
        if (info.frameType == DD_FRAME_TYPE_VIDEO) ++static_cast<SystemFaults*>(pUser)->m_frames;
    }

    const CTestsOwnDoing m_own;
    CMovedTime m_time;
    CTempDir m_logs;
    std::atomic<int> m_frames{0};
    char m_picture[1 << 20];
    int m_threads = 0;
    int m_descriptors = 0;
};

void SystemFaults::SetUp() {
    signal(SIGALRM, TellHang);
    RecorderPort();
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

void SystemFaults::Play(EXPECTED expected) {
    m_frames = 0;
    if (!Call("HLX_Init", expected, BOOL{0}, HLX_Init)) return;
    Call("HLX_SetLogToFile", EXPECTED::SUCCESS, BOOL{0},
         [&] { return HLX_SetLogToFile(1, m_logs.Path().c_str(), 0, YLOG_INFO); });
    HLX_DEVICEINFO device{};
    LONG lUserID = -1;
    Call("HLX_Login", expected, LONG{-1}, [&] {
        return lUserID = HLX_Login("127.0.0.1", static_cast<WORD>(RecorderPort()), "admin", "secret", &device);
    });
    if (lUserID > 0) {
        PlaySome(lUserID, expected);
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
    Call("HLX_StopLivePlay", EXPECTED::SUCCESS, BOOL{0}, [&] { return HLX_StopLivePlay(handle); });
    if (handle2 > 0) Call("HLX_StopLivePlay", EXPECTED::SUCCESS, BOOL{0}, [&] { return HLX_StopLivePlay(handle2); });
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
    Call("HLX_SetRegisterPort", EXPECTED::SUCCESS, BOOL{0},
         [&] { return HLX_SetRegisterPort(ntohs(address.sin_port), nullptr, 0); });
    // A caller that speaks no protocol of ours is sent away.
    const timeval patience{expected == EXPECTED::NOTHING ? 0 : 20, 50000};
    setsockopt(caller, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    char answer = 0;
    const bool bServed = connect(caller, pAddress, size) == 0 && send(caller, "GET /", 5, MSG_NOSIGNAL) == 5 &&
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
        for (const SYSTEM_FAULT& fault : faults)
            for (int site = 1; site <= count; ++site) sites.push_back({{row.call, site, bForGood, fault}, expected});
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
    CFaultsInForce faults(plan);
    m_time.SetRate(expected == EXPECTED::SUCCESS   ? RATE_SURE
                   : expected == EXPECTED::HEALING ? RATE_HEALING
                                                   : RATE_LOST);
    (this->*GetParam().scenario)(expected);
    ExpectNothingLeft();
    faults.Lift();
    m_time.SetRate(RATE_SURE);
    (this->*GetParam().scenario)(EXPECTED::SUCCESS);
    ExpectNothingLeft();
    alarm(0);
}

constexpr SYSTEM_FAULT Error(int error) { return {error}; }
constexpr SYSTEM_FAULT ONE_BYTE{0, 1};

const FAULT_ROW ROWS[] = {
    {"play_socket",
     &SystemFaults::Play,
     SYSTEM_CALL::SOCKET,
     {},
     {},
     {Error(EMFILE), Error(ENFILE), Error(ENOBUFS), Error(ENOMEM)}},
    {"play_connect",
     &SystemFaults::Play,
     SYSTEM_CALL::CONNECT,
     {},
     {Error(EINTR), Error(EAGAIN)},
     {Error(EAGAIN), Error(ECONNRESET), Error(ENOBUFS)}},
    {"play_recv",
     &SystemFaults::Play,
     SYSTEM_CALL::RECV,
     {ONE_BYTE},
     {Error(EINTR), Error(EAGAIN)},
     {Error(EAGAIN), Error(ECONNRESET), Error(ENOBUFS)}},
    {"play_send",
     &SystemFaults::Play,
     SYSTEM_CALL::SEND,
     {ONE_BYTE},
     {Error(EINTR), Error(EAGAIN)},
     {Error(EAGAIN), Error(ECONNRESET), Error(EPIPE), Error(ENOBUFS)}},
    {"play_epoll_create", &SystemFaults::Play, SYSTEM_CALL::EPOLL_CREATE, {}, {}, {Error(EMFILE), Error(ENOMEM)}},
    {"play_epoll_ctl", &SystemFaults::Play, SYSTEM_CALL::EPOLL_CTL, {}, {}, {Error(ENOMEM), Error(ENOSPC)}},
    {"play_epoll_wait",
     &SystemFaults::Play,
     SYSTEM_CALL::EPOLL_WAIT,
     {},
     {Error(EINTR)},
     {Error(ENOMEM), Error(EINTR)}},
    {"play_event_fd", &SystemFaults::Play, SYSTEM_CALL::EVENT_FD, {}, {}, {Error(EMFILE), Error(ENOMEM)}},
    {"play_open_file",
     &SystemFaults::Play,
     SYSTEM_CALL::OPEN_FILE,
     {Error(EMFILE), Error(ENFILE), Error(ENOSPC), Error(EINTR)},
     {},
     {}},
    {"play_write_file",
     &SystemFaults::Play,
     SYSTEM_CALL::WRITE_FILE,
     {Error(ENOSPC), Error(EAGAIN), Error(EINTR), ONE_BYTE},
     {},
     {}},
    {"play_map_memory", &SystemFaults::Play, SYSTEM_CALL::MAP_MEMORY, {}, {}, {Error(ENOMEM)}},
    {"play_start_thread", &SystemFaults::Play, SYSTEM_CALL::START_THREAD, {}, {}, {Error(EAGAIN)}},
    {"play_allocate", &SystemFaults::Play, SYSTEM_CALL::ALLOCATE, {}, {}, {Error(ENOMEM)}},
    {"listen_socket", &SystemFaults::Listen, SYSTEM_CALL::SOCKET, {}, {}, {Error(EMFILE), Error(ENOBUFS)}},
    {"listen_bind", &SystemFaults::Listen, SYSTEM_CALL::BIND, {}, {}, {Error(ENOBUFS)}},
    {"listen_listen", &SystemFaults::Listen, SYSTEM_CALL::LISTEN, {}, {}, {Error(ENOBUFS)}},
    {"listen_accept",
     &SystemFaults::Listen,
     SYSTEM_CALL::ACCEPT,
     {},
     {Error(EINTR), Error(EAGAIN), Error(EMFILE), Error(ENFILE), Error(ENOBUFS), Error(ENOMEM)},
     {Error(EMFILE), Error(ENOBUFS)}},
    {"listen_recv",
     &SystemFaults::Listen,
     SYSTEM_CALL::RECV,
     {ONE_BYTE},
     {Error(EINTR), Error(EAGAIN)},
     {Error(ECONNRESET)}},
    {"listen_event_fd", &SystemFaults::Listen, SYSTEM_CALL::EVENT_FD, {}, {}, {Error(EMFILE)}},
    {"listen_start_thread", &SystemFaults::Listen, SYSTEM_CALL::START_THREAD, {}, {}, {Error(EAGAIN)}},
    {"listen_allocate", &SystemFaults::Listen, SYSTEM_CALL::ALLOCATE, {}, {}, {Error(ENOMEM)}},
};

}  // namespace

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
