// A device that sends live frames with the moment of sending in them: to the library as a classic recorder, to the
// minimal program as the same bytes from the start of the link.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

/// Who gets frames.
enum LIVE_SIDE { SIDE_LIBRARY, SIDE_MINIMAL, SIDE_COUNT, SIDE_NOBODY = SIDE_COUNT };

constexpr int LIVE_FRAME_BYTES = 20000;
constexpr int LIVE_FRAME_INTERVAL = 40;  // milliseconds; with the above 4 Mbit/s

/// What source, viewers and the measuring process share.
struct LIVE_SHARED {
    struct VIEWER {
        std::atomic<std::uint16_t> port{0};  // of the source
        std::atomic<bool> bReady{false};
        std::atomic<unsigned> frames{0};
        std::array<std::atomic<std::int64_t>, 1024> delays{};  // nanoseconds; that of frame n at n modulo 1024

        /// Counts a frame that came to the callback, and how long it took.
        void Note(const unsigned char* pData);
    };
    std::atomic<LIVE_SIDE> side{SIDE_NOBODY};
    VIEWER viewers[SIDE_COUNT];
};

/// Serves until the process is ended.
void RunFrameSource(LIVE_SHARED& shared);
