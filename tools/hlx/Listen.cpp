#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "Commands.h"
#include "Output.h"
#include "Password.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;

constexpr size_t MOST_WAITING = 10'000;  // events; callers may come faster than the reader of our output takes them

enum class CALL { KNOWN, UNKNOWN, LEFT };
constexpr const char* CALL_NAMES[] = {"device", "unknown", "left"};

struct CALL_EVENT {
    CALL eKind = CALL::KNOWN;
    LONG lUserID = 0;
    uint32_t dwRegisterID = 0;
    std::string strFrom;    // where the call came from; empty for LEFT
    HLX_DEVICEINFO info{};  // zeros for UNKNOWN
};

// The library tells nowhere else which address a session's link has.
std::string CallerAddress(LONG lUserID) {
    char sUrl[256] = "";
    HLX_GetRtspUrl(lUserID, 0, 0, sUrl);
    const std::string_view strUrl(sUrl, strnlen(sUrl, sizeof sUrl));
    constexpr std::string_view BEFORE = "rtsp://";
    const size_t nEnd = strUrl.rfind(":554/");
    if (!strUrl.starts_with(BEFORE) || nEnd == std::string_view::npos) return {};
    return std::string(strUrl.substr(BEFORE.size(), nEnd - BEFORE.size()));
}

// What the library's threads hear, for the main thread to tell.
class CCallBook {
public:
    explicit CCallBook(CInterrupt& interrupt) : m_interrupt(interrupt) {}

    // Calls itself by the library; pUser is the book.
    static void OnKnown(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pInfo, void* pUser);
    static void OnUnknown(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pInfo, void* pUser);
    static void OnSession(DWORD dwType, LONG lUserID, LONG lHandle, void* pUser);

    // What came since the last call; nLost counts what found no room.
    std::vector<CALL_EVENT> Take(uint64_t& nLost);

    // User ids of devices that are logged in.
    std::vector<LONG> Sessions();

private:
    void Hear(CALL_EVENT event);
    void Leave(LONG lUserID);     // m_lock held
    void Keep(CALL_EVENT event);  // m_lock held

    CInterrupt& m_interrupt;
    std::mutex m_lock;
    std::vector<CALL_EVENT> m_events;      // m_lock
    uint64_t m_nLost = 0;                  // m_lock
    std::map<LONG, CALL_EVENT> m_present;  // m_lock; known devices by user id
    std::set<LONG> m_leftEarly;            // m_lock; their break was told before their login
};

void CCallBook::OnKnown(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pInfo, void* pUser) {
    static_cast<CCallBook*>(pUser)->Hear(
        {CALL::KNOWN, lUserID, static_cast<uint32_t>(lRegisterID), CallerAddress(lUserID), *pInfo});
}

void CCallBook::OnUnknown(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO, void* pUser) {
    static_cast<CCallBook*>(pUser)->Hear(
        {CALL::UNKNOWN, lUserID, static_cast<uint32_t>(lRegisterID), CallerAddress(lUserID), {}});
}

void CCallBook::OnSession(DWORD dwType, LONG lUserID, LONG, void* pUser) {
    auto& book = *static_cast<CCallBook*>(pUser);
    if (dwType != NETWORK_DISCONNECT) return;
    {
        const std::lock_guard guard(book.m_lock);
        book.Leave(lUserID);
    }
    book.m_interrupt.Wake();
}

void CCallBook::Hear(CALL_EVENT event) {
    {
        const std::lock_guard guard(m_lock);
        const LONG lUserID = event.lUserID;
        if (event.eKind == CALL::KNOWN) m_present[lUserID] = event;
        Keep(std::move(event));
        if (m_leftEarly.erase(lUserID) > 0) Leave(lUserID);
    }
    m_interrupt.Wake();
}

void CCallBook::Leave(LONG lUserID) {
    const auto found = m_present.find(lUserID);
    if (found == m_present.end()) {
        m_leftEarly.insert(lUserID);
        return;
    }
    found->second.eKind = CALL::LEFT;
    Keep(std::move(found->second));
    m_present.erase(found);
}

