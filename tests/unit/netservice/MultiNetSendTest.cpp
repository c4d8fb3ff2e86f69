#include "EngineFixture.h"
#include "support/MovedTime.h"

using MultiNetSend = EngineFixture;

namespace {

/// Makes the socket's own buffer small and fills it, so that nothing more goes out until the peer reads. The count of bytes.
size_t FillSocket(CSWL_MultiNetComm& engine, int deviceID) {
    size_t filled = 0;
    const std::string bytes(1000, 'f');
    for (int sent = 1; sent > 0; filled += static_cast<size_t>(sent)) {
        sent = engine.SendBuff(deviceID, bytes.data(), 1000, false, 0);
        if (sent < 0) return 0;
    }
    return filled;
}

}  // namespace

TEST_F(MultiNetSend, LargeMessageRaisesTheLimit) {
    const int peer = AddManual();
    m_engine.SetBufferMaxLen(LINK, 100);
    for (const int length : {2000, 50000}) {  // within the pool and beyond it
        const std::string message = Noise(length);
        EXPECT_EQ(m_engine.SendData(LINK, message.data(), length, true, false), 0);
        EXPECT_TRUE(Read(peer, message.size() + 8) == Framed(message));
    }
    EXPECT_EQ(m_engine.SendData(LINK, "x", INT_MAX, true, false), -1) << "the sum with its head would overflow";
}

TEST_F(MultiNetSend, FullBufferRefusesAtOnceOrWaitsForRoom) {
    CMovedTime time;
    const int peer = AddManual();
    const size_t inSocket = FillSocket(m_engine, LINK);
    ASSERT_GT(inSocket, 0u);
    const std::string message = Noise(3000);
    EXPECT_EQ(m_engine.SendData(LINK, message.data(), 3000, false, false), 0);
    EXPECT_EQ(m_engine.SendData(LINK, message.data(), 3000, false, false), -1);
    time.SetRate(200);
    EXPECT_EQ(m_engine.SendData(LINK, message.data(), 3000, true, false), -1) << "given up after 15 s";
    time.SetRate(1);
    std::thread reader([&] { EXPECT_EQ(Read(peer, inSocket + 6016).size(), inSocket + 6016); });
    EXPECT_EQ(m_engine.SendData(LINK, message.data(), 3000, true, false), 0);
    reader.join();
    m_engine.Destroy();  // before the clock goes
}

// One row: what ends the wait of a sender or reader for whom there is no room or no byte.
TEST_F(MultiNetSend, WaitsEndWithTheLink) {
    const std::string message = Noise(4000);
    enum { REMOVED, BROKEN, DESTROYED };
    for (const int how : {REMOVED, BROKEN, DESTROYED}) {
        const int full = AddManual(1 + 10 * how), silent = AddManual(2 + 10 * how);
        FillSocket(m_engine, 1 + 10 * how);
        EXPECT_EQ(m_engine.SendData(1 + 10 * how, message.data(), 4000, false, false), 0);
        std::atomic<int> ended{0};
        std::vector<std::thread> waiters;
        const auto wait = [&](std::function<int()> call) {
            waiters.emplace_back([&ended, call] {
                EXPECT_LT(call(), 0);
                ++ended;
            });
        };
        wait([&] { return m_engine.SendData(1 + 10 * how, message.data(), 4000, true, false); });
        wait([&] { return m_engine.SendDataSync(1 + 10 * how, message.data(), 4000, true); });
        wait([&] {
            char byte;
            return m_engine.RecvData(2 + 10 * how, &byte, 1, true, 3600);
        });
        // None of them has a lock that others need.
        EXPECT_EQ(m_engine.SendData(2 + 10 * how, "x", 1, false, true), 0);
        EXPECT_EQ(Read(silent, 1), "x");
        if (how == REMOVED) m_engine.RemoveComm(1 + 10 * how), m_engine.RemoveComm(2 + 10 * how);
        if (how == BROKEN) shutdown(full, SHUT_RDWR), shutdown(silent, SHUT_RDWR);
        if (how == DESTROYED) m_engine.Destroy();
        EXPECT_TRUE(WaitUntil([&] { return ended == 3; }, std::chrono::seconds(5))) << how;
        for (std::thread& waiter : waiters) waiter.join();
    }
}

