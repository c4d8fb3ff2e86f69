#include "main_utility/device/classic/DVRNetDevice_V3.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <mutex>
#include <new>

#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"
#include "sdk_common/YLog4C.h"

namespace {

/// A send fails a moment before the link is told to be broken.
constexpr tuint32 BREAK_REPORT_MS = 100;

constexpr unsigned int MAX_DISKS_ASKED = 20;

constexpr int CLOCK_ROUNDS = 10;
constexpr unsigned int CLOCK_ROUND_MS = 10;

struct LOGIN_REFUSAL {
    tuint32 word;
    HLX_ERROR error;
};

struct REFUSAL_TEXT {
    HLX_ERROR error;
    const char* pText;
};

/// What the log says of a request that came to nothing; any other number is the recorder's own refusal.
constexpr REFUSAL_TEXT REFUSAL_TEXTS[] = {
    {HLX_NETWORK_NOT_CONNECT, "no link"},           {HLX_NETWORK_SEND_ERROR, "not sent"},
    {HLX_NETWORK_RECV_TIMEOUT, "no reply"},         {HLX_NETWORK_ERRORDATA, "senseless reply"},
    {HLX_ALLOC_RESOURCE_ERROR, "no memory for it"},
};

constexpr LOGIN_REFUSAL LOGIN_REFUSALS[] = {
    {NETERR_LOGIN_FAIL_VERSION_ERR, HLX_VERSION_NOMATCH},
    {NETERR_LOGIN_FAIL_USERPWD_ERR, HLX_PASSWORD_ERROR},
    {NETERR_LOGIN_FAIL_OVERFLOW, HLX_OVER_MAXLINK},
    {NETERR_LOGIN_FAIL_REFUSE, HLX_LOGIN_REFUSED},
};

/// A refusal that says nothing, or nothing known, is a plain one.
HLX_ERROR RefusalNumber(std::span<const std::byte> body) {
    const auto word = CWireReader(body).Read<tuint32>();
    const auto* pRow = std::ranges::find(LOGIN_REFUSALS, word, &LOGIN_REFUSAL::word);
    return pRow == std::end(LOGIN_REFUSALS) ? HLX_LOGIN_REFUSED : pRow->error;
}

/// A text of the wire, which need not end.
template <size_t SIZE>
void CopyField(char (&target)[SIZE], const char (&source)[SIZE]) {
    CopyText(target, source);
}

HLX_DEVICEINFO ToDeviceInfo(const PRODUCT_INFO& product) {
    HLX_DEVICEINFO info = {};
    info.localVideoInputNum = product.localVideoInputNum;
    info.audioInputNum = product.audioInputNum;
    info.sensorInputNum = product.sensorInputNum;
    info.sensorOutputNum = product.relayOutputNum;
    info.displayResolutionMask = product.displayResolutionMask;
    info.videoOuputNum = product.videoOuputNum;
    info.netVideoOutputNum = product.netVideoOutputNum;
    info.netVideoInputNum = product.netVideoInputNum;
    info.IVSNum = product.IVSNum;
    info.presetNumOneCH = product.presetNumOneCH;
    info.cruiseNumOneCH = product.cruiseNumOneCH;
    info.presetNumOneCruise = product.presetNumOneCruise;
    info.trackNumOneCH = product.trackNumOneCH;
    info.userNum = product.userNum;
    info.netClientNum = product.netClientNum;
    info.netFirstStreamNum = product.netFirstStreamNum;
    info.deviceType = 0;
    info.doblueStream = product.doblueStream;
    info.audioStream = product.audioStream;
    info.talkAudio = product.talkAudio;
    info.bPasswordCheck = product.bPasswordCheck;
    info.defBrightness = product.defBrightness;
    info.defContrast = product.defContrast;
    info.defSaturation = product.defSaturation;
    info.defHue = product.defHue;
    info.videoInputNum = product.videoInputNum;
    info.deviceID = product.deviceID;
    info.videoFormat = product.videoFormat ? DD_VIDEO_FORMAT_PAL : DD_VIDEO_FORMAT_NTSC;
    std::memcpy(info.function, product.function, sizeof(info.function));
    info.deviceIP = product.deviceIP;
    std::memcpy(info.deviceMAC, product.deviceMAC, sizeof(info.deviceMAC));
    info.buildDate = product.buildDate;
    info.buildTime = product.buildTime;
    CopyField(info.deviceName, product.deviceName);
    CopyField(info.firmwareVersion, product.firmwareVersion);
    CopyField(info.kernelVersion, product.kernelVersion);
    CopyField(info.hardwareVersion, product.hardwareVersion);
    CopyField(info.MCUVersion, product.MCUVersion);
    return info;
}

const char* ModelName(const HLX_DEVICEINFO& info) {
    if (info.netVideoInputNum == 0) return "Classic recorder";
    return info.localVideoInputNum ? "Hybrid recorder" : "Network recorder";
}

}  // namespace

