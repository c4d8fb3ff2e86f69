// What tests of the whole library receive with, and how they make its time pass.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "HLX.h"
#include "support/MovedTime.h"
#include "support/TestSupport.h"
#include "tests/soak/FrameLedger.h"

/// Makes the library's clock run faster for a scope. The clock itself stays in force for the whole process, since threads of the
/// library wait on it before and behind the scope.
class CFastTime : CUncopied {
public:
    explicit CFastTime(int rate) { Clock().SetRate(rate); }
    ~CFastTime() { Clock().SetRate(1); }

    static CMovedTime& Clock();
};

/// A frame as the application got it.
struct RECEIVED_FRAME {
    HLX_FRAME_INFO info;
    std::uint64_t digest;  // of all its bytes
};

/// Collects the frames of streams, which it stops when it goes.
class CReceiver {
public:
    CReceiver() = default;
    ~CReceiver();

    /// The handle, as HLX_LivePlay gives it.
    POINTERHANDLE Play(LONG lUserID, LONG lChannel, LONG lStreamType = HLX_MAIN_STREAM);

    bool WaitForFrames(size_t count, DWORD frameType = DD_FRAME_TYPE_VIDEO) const;
    size_t Count(DWORD frameType) const;
    std::vector<RECEIVED_FRAME> Frames() const;

    /// Runs inside each callback, before the frame is kept.
    std::function<void(POINTERHANDLE, const HLX_FRAME_INFO&)> m_inCallback;
    CFrameLedger* m_pLedger = nullptr;  // is told of each frame as one of recorder 0

    static void OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO info, BYTE* pData, void* pUser);

private:
    mutable std::mutex m_lock;
    mutable std::condition_variable m_came;
    std::vector<RECEIVED_FRAME> m_frames;  // m_lock
    std::map<DWORD, size_t> m_counts;      // m_lock; by frame type
    std::vector<POINTERHANDLE> m_handles;  // of the thread that plays
};
