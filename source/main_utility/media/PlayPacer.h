// When a frame of a playback is due.
#pragma once

#include "HLX.h"
#include "protocol/WireTypes.h"

/// State of a stream slot. The last two are never entered.
enum PLAY_STATE : tuint32 {
    N_PS_STOP = 1,
    N_PS_PLAY = 2,
    N_PS_PAUSE = 3,
    N_PS_FF = 4,
    N_PS_REW = 5,
    N_PS_FRAME = 6,
    N_PS_CHANGING_TIME = 7,
};

/// One stream slot of a device. Times of frames are microseconds since 1970.
struct PLAY_CTRL {
    tuint64 startTime = 0;  // range, seconds since 1970
    tuint64 endTime = 0;
    tuint32 playStatus = N_PS_STOP;
    tint32 playSpeed = HLX_RPB_SPEED_1X;
    bool bPlayNext = false;               // while paused: one video frame is wanted
    bool bFirstFrame = false;             // the next video frame starts the clock
    tint64 lastFrameTime = 0;             // of the last video frame that was looked at
    tint64 lastShowTime = 0;              // when the frame at the cursor is due, microseconds of the clock handed in
    tint32 lastNotifyIndex = -1;          // told to the device; -1: everything is dropped until a frame with index 0
    tint32 failedIndex = -1;              // could not be told to the device; -1: none
    unsigned char* dataBuffer = nullptr;  // block held from the ring, and its length
    tuint32 dataLen = 0;
    tuint32 readCursor = 0;  // of the next frame in it
    bool needSleep = false;  // the frame at the cursor is not due
    bool bSeeking = false;   // a seek waits for its answer: the slot is left alone
    tuint32 streamID = 0;
    tuint32 deviceID = 0;
    tuint64 MultiCH = 0;  // channels seen at the present instant, bit n for channel n
    tuint32 playNum = 0;  // channels of the stream
};

enum class PLAY_VERDICT { WAIT, DROP, DELIVER };

/// Paces one slot by the time stamps of its frames. The clock is handed in with each frame: microseconds of one that
/// nobody sets, so that a changed wall clock neither holds up a playback nor lets it run.
///
/// A slot that fell behind catches up at full rate: no frame is left out for being late. A gap in the stamps that would
/// last 1.5 s or more is a hole in the recording and is skipped, but waited out in reverse. Stamps that go against the
/// direction of play, as those of frames sent before it was changed, do not count as lateness.
class CPlayPacer {
public:
    static constexpr tint64 GAP_LIMIT = 1500000;    // microseconds at the chosen speed
    static constexpr tint64 STAMP_JITTER = 100000;  // how far stamps may go back and still count
    static constexpr tint32 FIRST_KEY_SPEED = HLX_RPB_SPEED_8X;

    explicit CPlayPacer(PLAY_CTRL& slot) : m_slot(slot) {}

    /// What becomes of the frame at the cursor. WAIT: nothing else of the slot is looked at before lastShowTime or the
    /// next control call. `bNotify`: the device is to be told the frame's index, whatever the verdict.
    struct DECISION {
        PLAY_VERDICT verdict;
        bool bNotify;
    };
    DECISION Decide(const HLX_FRAME_INFO& frame, tint64 now);

    /// The device was told this index, or could not be.
    void Notified(tuint32 frameIndex, bool bDone);

    /// True while frames of the slot are looked at.
    static bool IsRunning(const PLAY_CTRL& slot);

    /// Microseconds between two stamps at a speed; outside 1 to 11 the nearest speed counts.
    static tint64 WaitAt(tint64 stampDifference, tint32 playSpeed);

private:
    bool Passes(const HLX_FRAME_INFO& frame);
    bool MustNotify(const HLX_FRAME_INFO& frame) const;
    bool IsDue(const HLX_FRAME_INFO& frame, tint64 now);
    bool MoveClock(tint64 wait, tint64 now);

    PLAY_CTRL& m_slot;
};

/// Channels that are played in step.
struct PLAYBACK_SYNC_INFO {
    static constexpr size_t MAX_CHANNELS = 8;

    tint64 curTime[MAX_CHANNELS] = {};    // stamp of each channel's frame; 0: none yet
    tuint32 streamID[MAX_CHANNELS] = {};  // whose place this is
    tuint32 lChnNum = 0;
    POINTERHANDLE lPlayBackHandle[MAX_CHANNELS] = {};
    LONG lDeviceHandle = 0;
};

/// Keeps channels within 300 ms of each other.
class CPlaySync {
public:
    static constexpr tint64 SYNC_WINDOW = 300000;  // microseconds
    static constexpr tint64 ENDED = INT64_MAX;     // of a channel that holds up no other any more

    /// lChnNum or more for a stream that is not in step.
    static size_t PlaceOf(const PLAYBACK_SYNC_INFO& info, tuint32 streamID);
    /// Nothing for a stream that is not in step.
    static void SetTime(PLAYBACK_SYNC_INFO& info, tuint32 streamID, tint64 time);
    /// False while a channel that has had no frame, or lies too far behind, holds the frame of the one at `place` up.
    static bool MayPass(PLAYBACK_SYNC_INFO& info, size_t place, tint64 frameTime);
};