void CCallBook::Keep(CALL_EVENT event) {
    if (m_events.size() < MOST_WAITING) {
        m_events.push_back(std::move(event));
    } else {
        ++m_nLost;
    }
}

std::vector<CALL_EVENT> CCallBook::Take(uint64_t& nLost) {
    const std::lock_guard guard(m_lock);
    nLost = std::exchange(m_nLost, 0);
    return std::exchange(m_events, {});
}

std::vector<LONG> CCallBook::Sessions() {
    const std::lock_guard guard(m_lock);
    std::vector<LONG> ids;
    for (const auto& [lUserID, event] : m_present) ids.push_back(lUserID);
    return ids;
}

// The library while it listens. The end logs the devices out.
class CListener {
public:
    explicit CListener(CInterrupt& interrupt) : m_book(interrupt) {}
    ~CListener();
    CListener(const CListener&) = delete;
    CListener& operator=(const CListener&) = delete;

    // Blocks up to two minutes if another program takes the port first.
    bool Open(uint16_t wPort, const std::vector<REG_LOGIN_INFO>& devices);
    CCallBook& Book() { return m_book; }

private:
    CCallBook m_book;
};

bool CListener::Open(uint16_t wPort, const std::vector<REG_LOGIN_INFO>& devices) {
    if (!HLX_Init()) return false;
    HLX_SetRegisterCallback(CCallBook::OnKnown, &m_book);
    HLX_SetUnRegisterCallback(CCallBook::OnUnknown, &m_book);
    HLX_SetSDKMessageCallBack(0, nullptr, CCallBook::OnSession, &m_book);
    return HLX_SetRegisterPort(wPort, devices.data(), static_cast<DWORD>(devices.size()));
}

CListener::~CListener() {
    HLX_SetRegisterPort(0, nullptr, 0);  // nobody comes in any more
    for (const LONG lUserID : m_book.Sessions()) HLX_Logout(lUserID);
    HLX_Cleanup();
}

// The records of the devices with their passwords.
EXIT_CODE ReadDevices(const OPTIONS& options, CInterrupt& interrupt, std::vector<REG_LOGIN_INFO>& devices) {
    devices.reserve(options.listen.devices.size());  // no copy of a password stays behind in memory that was let go
    for (const LISTEN_DEVICE& device : options.listen.devices) {
        CONNECT_OPTIONS connect = options.connect;
        connect.strPasswordFile = device.strPasswordFile;
        if (device.strPasswordFile.empty() && !getenv("HLX_PASSWORD")) {
            return Fail(connect.bJson,
                        fmt::format("no password of device {}: set HLX_PASSWORD, or give --device {}:{}:FILE",
                                    device.dwID, device.dwID, device.strUser),
                        EXIT_USAGE);
        }
        std::string strPassword;
        if (const EXIT_CODE eExit = ReadPassword(connect, interrupt, strPassword); eExit != EXIT_OK) return eExit;
        REG_LOGIN_INFO& info = devices.emplace_back();
        info.deviceId = device.dwID;
        memcpy(info.m_szUserName, device.strUser.data(), device.strUser.size());  // both have been measured
        memcpy(info.m_szPasswd, strPassword.data(), strPassword.size());
        ForgetPassword(strPassword);
    }
    return EXIT_OK;
}

// Takes the port for a moment and lets it go: the library would go on trying for a long time, and has no word for a
// free one. wPort 0 becomes the number of a free one. 0 or an errno.
int ProbePort(uint16_t& wPort) {
    const int nFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int nOn = 1;
    setsockopt(nFd, SOL_SOCKET, SO_REUSEADDR, &nOn, sizeof nOn);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(wPort);
    socklen_t nSize = sizeof address;
    auto* pAddress = reinterpret_cast<sockaddr*>(&address);
    int nErrno = 0;
    if (bind(nFd, pAddress, nSize) != 0 || listen(nFd, 1) != 0 || getsockname(nFd, pAddress, &nSize) != 0)
        nErrno = errno;
    if (nFd >= 0) close(nFd);
    wPort = ntohs(address.sin_port);
    return nErrno;
}

