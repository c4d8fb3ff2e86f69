#include "EngineFixture.h"

using MultiNetReceive = EngineFixture;

TEST_F(MultiNetReceive, ServesEveryLinkWhileOneHasMuchToSay) {
    const int loud = AddAutomatic(1), quiet = AddAutomatic(2);
    std::atomic<bool> bQuietHeard{false};
    m_receiver.m_onMessage = [&](int deviceID, const std::string&) { bQuietHeard = bQuietHeard || deviceID == 2; };
    std::atomic<bool> bStop{false};
    std::thread talker([&] {
        const std::string frame = Framed(Noise(30000));
        while (!bStop) send(loud, frame.data(), frame.size(), MSG_NOSIGNAL);
    });
    Write(quiet, Framed("me too"));
    EXPECT_TRUE(WaitUntil([&] { return bQuietHeard.load(); }));
    bStop = true;
    m_engine.RemoveComm(1);  // ends a send that still waits
    talker.join();
}

TEST_F(MultiNetReceive, ManualModeReadsTheBareStream) {
    const int peer = AddManual();
    char bytes[64] = {};
    EXPECT_EQ(m_engine.RecvData(LINK, bytes, 5, false, 5), 0) << "nothing has come, and it need not wait";
    Write(peer, "wor");
    std::thread later([&] { Write(peer, "ld"); });
    EXPECT_EQ(m_engine.RecvBuff(LINK, bytes, 5, false, 5), 5) << "begun, so it goes on";
    later.join();
    EXPECT_STREQ(bytes, "world");
    EXPECT_EQ(m_engine.RecvData(99, bytes, 5, true, 5), -2);
    EXPECT_EQ(m_engine.RecvBuff(99, bytes, 5, true, 5), -2);
    EXPECT_EQ(m_engine.RecvData(LINK, bytes, -1, true, 5), -1);
    shutdown(peer, SHUT_RDWR);
    EXPECT_EQ(m_engine.RecvData(LINK, bytes, 64, true, 5), -1) << "the peer has closed";
}

TEST_F(MultiNetReceive, BytesReadAheadComeFirstInManualModeAndAgainInAutomaticMode) {
    const int peer = AddManual();
    char raw[8] = {};
    int taken = -1;
    m_receiver.m_onMessage = [&](int, const std::string& message) {
        if (message != "to manual") return;
        m_engine.SetRecvMode(LINK, false);
        taken = m_engine.RecvData(LINK, raw, 3, false, 0);
    };
    // All in one piece, so that the engine has read the rest when the first message is handed on.
    Write(peer, Framed("to manual") + "bare rest" + Framed("later"));
    MakeAutomatic();
    ASSERT_TRUE(m_receiver.AwaitMessages(1));
    EXPECT_EQ(taken, 3);
    Write(AddAutomatic(LINK + 1), Framed(Noise(200, 9)));  // goes through the same memory of the engine
    ASSERT_TRUE(m_receiver.AwaitMessages(2));
    EXPECT_EQ(m_engine.RecvData(LINK, raw + 3, 4, true, 5), 4);
    EXPECT_STREQ(raw, "bare re");
    EXPECT_EQ(m_engine.RecvData(LINK, raw, 2, true, 5), 2);
    EXPECT_EQ(m_engine.SetRecvMode(LINK, true), 0);
    ASSERT_TRUE(m_receiver.AwaitMessages(3)) << "nothing more arrives at the socket";
    EXPECT_EQ(m_receiver.Messages().back(), "later");
}

TEST_F(MultiNetReceive, ClosedAndSenselessLinksAreReported) {
    struct {
        const char* pName;
        std::string bytes;
        size_t messages;
        bool bClose;
    } const rows[] = {
        {"closed at once", "", 0, true},
        {"closed in a head", "1111\5", 0, true},
        {"closed in a message", Framed("whole") + Framed("cut short").substr(0, 11), 1, true},
        {"packed length negative", Framed("whole") + PackedFrame("x", -5) + Framed("lost"), 1, false},
    };
    int deviceID = 100;
    for (const auto& [pName, bytes, messages, bClose] : rows) {
        CReceiver receiver;
        const int peer = AddManual(++deviceID);
        m_engine.SetRecvMode(deviceID, true);
        m_engine.SetAutoRecvCallback(deviceID, CReceiver::OnData, &receiver);
        Write(peer, bytes);
        if (bClose) shutdown(peer, SHUT_RDWR);
        EXPECT_TRUE(receiver.AwaitBroken()) << pName;
        EXPECT_EQ(receiver.Messages().size(), messages) << pName;
        EXPECT_EQ(m_engine.SendData(deviceID, "x", 1, true, false), -1) << pName;
        EXPECT_EQ(m_engine.SendDataSync(deviceID, "x", 1, true), -1) << pName;
        CReceiver second;
        m_engine.SetAutoRecvCallback(deviceID, CReceiver::OnData, &second);
        EXPECT_TRUE(second.AwaitBroken()) << pName << ": told to one who asks later";
        m_engine.RemoveComm(deviceID);
    }
}

