// Cameras that the classic recorder moves.
#include "main_utility/device/classic/DVRNetDevice_V3.h"

// The application's numbers go out as they are.
static_assert(PTZ_CMD_STOP == int{NET_PTZ_STOP} && PTZ_CMD_IRIS_CLOSE == int{NET_PTZ_LAST_MOVE} &&
              PTZ_CMD_PRESET_SET == int{NET_PTZ_PRESET_SET} && PTZ_CMD_CRUISE_SET == int{NET_PTZ_CRUISE_SET} &&
              PTZ_CMD_CRUISE_DEL == int{NET_PTZ_CRUISE_DEL} && PTZ_CMD_AUTO_SCAN_STOP == int{NET_PTZ_LAST_COMMAND});

bool CDVRNetDevice_V3::AskPTZ(Body body) {
    return Ask(CMD_REQUEST_PTZ_CTRL, body, CMD_REPLY_PTZ_SEND_CMD_SUC,
               REFUSAL{CMD_REPLY_PTZ_SEND_CMD_FAIL, HLX_ERROR_SERIALPORT})
        .has_value();
}

BOOL CDVRNetDevice_V3::PTZControl(LONG lChannel, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL, BOOL) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    if (dwPTZCommand > NET_PTZ_LAST_COMMAND) return Failure(HLX_PARAMETER_ERROR);
    const NET_PTZ_CTRL_INFO info = {static_cast<tuint32>(lChannel), dwSpeed, dwPTZCommand, dwValue};
    return AskPTZ(BodyOf(info));
}

BOOL CDVRNetDevice_V3::PTZSetCruise(LONG lChannel, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum, BOOL) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    if (!pPoints || wPointNum == 0 || wPointNum > MAX_CRUISE_POINT_NUM) return Failure(HLX_PARAMETER_ERROR);
    struct {
        NET_PTZ_CTRL_INFO control;
        tuint32 count;
        NET_CRUISE_POINT_INFO points[MAX_CRUISE_POINT_NUM];
    } body;
    body.control = {static_cast<tuint32>(lChannel), 0, NET_PTZ_CRUISE_SET, byCruise};
    body.count = wPointNum;
    for (WORD i = 0; i < wPointNum; ++i) {
        const DD_CRUISE_POINT_INFO& point = pPoints[i];
        body.points[i] = {point.dwPointIndex, point.dwPresetIdx, point.dwDwellSpeed, point.dwDwellTime};
    }
    const size_t length = sizeof(body.control) + sizeof(body.count) + wPointNum * sizeof(NET_CRUISE_POINT_INFO);
    return AskPTZ(BodyOf(body).first(length));
}
