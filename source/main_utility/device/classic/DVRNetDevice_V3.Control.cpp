// Control of the classic recorder: restart, clock, colour, manual recording, alarm outputs, connected cameras.
#include <algorithm>
#include <new>

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "sdk_common/WireReader.h"

namespace {

HLX_IMAGE_EFFECT_T Effect(tuint8 curValue, tuint8 defaultValue) { return {0, COLOR_VALUE_MAX, curValue, defaultValue}; }

/// A text of the wire, which need not end; room for the end comes from its last byte.
template <size_t SIZE>
void CopyField(char (&target)[SIZE], const char (&source)[SIZE]) {
    CopyText(target, source);
}

HLX_IPC_DEVICE_INFO ToIPCInfo(const NET_IPC_DEVICE_INFO& wire) {
    HLX_IPC_DEVICE_INFO info = {};
    info.deviceID = wire.deviceID;
    info.channel = wire.channel;
    info.status = wire.status;
    CopyField(info.szEtherName, wire.szEtherName);
    CopyField(info.szServer, wire.szServer);
    info.nPort = wire.nPort;
    info.nHttpPort = wire.nHttpPort;
    info.nCtrlPort = wire.nCtrlPort;
    CopyField(info.szID, wire.szID);
    CopyField(info.username, wire.username);
    info.manufacturerId = wire.manufacturerId;
    CopyField(info.manufacturerName, wire.manufacturerName);
    CopyField(info.productModel, wire.productModel);
    info.bUseDefaultCfg = wire.bUseDefaultCfg;
    info.bPOEDevice = wire.bPOEDevice;
    CopyField(info.szChlname, wire.szChlname);
    return info;
}

}  // namespace

// The protocol's reply to both is the one that means "no right" elsewhere.
BOOL CDVRNetDevice_V3::RebootDVR() { return Ask(CMD_REQUEST_REBOOT, {}, CMD_REPLY_NO_AUTH).has_value(); }

BOOL CDVRNetDevice_V3::ShutDownDVR() { return Ask(CMD_REQUEST_SHUTDOWN, {}, CMD_REPLY_NO_AUTH).has_value(); }

BOOL CDVRNetDevice_V3::ChangTime(unsigned int uTime) {
    const NET_CHANGE_TIME_INFO info = {uTime};
    return Ask(CMD_REQUEST_CHANGE_TIME, BodyOf(info), CMD_REPLY_CHANAGE_TIME_SUCC, REFUSAL{CMD_REPLY_CHANAGE_TIME_FAIL})
        .has_value();
}

// ---- Colour ----

std::optional<NET_COLOR_INFO> CDVRNetDevice_V3::ColorInfo(LONG lChannel, DWORD dwBrightness, DWORD dwContrast,
                                                          DWORD dwSaturation, DWORD dwHue) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR, std::nullopt);
    if (std::max({dwBrightness, dwContrast, dwSaturation, dwHue}) > COLOR_VALUE_MAX)
        return Failure(HLX_PARAMETER_ERROR, std::nullopt);
    return NET_COLOR_INFO{static_cast<tuint32>(lChannel), static_cast<tuint8>(dwBrightness),
                          static_cast<tuint8>(dwContrast), static_cast<tuint8>(dwSaturation),
                          static_cast<tuint8>(dwHue)};
}

std::optional<NET_COLOR_INFO> CDVRNetDevice_V3::AskColor(LONG lChannel) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR, std::nullopt);
    const NET_COLOR_QUERY query = {static_cast<tuint32>(lChannel)};
    const auto reply = Ask(CMD_REQUEST_COLOR_GET, BodyOf(query), CMD_REPLY_CHNN_CTRL_COLOR);
    if (!reply) return std::nullopt;
    CWireReader reader(reply->cmdParam);
    const auto color = reader.Read<NET_COLOR_INFO>();
    if (reader.Good() && color.channel == query.channel) return color;
    WrongReply(CMD_REQUEST_COLOR_GET);
    return std::nullopt;
}

BOOL CDVRNetDevice_V3::GetVideoColor(LONG lChannel, DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation,
                                     DWORD* pHue) {
    if (!pBrightness || !pContrast || !pSaturation || !pHue) return Failure(HLX_PARAMETER_ERROR);
    const auto color = AskColor(lChannel);
    if (!color) return false;
    *pBrightness = color->brightness;
    *pContrast = color->contrast;
    *pSaturation = color->saturation;
    *pHue = color->hue;
    return true;
}

BOOL CDVRNetDevice_V3::GetVideoColor_Ex(LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightness, HLX_IMAGE_EFFECT_T* pContrast,
                                        HLX_IMAGE_EFFECT_T* pSaturation, HLX_IMAGE_EFFECT_T* pHue) {
    if (!pBrightness || !pContrast || !pSaturation || !pHue) return Failure(HLX_PARAMETER_ERROR);
    const auto color = AskColor(lChannel);
    if (!color) return false;
    const HLX_DEVICEINFO info = DeviceInfo();
    *pBrightness = Effect(color->brightness, info.defBrightness);
    *pContrast = Effect(color->contrast, info.defContrast);
    *pSaturation = Effect(color->saturation, info.defSaturation);
    *pHue = Effect(color->hue, info.defHue);
    return true;
}

