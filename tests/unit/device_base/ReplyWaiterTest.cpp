// Replies of several messages: what comes to the one that asked, in which order, and when it stops waiting.
#include "device_base/ReplyWaiter.h"

#include "support/MovedTime.h"
#include "support/Test.h"

namespace {

constexpr tuint32 INFO = 0x100, OTHER = 0x102;
constexpr tuint32 ACCEPTED[] = {INFO};

class ReplyWaiterTest : public testing::Test {
protected:
    ReplyWaiterTest() {
        m_clock.SetRate(0);
        m_waiter.Open();
    }
    void Reply(char first, size_t length = 1, tuint32 cmdType = INFO) {
        std::vector<std::byte> body(length);
        body[0] = static_cast<std::byte>(first);
        m_waiter.OnReply(cmdType, body);
    }
    /// Asks while `recorder` answers on a thread of its own. What was taken is in m_taken: 'n' not mine, 'd' the last.
    HLX_ERROR Ask(const std::function<void()>& recorder) {
        m_bEnd = false;
        std::thread engine;
        const HLX_ERROR error = m_waiter.AskEach(
            [&] {
                engine = std::thread(recorder);
                return HLX_SUCCESS;
            },
            ACCEPTED, [this](REPLY_CMD_DATA& reply) { return Take(static_cast<char>(reply.cmdParam.at(0))); });
        m_bEnd = true;
        engine.join();
        return error;
    }
    REPLY_VERDICT Take(char first) {
        m_taken += first;
        while (first == 'w' && !m_bEnd) std::this_thread::yield();
        return first == 'n' ? REPLY_NOT_MINE : first == 'd' ? REPLY_DONE : REPLY_MORE;
    }

    CMovedTime m_clock;
    CReplyWaiter m_waiter;
    std::string m_taken;
    std::atomic<bool> m_bEnd{false};
};

/// 300 MB in messages of 64 KiB, faster than they are looked at, between what belongs to others.
TEST_F(ReplyWaiterTest, LongResultComesWholeAndInOrder) {
    std::string sent;
    EXPECT_EQ(HLX_SUCCESS, Ask([&] {
                  for (size_t i = 0; i < 4800; ++i) {
                      sent += i == 4799 ? 'd' : i % 7 == 3 ? 'n' : static_cast<char>('0' + i % 10);
                      Reply('x', 1, OTHER);
                      Reply(sent.back(), 65536);
                  }
              }));
    EXPECT_EQ(m_taken, sent);
}

/// One that does not take what comes loses no more than its own request, and holds the engine up once.
TEST_F(ReplyWaiterTest, FloodThatNobodyTakesIsBounded) {
    m_clock.SetRate(1);
    EXPECT_EQ(HLX_NETWORK_ERRORDATA, Ask([&] {
                  const tint64 begin = m_clock.MonotonicMicroseconds();
                  for (int i = 0; i < 200; ++i) Reply('w', 1 << 20);
                  EXPECT_GE(m_clock.MonotonicMicroseconds() - begin, 250'000);
                  m_bEnd = true;
              }));
    EXPECT_LE(m_taken.size(), 17u);  // 16 MiB and the one being taken
}

TEST_F(ReplyWaiterTest, WaitsAreBounded) {
    for (const auto& [kind, milliseconds] : {std::pair{'n', 10'000}, std::pair{'m', 60'000}}) {
        const tint64 begin = m_clock.MonotonicMicroseconds();
        EXPECT_EQ(HLX_NETWORK_RECV_TIMEOUT, Ask([&, kind = kind] {
                      for (; !m_bEnd; std::this_thread::yield()) {
                          m_clock.Advance(10);
                          Reply(kind);
                      }
                  }));
        EXPECT_GE(m_clock.MonotonicMicroseconds() - begin, milliseconds * 1000);
    }
}

TEST_F(ReplyWaiterTest, EndsBetweenTwoMessages) {
    EXPECT_EQ(HLX_NETWORK_NOT_CONNECT, Ask([&] { Reply('m'), m_waiter.Interrupt(); }));
    EXPECT_EQ(HLX_SUCCESS, Ask([&] { Reply('m'), Reply('d'), m_waiter.Break(); }));
    EXPECT_EQ(m_taken, "mmd");
}

}  // namespace
