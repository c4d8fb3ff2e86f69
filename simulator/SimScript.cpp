#include "simulator/SimScript.h"

#include <algorithm>
#include <sstream>

bool ParseScriptLine(const std::string& sText, SIM_SCRIPT_LINE& line, std::string& sError) {
    line = {};
    std::istringstream text(sText.substr(0, sText.find('#')));
    for (std::string sWord; text >> sWord;) line.words.push_back(sWord);
    if (line.words.empty()) return true;

    const bool bEvery = line.words.front() == "every";
    if (bEvery) line.words.erase(line.words.begin());
    const std::string sFirst = line.words.empty() ? "" : line.words.front();
    if (!bEvery && (sFirst[0] < '0' || sFirst[0] > '9')) return true;
    const auto time = ParseSimTime(sFirst);
    if (!time) {
        sError = "'" + sFirst + "' is no time, as 500ms, 2s and 1.5m are.";
        return false;
    }
    line.words.erase(line.words.begin());
    line.at = *time;
    if (bEvery) line.every = *time;
    if (line.words.empty()) sError = "There is a time with nothing to do.";
    return !line.words.empty();
}

void CSimSchedule::Add(SIM_TIME now, const SIM_SCRIPT_LINE& line, std::function<void()> action) {
    Insert({now + line.at, line.every, std::move(action)});
}

void CSimSchedule::Insert(ENTRY entry) {
    const auto place = std::ranges::upper_bound(m_entries, entry.due, {}, &ENTRY::due);
    m_entries.insert(place, std::move(entry));
}

SIM_TIME CSimSchedule::NextDue() const { return m_entries.empty() ? SIM_TIME::max() : m_entries.front().due; }

void CSimSchedule::RunDue(SIM_TIME now) {
    while (NextDue() <= now) {
        ENTRY entry = std::move(m_entries.front());
        m_entries.erase(m_entries.begin());
        entry.action();
        if (entry.every.count() == 0) continue;
        entry.due += entry.every * ((now - entry.due) / entry.every + 1);
        Insert(std::move(entry));
    }
}