BOOL CDVRNetDevice_V3::SetVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                                     DWORD dwHue) {
    const auto color = ColorInfo(lChannel, dwBrightness, dwContrast, dwSaturation, dwHue);
    return color && SendRequestCmd(CMD_REQUEST_COLOR_SET, BodyOf(*color));
}

BOOL CDVRNetDevice_V3::SaveVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                                      DWORD dwHue) {
    const auto color = ColorInfo(lChannel, dwBrightness, dwContrast, dwSaturation, dwHue);
    return color && Ask(CMD_REQUEST_COLOR_SAVE, BodyOf(*color), CMD_REPLY_CFG_SUCC, REFUSAL{CMD_REPLY_CFG_FAIL});
}

BOOL CDVRNetDevice_V3::GetDefaultVideoColor(DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) {
    if (!pBrightness || !pContrast || !pSaturation || !pHue) return Failure(HLX_PARAMETER_ERROR);
    const HLX_DEVICEINFO info = DeviceInfo();
    *pBrightness = info.defBrightness;
    *pContrast = info.defContrast;
    *pSaturation = info.defSaturation;
    *pHue = info.defHue;
    return true;
}

// ---- Manual recording and alarm outputs ----

bool CDVRNetDevice_V3::SendManualRecord(LONG lChannel, bool bStart, LONG lRecordType) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    const NET_MANUAL_REC_INFO info = {static_cast<tuint32>(lChannel), bStart, static_cast<tuint32>(lRecordType)};
    return SendRequestCmd(CMD_REQUEST_MANUAL_REC, BodyOf(info));
}

BOOL CDVRNetDevice_V3::StartDVRRecord(LONG lChannel, LONG lRecordType) {
    return SendManualRecord(lChannel, true, lRecordType);
}

BOOL CDVRNetDevice_V3::StopDVRRecord(LONG lChannel) { return SendManualRecord(lChannel, false, 0); }

BOOL CDVRNetDevice_V3::SetDeviceAlarm(LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen) {
    if (!pAlarmOut || !pValue || !pAlarmNum) return Failure(HLX_PARAMETER_ERROR);
    if (*pAlarmNum < 1 || *pAlarmNum > LONG{MAX_ALARM_OUT_NUM}) return Failure(HLX_PARAMETER_ERROR);
    struct {
        tuint32 count = 0;
        NET_ALARM_OUT_INFO outputs[MAX_ALARM_OUT_NUM];
    } body;
    const LONG lOutputs = DeviceInfo().sensorOutputNum;
    for (LONG i = 0; i < *pAlarmNum; ++i) {
        if (pAlarmOut[i] < 0 || pAlarmOut[i] >= lOutputs) return Failure(HLX_PARAMETER_ERROR);
        body.outputs[body.count++] = {static_cast<tuint32>(pAlarmOut[i]), static_cast<tuint32>(pValue[i])};
    }
    const size_t length = sizeof(body.count) + body.count * sizeof(NET_ALARM_OUT_INFO);
    return SendRequestCmd(bAlarmOpen ? CMD_REQUEST_OPEN_ALARM : CMD_REQUEST_CLEAN_ALARM, BodyOf(body).first(length));
}

// ---- Connected cameras ----

BOOL CDVRNetDevice_V3::GetDeviceIPCInfo(HLX_IPC_DEVICE_INFO* pInfo, LONG lMaxNum, LONG* pNum) {
    if (!pInfo || !pNum || lMaxNum < 0) return Failure(HLX_PARAMETER_ERROR);
    const REFUSAL refusal{CMD_REPLY_CFG_FAIL, HLX_OPER_BY_OTHER};
    const bool bEntered = Ask(CMD_REQUEST_CFG_ENTER_IPCAM, {}, CMD_REPLY_CFG_SUCC, refusal).has_value();
    if (!bEntered && CThreadState::Instance()->GetLastError() == HLX_OPER_BY_OTHER) return false;
    const bool bDone = bEntered && AskIPCInfo(pInfo, lMaxNum, pNum);  // one that does not answer may have entered
    // Quietly: the number of what went before stays. A recorder whose link fell has ended the configuring itself.
    SendConnected(CMD_REQUEST_CFG_LEAVE_IPCAM, {});
    return bDone;
}

bool CDVRNetDevice_V3::AskIPCInfo(HLX_IPC_DEVICE_INFO* pInfo, LONG lMaxNum, LONG* pNum) {
    const auto reply = Ask(CMD_REQUEST_NET_DEVICE_LOG_GET, {}, CMD_REPLY_NET_DEVICE_LOG_GET_SUCC,
                           REFUSAL{CMD_REPLY_NET_DEVICE_LOG_GET_FAIL});
    if (!reply) return false;
    CWireReader reader(reply->cmdParam);
    const auto told = reader.Read<tuint32>();
    if (!reader.Good() || told > reader.Left() / sizeof(NET_IPC_DEVICE_INFO))
        return WrongReply(CMD_REQUEST_NET_DEVICE_LOG_GET);
    *pNum = std::min<LONG>(told, lMaxNum);
    for (LONG i = 0; i < *pNum; ++i) pInfo[i] = ToIPCInfo(reader.Read<NET_IPC_DEVICE_INFO>());
    return true;
}