/// One login at a time; the mark falls on every way out.
class CDVRNetDevice_V3::CLoginScope {
public:
    explicit CLoginScope(CDVRNetDevice_V3& device) : m_device(device) {
        std::lock_guard guard(m_device.m_loginLock);
        m_bEntered = !m_device.m_bLogining;
        m_device.m_bLogining = true;
        if (m_bEntered) m_device.m_loginThread = std::this_thread::get_id();
    }
    ~CLoginScope() {
        if (!m_bEntered) return;
        std::lock_guard guard(m_device.m_loginLock);
        m_device.m_bLogining = false;
        m_device.m_loginThread = std::thread::id{};
    }
    CLoginScope(const CLoginScope&) = delete;
    CLoginScope& operator=(const CLoginScope&) = delete;
    bool Entered() const { return m_bEntered; }

private:
    CDVRNetDevice_V3& m_device;
    bool m_bEntered = false;
};

CDVRNetDevice_V3::CDVRNetDevice_V3() : m_pDataBufferMan(CMultiNetDataBufferMan::Instance()) {}

BOOL CDVRNetDevice_V3::SetNetHandle(ND_HANDLE hEngine) {
    m_pMultiNetComm = hEngine;
    m_deviceStatus = NET_DEVICE_STATUS_DISCONNECT;
    m_replies.NewLink();
    return hEngine != nullptr;
}

// ---- Login and logout ----

BOOL CDVRNetDevice_V3::Login(char* sUserName, char* sPassword, LPHLX_DEVICEINFO lpDeviceInfo) {
    if (!sUserName || !sPassword) return Failure(HLX_PARAMETER_ERROR);
    const bool bFits = strnlen(sUserName, sizeof(m_szUserName)) < sizeof(m_szUserName) &&
                       strnlen(sPassword, sizeof(m_szPasswd)) < sizeof(m_szPasswd);
    if (!bFits) return Failure(HLX_PARAMETER_ERROR);
    CLoginScope scope(*this);
    if (!scope.Entered()) return false;
    if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) {
        const HLX_ERROR error = LoginOnLink(sUserName, sPassword);
        if (error != HLX_SUCCESS) return Failure(error);
    }
    if (lpDeviceInfo) *lpDeviceInfo = DeviceInfo();
    return true;
}

HLX_ERROR CDVRNetDevice_V3::LoginOnLink(const char* sUserName, const char* sPassword) {
    CopyText(m_szUserName, sUserName);
    CopyText(m_szPasswd, sPassword);
    if (!m_replies.Open()) return HLX_NETWORK_NOT_CONNECT;
    ClearStatus();  // the recorder tells its status right behind the login
    constexpr tuint32 LOGIN_REPLIES[] = {CMD_REPLY_LONGIN_SUCC, CMD_REPLY_LONGIN_FAIL};
    REPLY_CMD_DATA reply;
    HLX_ERROR error = m_replies.Ask([this] { return SendLogin(); }, LOGIN_REPLIES, reply);
    if (error == HLX_SUCCESS) error = TakeLoginReply(reply);
    if (error == HLX_SUCCESS) return HLX_SUCCESS;
    m_replies.Close();
    return LogRefusal(CMD_REQUEST_LOGIN, error);
}

HLX_ERROR CDVRNetDevice_V3::SendLogin() {
    NET_LOGIN_INFO login = {};
    login.connectType = CONNECTTYPE_CTRL_CENTER;
    CopyText(login.username, m_szUserName);
    CopyText(login.password, m_szPasswd);
    login.netprotocolver = CLASSIC_PROTOCOL_VERSION;
    const HLX_ERROR error = SendFrame(CMD_REQUEST_LOGIN, BodyOf(login));
    if (error == HLX_SUCCESS) return HLX_SUCCESS;
    return m_replies.WaitForBreak(BREAK_REPORT_MS) ? HLX_NETWORK_NOT_CONNECT : error;
}

HLX_ERROR CDVRNetDevice_V3::TakeLoginReply(const REPLY_CMD_DATA& reply) {
    if (reply.cmdType == CMD_REPLY_LONGIN_FAIL) return RefusalNumber(reply.cmdParam);
    CWireReader reader(reply.cmdParam);
    const auto success = reader.Read<NET_LOGIN_SUCCESS_REPLY>();
    if (!reader.Good()) return HLX_NETWORK_ERRORDATA;
    return BeginSession(success.productInfo);
}

