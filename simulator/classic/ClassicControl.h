// What a simulated classic recorder remembers of the control commands that it was sent.
#pragma once

#include <array>
#include <map>
#include <vector>

#include "protocol/ClassicProtocol.h"
#include "simulator/SimBytes.h"

/// Place of a camera. Each move command is one step of its speed.
struct CLASSIC_PTZ_POSITION {
    int pan = 0;   // right is positive
    int tilt = 0;  // up is positive
    int zoom = 0;
    int focus = 0;
    int iris = 0;
    bool operator==(const CLASSIC_PTZ_POSITION&) const = default;
};

struct CLASSIC_PTZ {
    CLASSIC_PTZ_POSITION position;
    std::map<tuint32, CLASSIC_PTZ_POSITION> presets;
    std::map<tuint32, std::vector<NET_CRUISE_POINT_INFO>> cruises;
    tuint32 lastCommand = 0;  // a PTZ command that was carried out
};

/// Outlives links and restarts, but for what Restart() takes back. A copy can be taken at any time through the
/// recorder.
class CClassicControl {
public:
    static constexpr unsigned MAX_CHANNELS = 64;

    explicit CClassicControl(tuint8 defaultColor = 128);

    /// Carries out the body of CMD_REQUEST_PTZ_CTRL. False for a body, channel, preset or cruise that does not exist.
    bool DoPtz(SIM_BYTE_VIEW body, unsigned channels);

    /// Takes colour values over; `bSave` keeps them over a restart. False for a body or channel that does not exist.
    bool SetColor(SIM_BYTE_VIEW body, unsigned channels, bool bSave);

    /// Takes a manual recording's start or end over; anything wrong is ignored.
    void SetManualRecord(SIM_BYTE_VIEW body, unsigned channels);

    /// Switches the outputs that the body names.
    void SetAlarmOutputs(SIM_BYTE_VIEW body, bool bOn);

    /// What a recorder forgets when it restarts: colours that were not saved, manual recordings, alarm outputs.
    void Restart();

    std::array<NET_COLOR_INFO, MAX_CHANNELS> colors;
    std::array<NET_COLOR_INFO, MAX_CHANNELS> savedColors;
    std::array<CLASSIC_PTZ, MAX_CHANNELS> ptz;
    std::int64_t timeOffset = 0;          // microseconds that the recorder's clock is ahead of this machine's
    tuint64 manualRecord = 0;             // bit n is channel n
    std::map<tuint32, tuint32> alarmOut;  // outputs that are on, with their value
};
