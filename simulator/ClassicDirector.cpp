#include "simulator/ClassicDirector.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "simulator/SimPrint.h"

bool CClassicDirector::Parse(const std::string& sText, ENTRY& entry, std::string& sError) const {
    entry.sText = sText;
    if (!ParseScriptLine(sText, entry.line, sError)) return false;
    if (entry.line.words.empty()) return true;
    entry.action = ParseClassicAction(entry.line.words, m_channels, sError);
    return static_cast<bool>(entry.action);
}

bool CClassicDirector::LoadScript(const std::string& sFile, std::string& sError) {
    std::ifstream file(sFile);
    unsigned number = 0;
    for (std::string sText; std::getline(file, sText);) {
        ++number;
        ENTRY entry;
        if (!Parse(sText, entry, sError)) {
            sError = sFile + ", line " + std::to_string(number) + ": " + sError;
            return false;
        }
        if (entry.action) m_script.push_back(std::move(entry));
    }
    if (file.eof()) return true;
    sError = "The script " + sFile + " cannot be read: " + std::strerror(errno) + ".";
    return false;
}

void CClassicDirector::StartScript() {
    for (const ENTRY& entry : m_script) AddToSchedule(entry);
}

void CClassicDirector::AddToSchedule(const ENTRY& entry) {
    m_schedule.Add(SIM_CLOCK::now(), entry.line, [this, action = entry.action, sText = entry.sText] {
        action(m_recorder);
        if (m_bTell) PrintLine({{"event", "script"}, {"line", sText}});
    });
}

void CClassicDirector::TakeControlLine(const std::string& sText) {
    ENTRY entry;
    std::string sError;
    if (!Parse(sText, entry, sError)) {
        PrintLine({{"event", "control"}, {"line", sText}, {"ok", false}, {"message", sError}});
        return;
    }
    if (!entry.action) return;
    if (entry.line.at.count() > 0) {
        AddToSchedule(entry);
    } else {
        entry.action(m_recorder);
    }
    PrintLine({{"event", "control"}, {"line", sText}, {"ok", true}});
}
