#include <thread>

#include "EngineFixture.h"

using SendOrder = EngineFixture;

TEST_F(SendOrder, QueuedBytesStayOutOfABlockingSend) {
    const std::string queued = Noise(1000, 2), message = Noise(1000000, 3);
    for (int link = 1; link <= 5; ++link) {
        const int peer = AddManual(link);
        std::string filled, got;
        while (m_engine.SendBuff(link, "f", 1, false, 0) == 1) filled += 'f';
        EXPECT_EQ(m_engine.SendData(link, queued.data(), 1000, false, false), 0);
        std::atomic<bool> bStarted{false};
        std::thread sender([&] {
            bStarted = true;
            EXPECT_EQ(m_engine.SendDataSync(link, message.data(), 1000000, true), 1000000);
        });
        EXPECT_TRUE(WaitUntil([&] { return bStarted.load(); }));
        for (size_t left = filled.size() + 1001008; left > 0; left = filled.size() + 1001008 - got.size())
            got += Read(peer, std::min<size_t>(left, 10000));
        sender.join();
        EXPECT_TRUE(got == filled + message + Framed(queued) || got == filled + Framed(queued) + message) << link;
    }
}