HLX_ERROR CDVRNetDevice_V3::BeginSession(const PRODUCT_INFO& product) {
    {
        std::lock_guard guard(m_loginLock);
        m_deviceinfo = ToDeviceInfo(product);
    }
    ClearStreams();
    // The link may fall at any moment, and OnLinkBroken sets its mark before the status: whoever comes second sees the
    // other.
    m_deviceStatus = NET_DEVICE_STATUS_CONNECTED;
    if (m_replies.IsBroken()) m_deviceStatus = NET_DEVICE_STATUS_DISCONNECT;

    DVR_DISK_INFO disks[MAX_DISKS_ASKED] = {};
    unsigned int uDiskNum = 0;
    // A recorder that does not tell its disks can be used all the same.
    if (!SearchDiskInfo(disks, MAX_DISKS_ASKED, uDiskNum)) CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    m_diskNum = uDiskNum;
    // The break wakes a waiter before it changes the status, so both are asked.
    const bool bStands = m_deviceStatus == NET_DEVICE_STATUS_CONNECTED && !m_replies.IsBroken();
    return bStands ? HLX_SUCCESS : HLX_NETWORK_NOT_CONNECT;
}

BOOL CDVRNetDevice_V3::Logout() {
    m_deviceStatus = NET_DEVICE_STATUS_DISCONNECT;
    m_replies.Close();
    SendFrame(CMD_REQUEST_LOGOUT, {}, false);
    ClearStreams();
    m_talkFrames.Clear();
    return true;
}

/// What the recorder told on an earlier link may be over.
void CDVRNetDevice_V3::ClearStatus() {
    for (auto* pMask : {&m_ullVloss, &m_ullMotion, &m_ullSensor, &m_ullManualRec, &m_ullScheduleRec, &m_ullMotionRec,
                        &m_ullSensorRec})
        *pMask = 0;
}

void CDVRNetDevice_V3::ClearStreams() {
    m_ullFirstStream = 0;
    m_ullSecondStream = 0;
    m_ullJpegStream = 0;
    for (RECORD_STREAM& stream : m_recordStreams) Forget(stream);
    std::lock_guard guard(m_ChanelTaskInfoLock);
    m_ChanelTaskInfo.clear();
}

// ---- Requests ----

HLX_ERROR CDVRNetDevice_V3::SendFrame(tuint32 dwCmdType, Body body, bool bWaitForRoom) try {
    PACKCMD head = {};
    head.cmdType = dwCmdType;
    head.cmdVer = CLASSIC_PROTOCOL_VERSION;
    head.dataLen = static_cast<tuint32>(body.size());
    std::vector<std::byte> frame(sizeof(head) + body.size());
    std::memcpy(frame.data(), &head, sizeof(head));
    std::ranges::copy(body, frame.begin() + sizeof(head));

    CSWL_MultiNet* pEngine = m_pMultiNetComm;
    const int iLength = static_cast<int>(frame.size());
    const bool bQueued =
        pEngine && pEngine->SendData(static_cast<int>(m_deviceID), frame.data(), iLength, bWaitForRoom, false) == 0;
    return bQueued ? HLX_SUCCESS : HLX_NETWORK_SEND_ERROR;
} catch (const std::bad_alloc&) {
    return HLX_ALLOC_RESOURCE_ERROR;
}

HLX_ERROR CDVRNetDevice_V3::SendConnected(tuint32 dwCmdType, Body body) {
    if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) return HLX_NETWORK_NOT_CONNECT;
    return SendFrame(dwCmdType, body);
}

bool CDVRNetDevice_V3::SendRequestCmd(tuint32 dwCmdType, Body body) {
    const HLX_ERROR error = SendConnected(dwCmdType, body);
    return error == HLX_SUCCESS || Failure(LogRefusal(dwCmdType, error));
}

HLX_ERROR CDVRNetDevice_V3::AskQuietly(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted,
                                       REPLY_CMD_DATA& reply) {
    const auto take = [&reply](REPLY_CMD_DATA& first) {
        reply = std::move(first);
        return REPLY_DONE;
    };
    return AskEachQuietly(dwCmdType, body, accepted, std::cref(take));  // by reference: needs no memory
}

HLX_ERROR CDVRNetDevice_V3::AskEachQuietly(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted,
                                           const CReplyWaiter::TAKE_REPLY& take) {
    // A request of the application does not wait behind a login: until that is through the session is not there.
    const std::thread::id loginThread = m_loginThread;
    const auto send = [&] { return SendConnected(dwCmdType, body); };
    HLX_ERROR error = HLX_NETWORK_NOT_CONNECT;
    if (loginThread == std::thread::id{} || loginThread == std::this_thread::get_id())
        error = m_replies.AskEach(std::cref(send), {accepted.begin(), accepted.size()}, take);
    return error == HLX_SUCCESS ? HLX_SUCCESS : LogRefusal(dwCmdType, error);
}

