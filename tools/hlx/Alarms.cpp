#include <fmt/format.h>

#include <algorithm>
#include <compare>
#include <cstring>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <vector>

#include "Commands.h"
#include "Output.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The library tells what lasts every 1.5 s; what was not told for longer than two rounds is over.
constexpr auto OVER_AFTER = 4s;
constexpr auto ONE_LOOK = 2s;
constexpr auto CHECK_EVERY = 500ms;

// One thing that goes on at the device.
struct STATE {
    LONG lCommand;  // HLX_ALARM or HLX_RECORD
    DWORD dwType;
    DWORD dwPlace;  // channel, or input of a sensor
    auto operator<=>(const STATE&) const = default;

    bool IsSensor() const { return lCommand == HLX_ALARM && dwType == HLX_ALARM_TYPE_SENSOR; }
};

constexpr const char* ALARM_NAMES[] = {"motion",    "sensor",           "video-loss",      "shelter",
                                       "disk-full", "disk-unformatted", "disk-write-fail", "exception"};

std::string KindText(const STATE& state) {
    if (state.lCommand == HLX_ALARM) {
        return state.dwType < std::size(ALARM_NAMES) ? ALARM_NAMES[state.dwType] : fmt::format("{}", state.dwType);
    }
    switch (state.dwType) {
        case DD_RECORD_TYPE_MANUAL:
            return "manual";
        case DD_RECORD_TYPE_SCHEDULE:
            return "schedule";
        case DD_RECORD_TYPE_MOTION:
            return "motion";
        case DD_RECORD_TYPE_SENSOR:
            return "sensor";
        default:
            return fmt::format("{:#x}", state.dwType);
    }
}

// What the message thread hears, for the main thread to tell.
class CAlarmBook {
public:
    explicit CAlarmBook(CInterrupt& interrupt) : m_interrupt(interrupt) {}

    static BOOL OnMessage(LONG lCommand, LONG, char* pBuf, DWORD dwBufLen, void* pUser);

    struct CHANGE {
        STATE state;
        bool bOn;
    };
    // What began or ended since the last call, oldest kind first.
    std::vector<CHANGE> TakeChanges();

private:
    struct NOTE {
        Clock::time_point heard;
        bool bTold = false;
    };
    void Hear(const STATE& state);  // m_lock held

    CInterrupt& m_interrupt;
    std::mutex m_lock;
    std::map<STATE, NOTE> m_notes;  // m_lock
};

template <class Record>
std::vector<Record> Records(const char* pBuf, DWORD dwBufLen) {
    std::vector<Record> records(dwBufLen / sizeof(Record));
    if (!records.empty()) memcpy(records.data(), pBuf, records.size() * sizeof(Record));
    return records;
}

void CAlarmBook::Hear(const STATE& state) { m_notes[state].heard = Clock::now(); }

BOOL CAlarmBook::OnMessage(LONG lCommand, LONG, char* pBuf, DWORD dwBufLen, void* pUser) {
    auto& book = *static_cast<CAlarmBook*>(pUser);
    {
        const std::lock_guard guard(book.m_lock);
        if (lCommand == HLX_ALARM) {
            for (const auto& alarm : Records<HLX_ALARMINFO>(pBuf, dwBufLen)) {
                const bool bSensor = alarm.dwAlarmType == HLX_ALARM_TYPE_SENSOR;
                book.Hear({lCommand, alarm.dwAlarmType, bSensor ? alarm.dwSensorIn : alarm.dwChannel});
            }
        }
        if (lCommand == HLX_RECORD) {
            for (const auto& status : Records<HLX_RECORD_STATUS>(pBuf, dwBufLen)) {
                book.Hear({lCommand, status.dwRecordType, status.dwChannel});
            }
        }
    }
    book.m_interrupt.Wake();
    return 1;
}

std::vector<CAlarmBook::CHANGE> CAlarmBook::TakeChanges() {
    const std::lock_guard guard(m_lock);
    std::vector<CHANGE> changes;
    const auto now = Clock::now();
    for (auto it = m_notes.begin(); it != m_notes.end();) {
        auto& [state, note] = *it;
        const bool bOver = now - note.heard > OVER_AFTER;
        if (bOver || !note.bTold) changes.push_back({state, !bOver});
        note.bTold = true;
        it = bOver ? m_notes.erase(it) : std::next(it);
    }
    return changes;
}

int Print(const CAlarmBook::CHANGE& change, bool bJson) {
    const STATE& state = change.state;
    const char* sEvent = state.lCommand == HLX_ALARM ? "alarm" : "record";
    const char* sPlace = state.IsSensor() ? "sensor" : "channel";
    const char* sState = change.bOn ? "on" : "off";
    if (!bJson) {
        return PrintData(
            fmt::format("{:<7}{:<17}{:<8}{:<4}{}\n", sEvent, KindText(state), sPlace, state.dwPlace, sState));
    }
    return PrintJson({{"event", sEvent}, {"kind", KindText(state)}, {sPlace, state.dwPlace}, {"state", sState}});
}

EXIT_CODE Follow(const OPTIONS& options, CInterrupt& interrupt, CAlarmBook& book) {
    const auto length = options.alarms.bFollow ? options.alarms.length : ONE_LOOK;
    const auto end = length > 0ms ? Clock::now() + length : Clock::time_point::max();
    for (;;) {
        for (const auto& change : book.TakeChanges()) {
            const int nErrno = Print(change, options.connect.bJson);
            if (nErrno != 0) return PrintedExit(nErrno);
        }
        if (interrupt.Signal() != 0) return SignalExitCode(interrupt.Signal());
        const auto now = Clock::now();
        if (now >= end) return EXIT_OK;
        interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(std::min<Clock::duration>(CHECK_EVERY, end - now)));
    }
}

}  // namespace

EXIT_CODE RunAlarms(const OPTIONS& options, CInterrupt& interrupt) {
    CAlarmBook book(interrupt);  // outlives the session, whose end ends the callbacks
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    HLX_SetDVRMessageCallBack(CAlarmBook::OnMessage, &book);
    const POINTERHANDLE lAlarm = HLX_SetupAlarmChan(session.UserID());
    const EXIT_CODE eExit = Follow(options, interrupt, book);
    HLX_CloseAlarmChan(lAlarm);
    return eExit;
}
