#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "HLX.h"

// Which of the library's functions carries an action out.
enum class PTZ_FORM { MOVE, PRESET, CRUISE, CRUISE_SET, TRACK, SCAN };

// One word of `hlx ptz`. The table in PtzActions.cpp is the one source of the parser, help, man page and completion.
struct PTZ_ACTION {
    const char* sName;
    const char* sHelp;
    PTZ_FORM eForm;
    PTZ_COM_TYPE eCommand;
    PTZ_COM_TYPE eEnd;   // what ends it; the command itself for what ends by itself
    const char* sValue;  // the number that it needs, null for none

    bool GoesOn() const { return eEnd != eCommand; }
    bool HasSpeed() const { return eForm == PTZ_FORM::CRUISE_SET || (GoesOn() && IsTurn()); }

private:
    bool IsTurn() const { return eForm == PTZ_FORM::MOVE || eForm == PTZ_FORM::SCAN; }
};

std::span<const PTZ_ACTION> PtzActions();

// Null for a word that is none.
const PTZ_ACTION* FindPtzAction(std::string_view strName);

// All words, with the separator between them.
std::string PtzActionNames(std::string_view strBetween);

// The table as lines for --help.
std::string PtzActionsText();
