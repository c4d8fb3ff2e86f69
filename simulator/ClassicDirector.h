// The script and the control lines of a run of "hlx-simulator classic".
#pragma once

#include <string>
#include <vector>

#include "simulator/classic/ClassicScript.h"
#include "simulator/SimScript.h"

/// Has a recorder do what lines tell, at once or by a schedule. Used by the main thread.
class CClassicDirector {
public:
    /// The recorder and the schedule outlive it. `bTell`: print a line of JSON for each scheduled line that is done.
    CClassicDirector(CClassicRecorder& recorder, CSimSchedule& schedule, unsigned channels, bool bTell)
        : m_recorder(recorder), m_schedule(schedule), m_channels(channels), m_bTell(bTell) {}

    /// Reads a script. False, with a sentence that names the line, when the file or a line is wrong.
    bool LoadScript(const std::string& sFile, std::string& sError);

    /// The script's times run from here.
    void StartScript();

    /// Does or schedules a control line and answers it with a line of JSON; a blank one and a comment get no answer.
    void TakeControlLine(const std::string& sText);

private:
    struct ENTRY {
        std::string sText;
        SIM_SCRIPT_LINE line;
        CLASSIC_ACTION action;  // empty for a blank line
    };
    bool Parse(const std::string& sText, ENTRY& entry, std::string& sError) const;
    void AddToSchedule(const ENTRY& entry);

    CClassicRecorder& m_recorder;
    CSimSchedule& m_schedule;
    const unsigned m_channels;
    const bool m_bTell;
    std::vector<ENTRY> m_script;
};
