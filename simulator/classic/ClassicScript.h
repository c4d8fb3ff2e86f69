// What scripts and control lines can have a simulated classic recorder do.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/classic/ClassicRecorder.h"

using CLASSIC_ACTION = std::function<void(CClassicRecorder&)>;

/// One row of the table of words, which the parser and the help text come from.
struct CLASSIC_WORD_ROW {
    const char* pName;
    const char* pArguments;
    const char* pHelp;
    // The words from the row's name on. An empty action when they are not what pArguments says; a sentence in the last
    // argument if there is a better one than that.
    CLASSIC_ACTION (*pfnParse)(std::span<const std::string> words, unsigned channels, std::string& sError);
};
std::span<const CLASSIC_WORD_ROW> ClassicWords();

/// The action that the words name, for a recorder of so many channels. Empty, with a sentence in `sError`, for words
/// that name none.
CLASSIC_ACTION ParseClassicAction(std::span<const std::string> words, unsigned channels, std::string& sError);

/// The kind of status of this name, "motion" or "manual-record" for instance; null for a name of none.
tuint64 CLASSIC_STATUS::*FindStatusKind(std::string_view name);

/// Reads the number of one of `channels` channels or sensors; nothing, with a sentence in `sError`, when it is none.
std::optional<unsigned> ParseChannel(std::string_view sText, unsigned channels, std::string& sError);