Json EventJson(const CALL_EVENT& event) {
    Json record = {{"event", CALL_NAMES[static_cast<int>(event.eKind)]}, {"id", event.dwRegisterID}};
    if (event.eKind != CALL::UNKNOWN) {
        char sAddress[INET_ADDRSTRLEN] = "";
        inet_ntop(AF_INET, &event.info.deviceIP, sAddress, sizeof sAddress);  // the record keeps network order
        record["session"] = event.lUserID;  // a device may be back before its break is told
        record["name"] = FieldText(event.info.deviceName, sizeof event.info.deviceName);
        record["channels"] = event.info.videoInputNum;
        record["address"] = sAddress;
        record["mac"] = fmt::format("{:02x}", fmt::join(event.info.deviceMAC, ":"));
    }
    record["from"] = event.strFrom;
    return record;
}

int Print(const CALL_EVENT& event, bool bJson) {
    const Json record = EventJson(event);
    if (bJson) return PrintJson(record);
    std::string strLine = fmt::format("{:<8} {:>10}", record["event"].get<std::string>(), event.dwRegisterID);
    if (event.eKind != CALL::UNKNOWN) {
        strLine += fmt::format("  {}  {} channels  {}  {}", record["name"].get<std::string>(), event.info.videoInputNum,
                               record["address"].get<std::string>(), record["mac"].get<std::string>());
    }
    return PrintData(fmt::format("{}  from {}\n", strLine, event.strFrom));
}

// Tells what comes until the time is over, the calls are as many as wanted, or a signal.
EXIT_CODE Follow(const OPTIONS& options, CInterrupt& interrupt, CCallBook& book) {
    const auto end = options.listen.length > 0ms ? Clock::now() + options.listen.length : Clock::time_point::max();
    uint64_t nCalls = 0;
    for (;;) {
        uint64_t nLost = 0;
        for (const CALL_EVENT& event : book.Take(nLost)) {
            const int nErrno = Print(event, options.connect.bJson);
            if (nErrno != 0) return PrintedExit(nErrno);
            if (event.eKind != CALL::LEFT) ++nCalls;
            if (nCalls == options.listen.nCount && nCalls > 0) return EXIT_OK;
        }
        if (nLost > 0) PrintNote(fmt::format("hlx: {} calls came too fast to be told", nLost));
        if (interrupt.Signal() != 0) return SignalExitCode(interrupt.Signal());
        const auto now = Clock::now();
        if (now >= end) return EXIT_OK;
        interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(std::min<Clock::duration>(1h, end - now)));
    }
}

int PrintListening(uint16_t wPort, bool bJson) {
    if (bJson) return PrintJson({{"event", "listening"}, {"port", wPort}});
    PrintNote(fmt::format("listening on port {}", wPort));
    return 0;
}

}  // namespace

EXIT_CODE RunListen(const OPTIONS& options, CInterrupt& interrupt) {
    std::vector<REG_LOGIN_INFO> devices;
    if (const EXIT_CODE eExit = ReadDevices(options, interrupt, devices); eExit != EXIT_OK) return eExit;
    uint16_t wPort = options.listen.wPort;
    if (const int nErrno = ProbePort(wPort); nErrno != 0) {
        return Fail(options.connect.bJson,
                    fmt::format("cannot listen on port {}: {}", options.listen.wPort, strerror(nErrno)), EXIT_FAILED);
    }
    CListener listener(interrupt);
    const bool bOpen = listener.Open(wPort, devices);
    if (!devices.empty()) explicit_bzero(devices.data(), devices.size() * sizeof(REG_LOGIN_INFO));
    if (!bOpen) return FailLast(options.connect.bJson, "cannot start the library");
    interrupt.QuitAtOnce(false);
    if (const int nErrno = PrintListening(wPort, options.connect.bJson); nErrno != 0) return PrintedExit(nErrno);
    return Follow(options, interrupt, listener.Book());
}
