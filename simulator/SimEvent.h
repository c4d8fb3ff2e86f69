// What a simulated device tells about its day.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

enum class SIM_EVENT_KIND {
    ACCEPTED,   // a link's client spoke for the first time; a link of a client that only comes and goes is not told
    CALLED,     // the device's own call came through
    VAIN_CALL,  // sText: why no link came of the device's own call
    LOGIN,      // sText: user name
    REFUSED,    // value: word of the refusal
    COMMAND,    // value: command id of any request, before it is served
    STREAMS,    // firstMask, secondMask, soundMask: what is wanted now
    TALK,       // value: 1 a talk starts, 0 it ends
    RECORDING,  // value: id of a stream of recordings; sText: start, seek, end, stop; firstMask: channels of a start
    LOGOUT,
    FAULT,     // sText: name of the fault that acted
    BAD_DATA,  // sText: what the client sent wrong; the link is closed
    CLOSED,    // value: bytes sent on the link
};

struct SIM_EVENT {
    SIM_EVENT_KIND kind = SIM_EVENT_KIND::ACCEPTED;
    unsigned link = 0;  // number of the link, from 1
    std::uint64_t value = 0;
    std::uint64_t firstMask = 0;  // bit n is channel n
    std::uint64_t secondMask = 0;
    std::uint64_t soundMask = 0;
    std::string sText;
};

/// Called on the device's thread; must not block for long nor call Stop() of the device.
using SIM_OBSERVER = std::function<void(const SIM_EVENT&)>;

/// The lower-case name of the kind, "bad-data" for instance.
const char* EventName(SIM_EVENT_KIND kind);

/// Keeps events, so that another thread can wait for them. Its Observer() may be given to several devices; it must
/// outlive them.
class CSimEventLog {
public:
    SIM_OBSERVER Observer();

    /// Waits until `count` events of the kind were told since the start; false when `timeout` is over before.
    bool WaitFor(SIM_EVENT_KIND kind, size_t count, std::chrono::milliseconds timeout) const;

    size_t Count(SIM_EVENT_KIND kind) const;
    std::vector<SIM_EVENT> Events() const;

private:
    size_t CountLocked(SIM_EVENT_KIND kind) const;

    mutable std::mutex m_lock;
    mutable std::condition_variable m_told;
    std::vector<SIM_EVENT> m_events;  // m_lock
};
