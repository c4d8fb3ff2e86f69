// The library and a simulated recorder in one process, and a receiver that checks what it is given.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "HLX.h"
#include "simulator/classic/ClassicRecorder.h"
#include "support/MovedTime.h"
#include "support/TestSupport.h"
#include "tests/soak/FrameLedger.h"

/// Makes the library's clock run faster for a scope. The clock itself stays in force for the whole process, since threads of the
/// library wait on it before and behind the scope.
class CFastTime {
public:
    explicit CFastTime(int rate) { Clock().SetRate(rate); }
    ~CFastTime() { Clock().SetRate(1); }
    CFastTime(const CFastTime&) = delete;
    CFastTime& operator=(const CFastTime&) = delete;

    static CMovedTime& Clock();
};

/// How many rounds a test makes that can go on for long: HLX_TEST_ROUNDS of the environment, else `few`.
int Rounds(int few);

/// HLX_Init before and HLX_Cleanup behind each test; then no thread and no descriptor may be left.
class CSystemTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Starts a recorder; it ends with the test.
    CClassicRecorder& StartRecorder(CLASSIC_RECORDER_CONFIG config);

    /// A recorder that is faster than real time, which keeps the tests short.
    static CLASSIC_RECORDER_CONFIG Fast(unsigned channels = 16, double speed = 10);

    LONG Login(const char* sPassword = "secret", LPHLX_DEVICEINFO pInfo = nullptr);

    CSimEventLog m_events;  // of all recorders; outlives them
    std::vector<std::unique_ptr<CClassicRecorder>> m_recorders;

private:
    int m_threads = 0;
    int m_descriptors = 0;
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
    CReceiver(const CReceiver&) = delete;
    CReceiver& operator=(const CReceiver&) = delete;

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
