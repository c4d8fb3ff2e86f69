// A session that is recorded once and played again, whole, cut and maltreated.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "HLX.h"
#include "simulator/replay/ReplayServer.h"

/// What the application does: a login and requests of each kind, and maybe a stream.
struct TRACED_ORDER {
    static constexpr size_t PICTURES = 4;

    bool bLive = true;
    size_t pictures = PICTURES;                // that it waits for before its last request
    std::chrono::milliseconds patience{5000};  // with them
};

/// What the application was told.
struct TRACED_OUTCOME {
    struct CALL {
        bool bDone = false;
        DWORD error = 0;
        std::vector<DWORD> values;
    };
    std::vector<CALL> calls;
    std::vector<std::uint64_t> pictures;  // digests

    bool AllDone() const;
};

/// Runs it; ends at the first login or stream that fails. HLX_Init is the caller's.
TRACED_OUTCOME RunTraced(std::uint16_t port, const TRACED_ORDER& order);

/// Runs it against the device's side of a record.
TRACED_OUTCOME RunReplayed(const REPLAY_CONFIG& config, const TRACED_ORDER& order);

/// The record of a session with a simulated recorder, whose bytes all come in small pieces.
struct TRACED_RECORD {
    TRACED_OUTCOME outcome;
    std::string sText;
    REPLAY_CONFIG config;  // plays it without pauses
    std::string sError;    // empty: all is well
};
TRACED_RECORD RecordTraced(const TRACED_ORDER& order);

/// Pictures that lie whole in the first `bytes` bytes of a recorded link.
size_t PicturesWithin(const REPLAY_LINK& link, size_t bytes);

/// Runs it against a device that sends wrong bytes by this seed, on a clock that is fast (CFastTime).
TRACED_OUTCOME RunMutated(REPLAY_CONFIG config, unsigned seed);