TEST_F(MultiNetReceive, RemovalInTheCallbackEndsTheLinkBehindTheMessage) {
    const int peer = AddManual();
    m_receiver.m_onMessage = [&](int deviceID, const std::string&) { m_engine.RemoveComm(deviceID); };
    Write(peer, Framed("first") + Framed("second"));
    MakeAutomatic();
    EXPECT_EQ(Read(peer, 1), "") << "the socket is closed";
    EXPECT_EQ(m_receiver.Messages(), std::vector<std::string>{"first"});
    EXPECT_EQ(m_receiver.BrokenCount(), 0u);
}

TEST_F(MultiNetReceive, BufferOutlivesARemovalFromAnotherThread) {
    const std::string big = Noise(500000);
    const int peer = AddManual();
    std::string seenAfter;
    std::atomic<bool> bInside{false}, bRemoved{false};
    const auto onData = [](int, void* pParam, const char* pBuf, int iLen) {
        (*static_cast<std::function<void(const char*, int)>*>(pParam))(pBuf, iLen);
        return 0;
    };
    std::function<void(const char*, int)> handler = [&](const char* pBuf, int iLen) {
        bInside = true;
        EXPECT_TRUE(WaitUntil([&] { return bRemoved.load(); }));
        seenAfter.assign(pBuf, iLen);
    };
    m_engine.SetAutoRecvCallback(LINK, onData, &handler);
    m_engine.SetRecvMode(LINK, true);
    Write(peer, Framed(big));
    ASSERT_TRUE(WaitUntil([&] { return bInside.load(); }));
    m_engine.RemoveAllConnect();
    EXPECT_EQ(Read(peer, 1), "") << "closed although the callback still runs";
    bRemoved = true;
    m_engine.Destroy();
    EXPECT_EQ(seenAfter, big);
}

TEST_F(MultiNetReceive, AnIdHasOneLinkAndCanBeUsedAgainAtOnce) {
    const int old = AddAutomatic(), another = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(m_engine.AddNewComm(LINK, SWL_socket_t{another}), -1);
    EXPECT_EQ(close(another), 0) << "it still belongs to the caller";
    EXPECT_EQ(m_engine.RemoveComm(LINK), 0);
    const int fresh = AddAutomatic();
    EXPECT_EQ(m_engine.SendData(LINK, "new", 3, false, true), 0);
    EXPECT_EQ(Read(fresh, 3), "new");
    EXPECT_EQ(Read(old, 1), "");
    Write(fresh, Framed("answer"));
    EXPECT_TRUE(m_receiver.AwaitMessages(1));
    EXPECT_EQ(m_engine.AddNewComm(12345, SWL_socket_t{-1}), -1);
    EXPECT_EQ(m_engine.SetAutoRecvCallback(12345, CReceiver::OnData, &m_receiver), -1);
}

TEST_F(MultiNetReceive, RandomComingAndGoingFromManyThreads) {
    constexpr int LINKS = 4;
    std::atomic<bool> bStop{false};
    m_receiver.m_onMessage = [&](int deviceID, const std::string& message) {
        m_engine.SendData(deviceID, message.data(), static_cast<int>(message.size()), false, false);
        if (message.size() % 16 == 3) m_engine.RemoveComm(deviceID);
    };
    std::vector<std::thread> threads;
    for (int deviceID = 0; deviceID < LINKS; ++deviceID) {
        threads.emplace_back([&, deviceID] {
            std::mt19937 random(deviceID);
            while (!bStop) {
                int pair[2];
                if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair) != 0) continue;
                m_engine.AddNewComm(deviceID, SWL_socket_t{pair[0]});
                m_engine.SetRecvMode(deviceID, true);
                m_engine.SetAutoRecvCallback(deviceID, CReceiver::OnData, &m_receiver);
                for (int i = 0; i < 8; ++i) {
                    const std::string frame = Framed(Noise(random() % 3000));
                    (void)!send(pair[1], frame.data(), frame.size(), MSG_NOSIGNAL);
                    m_engine.SendDataSync(deviceID, "raw", 3, false);
                }
                if (random() % 2) m_engine.RemoveComm(deviceID);
                close(pair[1]);
                m_engine.RemoveComm(deviceID);
            }
        });
    }
    EXPECT_TRUE(m_receiver.AwaitMessages(300));
    m_engine.RemoveAllConnect();
    bStop = true;
    for (std::thread& thread : threads) thread.join();
}
