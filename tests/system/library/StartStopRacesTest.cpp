// Starts of streams beside the end of their session.
#include <thread>

#include "System.h"

namespace {

using StartStopRaces = CSystemTest;

/// Whichever comes first, no stream outlives its session. That no thread and no link is left is seen behind the test.
TEST_F(StartStopRaces, APlayBesideALogoutLeavesNoStream) {
    CClassicRecorder& recorder = StartRecorder(Fast(4, 20));
    for (int i = 0; i < 15; ++i) {
        const LONG id = Login();
        ASSERT_GT(id, 0);
        const auto before = recorder.CommandCount(CMD_REQUEST_STREAM_START);
        POINTERHANDLE handles[3] = {};
        std::vector<std::thread> players;
        CReceiver receivers[3];
        for (int player = 0; player < 3; ++player)
            players.emplace_back([&, player] { handles[player] = receivers[player].Play(id, player % 2); });
        // The logout comes at once, or when the first or second of them is with the recorder.
        const auto begun = [&] { return recorder.CommandCount(CMD_REQUEST_STREAM_START) - before; };
        EXPECT_TRUE(WaitUntil([&] { return begun() >= static_cast<std::uint64_t>(i % 3); }));
        EXPECT_TRUE(HLX_Logout(id));
        for (std::thread& player : players) player.join();
        for (const POINTERHANDLE handle : handles) {
            EXPECT_FALSE(handle > 0 && HLX_StopLivePlay(handle)) << "stopped by the logout";
        }
    }
}

}  // namespace
