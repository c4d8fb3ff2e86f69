// Lines that tell a simulated device what to do and when; scripts and control lines share them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "simulator/SimTime.h"

/// [TIME | every TIME] WORD ...
struct SIM_SCRIPT_LINE {
    std::chrono::milliseconds at{};     // from the start, or from now, to the first time
    std::chrono::milliseconds every{};  // from one time to the next; 0: once
    std::vector<std::string> words;     // what to do; empty for a blank line and a comment
};

/// Reads one line; what stands behind a # is a comment. False, with a sentence in `sError`, when a time is none or
/// nothing stands behind it.
bool ParseScriptLine(const std::string& sText, SIM_SCRIPT_LINE& line, std::string& sError);

/// What is still to be done, by time. Used by one thread.
class CSimSchedule {
public:
    void Add(SIM_TIME now, const SIM_SCRIPT_LINE& line, std::function<void()> action);

    /// When the next action is due; SIM_TIME::max() without any.
    SIM_TIME NextDue() const;

    /// Does what is due at `now`, earliest first, and in the order of adding what is due at the same time. An action
    /// that is late by several of its periods is done once.
    void RunDue(SIM_TIME now);

private:
    struct ENTRY {
        SIM_TIME due;
        std::chrono::milliseconds every;
        std::function<void()> action;
    };
    void Insert(ENTRY entry);

    std::vector<ENTRY> m_entries;  // by due
};
