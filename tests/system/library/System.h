// The library and a simulated recorder in one process, and a receiver that checks what it is given.
#pragma once

#include "HLX.h"
#include "simulator/classic/ClassicRecorder.h"
#include "support/Test.h"
#include "tests/soak/Receiver.h"

/// How many rounds a test makes that can go on for long: HLX_TEST_ROUNDS of the environment, else `few`.
int Rounds(int few);

/// Counts the breaks and returns of sessions that the library tells while this lives, and sets how it reconnects.
class CTold {
public:
    explicit CTold(DWORD dwReconnect);
    ~CTold();

    std::atomic<int> m_breaks{0}, m_returns{0};
    std::atomic<bool> m_bInOrder{true};  // they came by turns, so far as there was one session only
};

/// HLX_Init before and HLX_Cleanup behind each test; then no thread and no descriptor may be left.
class CSystemTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Starts a recorder; it ends with the test.
    CClassicRecorder& StartRecorder(CLASSIC_RECORDER_CONFIG config);

    /// A recorder that is faster than real time, which keeps the tests short.
    static CLASSIC_RECORDER_CONFIG Fast(unsigned channels = 16, double speed = 10);

    /// Such a recorder whose heartbeats keep in step with a clock that is made 20 times as fast.
    static CLASSIC_RECORDER_CONFIG Beating(unsigned channels = 4, double speed = 10);

    /// A fault by its words.
    static SIM_FAULT Fault(const std::string& sText);

    LONG Login(const char* sPassword = "secret", LPHLX_DEVICEINFO pInfo = nullptr);

    CSimEventLog m_events;  // of all recorders; outlives them
    std::vector<std::unique_ptr<CClassicRecorder>> m_recorders;

private:
    int m_threads = 0, m_descriptors = 0;
};