/// The engine's thread finds no room while it alone could make some: it writes the queue out itself, for any link.
TEST_F(MultiNetSend, TheEnginesOwnThreadMaySendAndWait) {
    constexpr int OTHER = 8, ROUNDS = 20;
    const int peer = AddManual(), other = AddManual(OTHER);
    const std::string message = Noise(3000);
    m_receiver.m_onMessage = [&](int, const std::string&) {
        for (int i = 0; i < ROUNDS; ++i) {
            EXPECT_EQ(m_engine.SendData(LINK, message.data(), 3000, true, true), 0);
            EXPECT_EQ(m_engine.SendData(OTHER, message.data(), 3000, true, true), 0);
        }
        EXPECT_EQ(m_engine.SendDataSync(LINK, "sync", 4, true), 4);
    };
    MakeAutomatic();
    Write(peer, Framed("go"));
    std::string expected;
    for (int i = 0; i < ROUNDS; ++i) expected += message;
    EXPECT_EQ(Read(other, expected.size()), expected);
    // What is sent past the queue comes before what waits in it, but never into the middle of a message.
    std::string got = Read(peer, expected.size() + 4);
    const size_t at = got.find("sync");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(at % message.size(), 0u);
    EXPECT_EQ(got.erase(at, 4), expected);
    EXPECT_EQ(m_receiver.BrokenCount(), 0u);
}

/// One who removes a link wakes an engine that another is ending.
TEST_F(MultiNetSend, RemovalBesideTheEndOfTheEngine) {
    const int descriptors = OpenDescriptorCount();
    for (int i = 0; i < 60; ++i) {
        CSWL_MultiNetComm engine;
        ASSERT_TRUE(engine.Init(SEND_BUFFER));
        int pair[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
        ASSERT_EQ(engine.AddNewComm(LINK, SWL_socket_t{pair[0]}), 0);
        std::thread remover([&] { EXPECT_EQ(engine.RemoveComm(LINK), 0); });
        engine.Destroy();
        remover.join();
        EXPECT_EQ(Read(pair[1], 1), "") << "closed by one of the two";
        close(pair[1]);
    }
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
}

TEST_F(MultiNetSend, NothingComesBetweenThePartsOfAMessage) {
    const int peer = AddManual();
    // A queued message is cut by the full socket; one sent past the queue must come behind its end.
    const std::string queued = Noise(400000), other(100, 'o');
    EXPECT_EQ(m_engine.SendData(LINK, queued.data(), 400000, false, false), 0);
    EXPECT_EQ(m_engine.SendData(LINK, other.data(), 100, true, false), 0);
    std::string got;
    for (int sent = 0; sent == 0;) {
        got += Read(peer, 10000);
        sent = m_engine.SendDataSync(LINK, "SYNC", 4, false);
        ASSERT_TRUE(sent == 0 || sent == 4);
    }
    got += Read(peer, 8 + 400000 + 8 + 100 + 4 - got.size());
    EXPECT_TRUE(got == Framed(queued) + "SYNC" + Framed(other) || got == Framed(queued) + Framed(other) + "SYNC");
}

TEST_F(MultiNetSend, QueuedBytesGetATryBeforeTheClose) {
    for (int i = 0; i < 50; ++i) {
        const int peer = AddManual();
        EXPECT_EQ(m_engine.SendData(LINK, "logout", 6, false, false), 0);
        EXPECT_EQ(m_engine.RemoveComm(LINK), 0);
        EXPECT_EQ(Read(peer, 20), Framed("logout"));
    }
}

TEST_F(MultiNetSend, QueuedBytesStayOutOfABlockingSend) {
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