HLX_ERROR CDVRNetDevice_V3::AskNumbered(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted,
                                        const CReplyWaiter::TAKE_REPLY& take) {
    const auto requestID = CWireReader(body).Read<tuint32>();
    HLX_ERROR wrong = HLX_SUCCESS;
    const auto takeOwn = [&](REPLY_CMD_DATA& reply) {
        CWireReader reader(reply.cmdParam);
        const auto number = reader.Read<tuint32>();
        if (!reader.Good()) wrong = LogRefusal(dwCmdType, HLX_NETWORK_ERRORDATA);
        if (!reader.Good()) return REPLY_DONE;
        return number == requestID ? take(reply) : REPLY_NOT_MINE;
    };
    const HLX_ERROR error = AskEachQuietly(dwCmdType, body, accepted, std::cref(takeOwn));
    return error == HLX_SUCCESS ? wrong : error;
}

std::optional<REPLY_CMD_DATA> CDVRNetDevice_V3::Ask(tuint32 dwCmdType, Body body, tuint32 yes,
                                                    std::optional<REFUSAL> no) {
    REPLY_CMD_DATA reply;
    const HLX_ERROR error = AskQuietly(dwCmdType, body, {yes, no ? no->reply : yes}, reply);
    if (error != HLX_SUCCESS) return Failure(error, std::nullopt);
    if (reply.cmdType != yes) return Failure(LogRefusal(dwCmdType, no->error), std::nullopt);
    return reply;
}

HLX_ERROR CDVRNetDevice_V3::LogRefusal(tuint32 dwCmdType, HLX_ERROR error) {
    const auto* pRow = std::ranges::find(REFUSAL_TEXTS, error, &REFUSAL_TEXT::error);
    const char* pText = pRow == std::end(REFUSAL_TEXTS) ? "refused" : pRow->pText;
    YLOG(YLOG_WARN, "user %d: request %x: %s, number %d", static_cast<int>(m_deviceID), dwCmdType, pText,
         static_cast<int>(error));
    return error;
}

// ---- Facts ----

HLX_DEVICEINFO CDVRNetDevice_V3::DeviceInfo() {
    std::lock_guard guard(m_loginLock);
    return m_deviceinfo;
}

BOOL CDVRNetDevice_V3::GetDeviceInfo(LPHLX_DEVICEINFO lpDeviceInfo) {
    if (!lpDeviceInfo) return Failure(HLX_PARAMETER_ERROR);
    *lpDeviceInfo = DeviceInfo();
    return true;
}

LONG CDVRNetDevice_V3::GetDeviceTypeName(char* sName, LONG lLength) {
    if (!sName || lLength <= 0) return 0;
    const HLX_DEVICEINFO info = DeviceInfo();
    const int length = std::snprintf(sName, static_cast<size_t>(lLength), "%s, %u channels", ModelName(info),
                                     static_cast<unsigned int>(info.videoInputNum));
    return std::min<LONG>(length, lLength - 1);
}

BOOL CDVRNetDevice_V3::GetDvrCurrentTime(const char*, DD_TIME* pTime) {
    if (!pTime) return Failure(HLX_PARAMETER_ERROR);
    m_bGetDvrTime = false;
    for (int i = 0; i < CLOCK_ROUNDS && !m_bGetDvrTime; ++i) PUB_Sleep(CLOCK_ROUND_MS);
    if (!m_bGetDvrTime)
        return Failure(m_deviceStatus == NET_DEVICE_STATUS_CONNECTED ? HLX_NETWORK_RECV_TIMEOUT
                                                                     : HLX_NETWORK_NOT_CONNECT);
    *pTime = {};
    DVRTimeToDDTime(m_dvrCurrentTime, *pTime);
    return true;
}

BOOL CDVRNetDevice_V3::SearchDiskInfo(DVR_DISK_INFO* pDisks, unsigned int uMaxNum, unsigned int& uDiskNum) {
    uDiskNum = 0;
    if (!pDisks) return Failure(HLX_PARAMETER_ERROR);
    const auto reply =
        Ask(CMD_REQUEST_DISK_START, {}, CMD_REPLY_DISK_INFO, REFUSAL{CMD_REPLY_DISK_FAIL, HLX_DISK_ERROR});
    if (!reply) return false;
    CWireReader reader(reply->cmdParam);
    const auto told = reader.Read<tuint32>();
    if (!reader.Good() || told > reader.Left() / sizeof(DVR_DISK_INFO)) return WrongReply(CMD_REQUEST_DISK_START);
    uDiskNum = std::min(told, uMaxNum);
    for (unsigned int i = 0; i < uDiskNum; ++i) pDisks[i] = reader.Read<DVR_DISK_INFO>();
    return true;
}
