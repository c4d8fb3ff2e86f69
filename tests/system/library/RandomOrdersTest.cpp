// Starts, stops, logins, logouts and requests in random orders, from several threads and from inside callbacks, while frames pour and
// links are cut. HLX_TEST_ROUNDS sets the number of orders.

#include "System.h"

namespace {

class RandomOrders : public CSystemTest {
protected:
    using Random = std::minstd_rand;

    void SetCallbacks() {
        HLX_SetReconnect(100, true);
        HLX_SetSDKMessageCallBack(
            0, nullptr, [](DWORD, LONG, LONG, void* pUser) { static_cast<RandomOrders*>(pUser)->StepInCallback(1); },
            this);
        HLX_SetDVRMessageCallBack(OnMessage, this);
        HLX_SetDVRMessageCallBackEx(OnMessage, this);
    }
    static BOOL OnMessage(LONG, LONG, char*, DWORD, void* pUser) {
        static_cast<RandomOrders*>(pUser)->StepInCallback(2);
        return 1;
    }

    /// Acts in one call of `rarity`.
    void StepInCallback(unsigned rarity) {
        unsigned choice = 0;
        {
            std::lock_guard guard(m_lock);
            choice = m_random() % (8 * rarity);
        }
        if (choice >= 8) return;
        ++m_stepsInCallbacks;
        Random random(choice + 1);
        if (choice != 7) return Step(nullptr, random);
        EXPECT_FALSE(HLX_Cleanup());
    }

    CReceiver& NewReceiver() {
        std::lock_guard guard(m_lock);
        m_receivers.push_back(std::make_unique<CReceiver>());
        m_receivers.back()->m_inCallback = [this](POINTERHANDLE, const HLX_FRAME_INFO&) { StepInCallback(16); };
        return *m_receivers.back();
    }
    POINTERHANDLE Play(CReceiver* pReceiver, Random& random) {
        if (pReceiver) return pReceiver->Play(m_id, random() % 4, random() % 2);
        HLX_CLIENTINFO info{};
        info.lChannel = random() % 4;
        return HLX_LivePlay(m_id, &info, nullptr, nullptr);
    }
    void CutSometimes(Random& random) {
        constexpr SIM_CUT CUTS[] = {SIM_CUT::CLOSE, SIM_CUT::RESET, SIM_CUT::CLOSE, SIM_CUT::SILENT};
        if (random() % 3 == 0) m_recorders.back()->CutLinks(CUTS[random() % 4]);
    }
    void Step(CReceiver* pReceiver, Random& random) {
        const auto choice = random() % 11;
        if (choice < 3) {
            const POINTERHANDLE handle = Play(pReceiver, random);
            std::lock_guard guard(m_lock);
            if (handle > 0) m_handles.push_back(handle);
        } else if (choice < 5) {
            POINTERHANDLE handle = 0;
            {
                std::lock_guard guard(m_lock);
                if (!m_handles.empty()) handle = m_handles[random() % m_handles.size()];
            }
            HLX_StopLivePlay(handle);  // maybe stopped already, maybe by two at once
        } else if (choice == 5) {
            HLX_MakeKeyFrame(m_id, random() % 4);
        } else if (choice == 6) {
            HLX_DEVICEINFO info;
            HLX_GetDeviceInfo(m_id, &info);
        } else if (choice == 7) {
            HLX_PTZControl_Other(m_id, random() % 4, PTZ_CMD_LEFT, 1);
        } else if (choice == 8) {
            CutSometimes(random);
        } else if (choice == 9) {
            const LONG id = Login();
            if (random() % 2) HLX_Logout(id);
        } else if (random() % 3 == 0) {
            HLX_Logout(m_id);
        }
    }
    void RunOrder(unsigned order) {
        m_id = Login();
        HLX_SetupAlarmChan(m_id);
        std::vector<std::thread> threads;
        for (unsigned worker = 0; worker < 3; ++worker) {
            threads.emplace_back([this, &receiver = NewReceiver(), seed = order * 101 + worker + 1] {
                Random random(seed);
                for (int step = 0; step < 5; ++step) Step(&receiver, random);
            });
        }
        for (auto& thread : threads) thread.join();
        HLX_CloseAlarmChan(m_id);
    }

    std::atomic<LONG> m_id{0};
    std::atomic<int> m_stepsInCallbacks{0};
    std::mutex m_lock;
    std::vector<POINTERHANDLE> m_handles;                 // m_lock
    std::vector<std::unique_ptr<CReceiver>> m_receivers;  // m_lock; they outlive their streams
    Random m_random{1};                                   // m_lock; for what callbacks do
};

TEST_F(RandomOrders, NeitherHangNorLeak) {
    StartRecorder(Beating(4, 20)).SetStatus({.motion = 1});
    const CFastTime fast(20);
    const auto orders = static_cast<unsigned>(Rounds(30));
    for (unsigned order = 0; order < orders; ++order) {
        SetCallbacks();
        RunOrder(order);
        if (order % 5 != 4) {
            HLX_Logout(m_id);
            continue;
        }
        ASSERT_TRUE(HLX_Cleanup());
        {
            std::lock_guard guard(m_lock);
            m_receivers.clear();
            m_handles.clear();
        }
        ASSERT_TRUE(HLX_Init());
    }
    EXPECT_GT(m_stepsInCallbacks, 0);
    HLX_SetReconnect(3000, true);
    HLX_Cleanup();  // no callback comes behind it
}

}  // namespace
