// Alarms and records of the classic recorder, made of the masks that it told last.
#include <ctime>

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"

namespace {

struct STATUS_MASK {
    tuint64 mask;
    DWORD kind;  // an HLX_ALARM_TYPE or a DD_RECORD_TYPE_*
};

/// What a recorder says of inputs that it does not have is not passed on.
tuint64 Existing(tuint64 mask, DWORD inputs) { return inputs < 64 ? mask & ((tuint64{1} << inputs) - 1) : mask; }

/// One record per bit, as many as there is room for. Their number; -1 without a place for them.
template <class Record, size_t COUNT, class Make>
LONG FillFromMasks(const STATUS_MASK (&masks)[COUNT], Record* pRecords, LONG lMaxNum, Make make) {
    if (!pRecords || lMaxNum < 0) return Failure(HLX_PARAMETER_ERROR, LONG{-1});
    LONG filled = 0;
    for (const auto& [mask, kind] : masks) {
        for (DWORD bit = 0; bit < 64 && filled < lMaxNum; ++bit) {
            if (mask >> bit & 1) pRecords[filled++] = make(kind, bit);
        }
    }
    return filled;
}

/// A sensor's bit is its input, any other alarm's its channel.
template <class Record>
Record MakeAlarm(DWORD kind, DWORD bit) {
    Record alarm{};
    alarm.dwAlarmType = kind;
    (kind == HLX_ALARM_TYPE_SENSOR ? alarm.dwSensorIn : alarm.dwChannel) = bit;
    return alarm;
}

}  // namespace

template <class Record, class Make>
LONG CDVRNetDevice_V3::FillAlarms(Record* pInfo, LONG lMaxNum, Make make) {
    if (m_deviceStatus != NET_DEVICE_STATUS_CONNECTED) return Failure(HLX_NETWORK_NOT_CONNECT, LONG{-1});
    const HLX_DEVICEINFO info = DeviceInfo();
    const STATUS_MASK masks[] = {{Existing(m_ullMotion, info.videoInputNum), HLX_ALARM_TYPE_MOTION},
                                 {Existing(m_ullSensor, info.sensorInputNum), HLX_ALARM_TYPE_SENSOR},
                                 {Existing(m_ullVloss, info.videoInputNum), HLX_ALARM_TYPE_VLOSS}};
    return FillFromMasks(masks, pInfo, lMaxNum, make);
}

template <class Record, class Make>
LONG CDVRNetDevice_V3::FillRecordStatus(Record* pStatus, LONG lMaxNum, Make make) {
    if (m_deviceStatus != NET_DEVICE_STATUS_CONNECTED) return Failure(HLX_NETWORK_NOT_CONNECT, LONG{-1});
    const DWORD channels = DeviceInfo().videoInputNum;
    const STATUS_MASK masks[] = {{Existing(m_ullManualRec, channels), DD_RECORD_TYPE_MANUAL},
                                 {Existing(m_ullScheduleRec, channels), DD_RECORD_TYPE_SCHEDULE},
                                 {Existing(m_ullMotionRec, channels), DD_RECORD_TYPE_MOTION},
                                 {Existing(m_ullSensorRec, channels), DD_RECORD_TYPE_SENSOR}};
    return FillFromMasks(masks, pStatus, lMaxNum, make);
}

LONG CDVRNetDevice_V3::GetAlarmInfo(HLX_ALARMINFO* pInfo, LONG lMaxNum) {
    return FillAlarms(pInfo, lMaxNum, MakeAlarm<HLX_ALARMINFO>);
}

LONG CDVRNetDevice_V3::GetAlarmInfoEx(HLX_ALARMINFO_EX* pInfo, LONG lMaxNum) {
    char now[sizeof(HLX_ALARMINFO_EX::alarmTime)] = {};
    const tm local = DVRTimeToTm(GetCurrTime());
    std::strftime(now, sizeof(now), "%Y-%m-%d %H:%M:%S", &local);
    return FillAlarms(pInfo, lMaxNum, [&](DWORD kind, DWORD bit) {
        auto alarm = MakeAlarm<HLX_ALARMINFO_EX>(kind, bit);
        CopyText(alarm.alarmTime, now);
        return alarm;
    });
}

LONG CDVRNetDevice_V3::GetRecordStatus(HLX_RECORD_STATUS* pStatus, LONG lMaxNum) {
    return FillRecordStatus(pStatus, lMaxNum, [](DWORD kind, DWORD channel) {
        return HLX_RECORD_STATUS{kind, channel};
    });
}

LONG CDVRNetDevice_V3::GetRecordStatusEx(HLX_RECORD_STATUS_EX* pStatus, LONG lMaxNum) {
    return FillRecordStatus(pStatus, lMaxNum, [](DWORD kind, DWORD channel) {
        return HLX_RECORD_STATUS_EX{kind, channel, DD_RECORD_STATUS_ON};
    });
}
