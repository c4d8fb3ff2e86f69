#include "simulator/SimEvent.h"

#include <algorithm>

const char* EventName(SIM_EVENT_KIND kind) {
    switch (kind) {
        case SIM_EVENT_KIND::ACCEPTED:
            return "accepted";
        case SIM_EVENT_KIND::CALLED:
            return "called";
        case SIM_EVENT_KIND::VAIN_CALL:
            return "vain-call";
        case SIM_EVENT_KIND::LOGIN:
            return "login";
        case SIM_EVENT_KIND::REFUSED:
            return "refused";
        case SIM_EVENT_KIND::COMMAND:
            return "command";
        case SIM_EVENT_KIND::STREAMS:
            return "streams";
        case SIM_EVENT_KIND::TALK:
            return "talk";
        case SIM_EVENT_KIND::RECORDING:
            return "recording";
        case SIM_EVENT_KIND::LOGOUT:
            return "logout";
        case SIM_EVENT_KIND::FAULT:
            return "fault";
        case SIM_EVENT_KIND::BAD_DATA:
            return "bad-data";
        case SIM_EVENT_KIND::CLOSED:
            return "closed";
    }
    return "";
}

SIM_OBSERVER CSimEventLog::Observer() {
    return [this](const SIM_EVENT& event) {
        const std::lock_guard lock(m_lock);
        m_events.push_back(event);
        m_told.notify_all();
    };
}

bool CSimEventLog::WaitFor(SIM_EVENT_KIND kind, size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(m_lock);
    return m_told.wait_for(lock, timeout, [&] { return CountLocked(kind) >= count; });
}

size_t CSimEventLog::Count(SIM_EVENT_KIND kind) const {
    const std::lock_guard lock(m_lock);
    return CountLocked(kind);
}

std::vector<SIM_EVENT> CSimEventLog::Events() const {
    const std::lock_guard lock(m_lock);
    return m_events;
}

size_t CSimEventLog::CountLocked(SIM_EVENT_KIND kind) const {
    return static_cast<size_t>(
        std::count_if(m_events.begin(), m_events.end(), [kind](const SIM_EVENT& event) { return event.kind == kind; }));
}
