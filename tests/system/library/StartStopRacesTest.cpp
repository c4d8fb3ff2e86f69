// Starts of streams beside the end of their session.
#include <thread>

#include "System.h"

namespace {

constexpr int PLAYERS = 6;

using StartStopRaces = CSystemTest;

/// Whichever comes first, no stream outlives its session. That no thread and no link is left is seen behind the test.
TEST_F(StartStopRaces, APlayBesideALogoutLeavesNoStream) {
    CClassicRecorder& recorder = StartRecorder(Fast(PLAYERS, 20));
    for (int i = 0; i < 15; ++i) {
        const LONG id = Login();
        ASSERT_GT(id, 0);
        const auto requests = [&] {
            return recorder.CommandCount(CMD_REQUEST_STREAM_START) + recorder.CommandCount(CMD_REQUEST_STREAM_CHANGE);
        };
        const auto before = requests();
        POINTERHANDLE handles[PLAYERS] = {};
        std::vector<std::thread> players;
        CReceiver receivers[PLAYERS];
        for (int player = 0; player < PLAYERS; ++player)
            players.emplace_back([&, player] { handles[player] = receivers[player].Play(id, player); });
        // The logout comes at once, or when the first or second of them is with the recorder.
        EXPECT_TRUE(WaitUntil([&] { return requests() - before >= static_cast<std::uint64_t>(i % 3); }));
        EXPECT_TRUE(HLX_Logout(id));
        for (std::thread& player : players) player.join();
        for (const POINTERHANDLE handle : handles) {
            EXPECT_FALSE(handle > 0 && HLX_StopLivePlay(handle)) << "stopped by the logout";
        }
    }
}

}  // namespace
