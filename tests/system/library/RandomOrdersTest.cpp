// Starts, stops, logouts and requests from several threads in random orders while frames pour.
#include <random>
#include <thread>

#include "System.h"

namespace {

constexpr int ORDERS_PER_SEED = 10;

class RandomOrders : public CSystemTest, public testing::WithParamInterface<unsigned> {
protected:
    /// What the threads of one order share.
    struct ORDER {
        LONG id = 0;
        std::mutex lock;
        std::vector<POINTERHANDLE> handles;  // lock
    };

    static void Step(ORDER& order, CReceiver& receiver, std::minstd_rand& random) {
        const auto choice = random() % 8;
        if (choice < 3) {
            const POINTERHANDLE handle = receiver.Play(order.id, random() % 4, random() % 2);
            std::lock_guard guard(order.lock);
            if (handle > 0) order.handles.push_back(handle);
        } else if (choice < 5) {
            POINTERHANDLE handle = 0;
            {
                std::lock_guard guard(order.lock);
                if (!order.handles.empty()) handle = order.handles[random() % order.handles.size()];
            }
            HLX_StopLivePlay(handle);  // maybe stopped already, maybe by two at once
        } else if (choice == 5) {
            HLX_MakeKeyFrame(order.id, random() % 4);
        } else if (choice == 6) {
            HLX_DEVICEINFO info;
            HLX_GetDeviceInfo(order.id, &info);
        } else if (random() % 4 == 0) {
            HLX_Logout(order.id);
        }
    }
};

TEST_P(RandomOrders, NeitherHangNorLeak) {
    StartRecorder(Fast(4, 20));
    for (unsigned order = 0; order < ORDERS_PER_SEED; ++order) {
        // Receivers outlive the session; a stream that a logout met on its way up ends with the cleanup at the latest.
        static auto& s_receivers = *new std::vector<std::unique_ptr<CReceiver>>;
        ORDER shared;
        shared.id = Login();
        ASSERT_GT(shared.id, 0);
        std::vector<std::thread> threads;
        for (unsigned worker = 0; worker < 3; ++worker) {
            s_receivers.push_back(std::make_unique<CReceiver>());
            threads.emplace_back([&, worker, pReceiver = s_receivers.back().get()] {
                std::minstd_rand random(GetParam() * 10007 + order * 101 + worker + 1);
                for (int step = 0; step < 4; ++step) Step(shared, *pReceiver, random);
            });
        }
        for (auto& thread : threads) thread.join();
        if (order % 5 == 4) {
            ASSERT_TRUE(HLX_Cleanup());
            ASSERT_TRUE(HLX_Init());
        } else {
            HLX_Logout(shared.id);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOrders, testing::Range(1U, 21U));

}  // namespace
