// What the main thread of hlx-simulator does while a device runs.
#pragma once

#include <functional>
#include <string>

#include "simulator/SimScript.h"

/// Waits for SIGINT, SIGTERM or the end of the time, and meanwhile does what the schedule and the lines on standard
/// input tell. Made before every other thread, so that all have both signals blocked; they stay so, and SIGPIPE
/// ignored, to the program's end.
class CControlLoop {
public:
    CControlLoop();
    ~CControlLoop();
    CControlLoop(const CControlLoop&) = delete;
    CControlLoop& operator=(const CControlLoop&) = delete;

    CSimSchedule& Schedule() { return m_schedule; }

    /// `take` gets each line of standard input without its end. Lines above 4096 bytes are cut there. The end of the
    /// input ends nothing else.
    void TakeLines(std::function<void(const std::string&)> take) { m_take = std::move(take); }

    /// Returns at a signal or at the end. SIM_TIME::max() for no end.
    void Run(SIM_TIME end);

private:
    void WaitUntil(SIM_TIME due, bool& bSignal, bool& bInput) const;
    void ReadInput();
    void TakeLine();

    int m_signalFd;
    CSimSchedule m_schedule;
    std::function<void(const std::string&)> m_take;  // empty: standard input is left alone
    std::string m_sLine;                             // what came of a line that has not ended
};
