// The device's side of recorded sessions, as steps: see protocol/TraceFile.h for the file.
#pragma once

#include <chrono>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "simulator/SimBytes.h"

enum class REPLAY_STEP_KIND {
    SEND,    // bytes
    EXPECT,  // a message of the client with this command id
    END,     // the device closed the link
    RESET,   // the link broke
};

struct REPLAY_STEP {
    REPLAY_STEP_KIND kind = REPLAY_STEP_KIND::SEND;
    std::chrono::microseconds pause{0};  // since the line before, of this link
    SIM_BYTES bytes;
    std::uint32_t cmdType = 0;
};

/// The steps of one link; a probe, which is opened and closed again, has none.
using REPLAY_LINK = std::vector<REPLAY_STEP>;

/// The links of a record in the order in which they were opened. Nothing and a sentence in `sError` for a text that is
/// no record. Lines that a later version may add are skipped.
std::optional<std::vector<REPLAY_LINK>> ReadTrace(std::istream& text, std::string& sError);
