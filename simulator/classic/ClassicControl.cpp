#include "simulator/classic/ClassicControl.h"

#include <optional>

namespace {

constexpr tuint32 LAST_PLACE = 255;  // highest number of a preset and of a cruise

struct MOVE {
    int pan, tilt, zoom, focus, iris;
};
constexpr MOVE MOVES[NET_PTZ_LAST_MOVE + 1] = {
    {0, 0, 0, 0, 0},    // stop
    {-1, 0, 0, 0, 0},   // left
    {1, 0, 0, 0, 0},    // right
    {0, 1, 0, 0, 0},    // up
    {0, -1, 0, 0, 0},   // down
    {-1, 1, 0, 0, 0},   // left up
    {-1, -1, 0, 0, 0},  // left down
    {1, 1, 0, 0, 0},    // right up
    {1, -1, 0, 0, 0},   // right down
    {0, 0, 0, -1, 0},   // near
    {0, 0, 0, 1, 0},    // far
    {0, 0, -1, 0, 0},   // zoom out
    {0, 0, 1, 0, 0},    // zoom in
    {0, 0, 0, 0, 1},    // iris open
    {0, 0, 0, 0, -1},   // iris close
};

void Move(CLASSIC_PTZ_POSITION& position, const MOVE& move, tuint32 dwSpeed) {
    const int step = static_cast<int>(dwSpeed & 0xFF);
    position.pan += move.pan * step;
    position.tilt += move.tilt * step;
    position.zoom += move.zoom * step;
    position.focus += move.focus * step;
    position.iris += move.iris * step;
}

/// The stations behind a cruise command; nothing when they are not all there.
std::optional<std::vector<NET_CRUISE_POINT_INFO>> ReadCruise(SIM_BYTE_VIEW bytes) {
    const auto count = ReadRecord<tuint32>(bytes);
    if (!count || *count == 0 || *count > (bytes.size() - sizeof(*count)) / sizeof(NET_CRUISE_POINT_INFO))
        return std::nullopt;
    std::vector<NET_CRUISE_POINT_INFO> points;
    for (tuint32 i = 0; i < *count; ++i) {
        const size_t at = sizeof(*count) + i * sizeof(NET_CRUISE_POINT_INFO);
        points.push_back(*ReadRecord<NET_CRUISE_POINT_INFO>(bytes.subspan(at)));
    }
    return points;
}

bool DoPreset(CLASSIC_PTZ& ptz, const NET_PTZ_CTRL_INFO& info) {
    if (info.dwPTZCommand == NET_PTZ_PRESET_SET) {
        ptz.presets[info.cmdValue] = ptz.position;
        return true;
    }
    const auto found = ptz.presets.find(info.cmdValue);
    if (found == ptz.presets.end()) return false;
    if (info.dwPTZCommand == NET_PTZ_PRESET_GO) {
        ptz.position = found->second;
    } else {
        ptz.presets.erase(found);
    }
    return true;
}

bool DoCruise(CLASSIC_PTZ& ptz, const NET_PTZ_CTRL_INFO& info, SIM_BYTE_VIEW stations) {
    if (info.dwPTZCommand == NET_PTZ_CRUISE_SET) {
        auto points = ReadCruise(stations);
        if (points) ptz.cruises[info.cmdValue] = std::move(*points);
        return points.has_value();
    }
    if (info.dwPTZCommand == NET_PTZ_CRUISE_DEL) return ptz.cruises.erase(info.cmdValue) != 0;
    return info.dwPTZCommand != NET_PTZ_CRUISE_RUN || ptz.cruises.contains(info.cmdValue);
}

}  // namespace

CClassicControl::CClassicControl(tuint8 defaultColor) {
    for (tuint32 channel = 0; channel < MAX_CHANNELS; ++channel)
        savedColors[channel] = {channel, defaultColor, defaultColor, defaultColor, defaultColor};
    colors = savedColors;
}

bool CClassicControl::DoPtz(SIM_BYTE_VIEW body, unsigned channels) {
    const auto info = ReadRecord<NET_PTZ_CTRL_INFO>(body);
    if (!info || info->channel >= channels || info->dwPTZCommand > NET_PTZ_LAST_COMMAND) return false;
    if (info->dwPTZCommand >= NET_PTZ_PRESET_SET && info->dwPTZCommand <= NET_PTZ_CRUISE_DEL &&
        info->cmdValue > LAST_PLACE)
        return false;
    CLASSIC_PTZ& camera = ptz[info->channel];
    if (info->dwPTZCommand <= NET_PTZ_LAST_MOVE) {
        Move(camera.position, MOVES[info->dwPTZCommand], info->dwSpeed);
    } else if (info->dwPTZCommand <= NET_PTZ_PRESET_DEL) {
        if (!DoPreset(camera, *info)) return false;
    } else if (info->dwPTZCommand <= NET_PTZ_CRUISE_DEL) {
        if (!DoCruise(camera, *info, body.subspan(sizeof(*info)))) return false;
    }
    camera.lastCommand = info->dwPTZCommand;
    return true;
}

bool CClassicControl::SetColor(SIM_BYTE_VIEW body, unsigned channels, bool bSave) {
    const auto color = ReadRecord<NET_COLOR_INFO>(body);
    if (!color || color->channel >= channels) return false;
    colors[color->channel] = *color;
    if (bSave) savedColors[color->channel] = *color;
    return true;
}

void CClassicControl::SetManualRecord(SIM_BYTE_VIEW body, unsigned channels) {
    const auto info = ReadRecord<NET_MANUAL_REC_INFO>(body);
    if (!info || info->channel >= channels) return;
    const tuint64 bit = tuint64{1} << info->channel;
    manualRecord = info->bStart ? manualRecord | bit : manualRecord & ~bit;
}

void CClassicControl::SetAlarmOutputs(SIM_BYTE_VIEW body, bool bOn) {
    const auto count = ReadRecord<tuint32>(body);
    if (!count) return;
    body = body.subspan(sizeof(*count));
    for (tuint32 i = 0; i < *count; ++i) {
        const auto info = ReadRecord<NET_ALARM_OUT_INFO>(body);
        if (!info || info->output > MAX_ALARM_OUT_NUM) return;
        if (bOn) {
            alarmOut[info->output] = info->value;
        } else {
            alarmOut.erase(info->output);
        }
        body = body.subspan(sizeof(*info));
    }
}

void CClassicControl::Restart() {
    colors = savedColors;
    manualRecord = 0;
    alarmOut.clear();
}
