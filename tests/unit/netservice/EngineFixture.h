// An engine with links over socket pairs, of which the test plays the other ends.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "netservice/MultiNetComm.h"
#include "support/Test.h"

/// A link frame around `payload`.
inline std::string Framed(const std::string& payload) {
    const tint32 length = static_cast<tint32>(payload.size());
    std::string frame = "1111";
    frame.append(reinterpret_cast<const char*>(&length), sizeof(length));
    return frame + payload;
}

/// Head and body of a packed message, as they stand on the wire behind the length; `dwLen` says `claimed`.
inline std::string PackedBody(const std::string& body, tint32 claimed) {
    PACKED_HEAD head{1, 2, 3, 4, claimed, 6};
    return std::string(reinterpret_cast<const char*>(&head), sizeof(head)) + body;
}
inline std::string PackedFrame(const std::string& body, tint32 claimed) {
    return std::string("1111\xff\xff\xff\xff") + PackedBody(body, claimed);
}
inline std::string PackedFrame(const std::string& body) { return PackedFrame(body, static_cast<tint32>(body.size())); }

/// Bytes without a pattern that a shifted copy would repeat.
inline std::string Noise(size_t size, unsigned seed = 1) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    return bytes;
}

/// Collects what an engine tells about links.
class CReceiver {
public:
    static int OnData(int deviceID, void* pParam, const char* pBuf, int iLen) {
        auto& self = *static_cast<CReceiver*>(pParam);
        const std::string message = pBuf ? std::string(pBuf, iLen) : std::string();
        if (self.m_onMessage && pBuf) self.m_onMessage(deviceID, message);
        const std::scoped_lock guard(self.m_lock);
        if (pBuf) {
            self.m_messages.push_back(message);
        } else {
            EXPECT_EQ(iLen, -1);
            self.m_broken.push_back(deviceID);
        }
        return 0;
    }

    std::vector<std::string> Messages() {
        const std::scoped_lock guard(m_lock);
        return m_messages;
    }
    size_t BrokenCount() {
        const std::scoped_lock guard(m_lock);
        return m_broken.size();
    }
    bool AwaitMessages(size_t count) {
        return WaitUntil([&] { return Messages().size() >= count; });
    }
    bool AwaitBroken() {
        return WaitUntil([&] { return BrokenCount() > 0; });
    }

    std::function<void(int, const std::string&)>
        m_onMessage;  // on the engine's thread; set before the link is automatic

private:
    std::mutex m_lock;
    std::vector<std::string> m_messages;
    std::vector<int> m_broken;
};

class EngineFixture : public testing::Test {
protected:
    static constexpr int SEND_BUFFER = 4096, LINK = 7;

    void SetUp() override { ASSERT_TRUE(m_engine.Init(SEND_BUFFER)); }
    void TearDown() override {
        m_engine.Destroy();
        for (const int peer : m_peers) close(peer);
    }

    /// A link in manual mode; the peer's end.
    int AddManual(int deviceID = LINK) {
        int pair[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
        EXPECT_EQ(m_engine.AddNewComm(deviceID, SWL_socket_t{pair[0]}), 0);
        m_peers.push_back(pair[1]);
        return pair[1];
    }
    /// A link whose messages go to m_receiver.
    int AddAutomatic(int deviceID = LINK) {
        const int peer = AddManual(deviceID);
        MakeAutomatic(deviceID);
        return peer;
    }
    void MakeAutomatic(int deviceID = LINK) {
        EXPECT_EQ(m_engine.SetRecvMode(deviceID, true), 0);
        EXPECT_EQ(m_engine.SetAutoRecvCallback(deviceID, CReceiver::OnData, &m_receiver), 0);
    }

    static void Write(int peer, const std::string& bytes) {
        for (size_t done = 0; done < bytes.size();) {
            const ssize_t count = send(peer, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            ASSERT_GT(count, 0);
            done += static_cast<size_t>(count);
        }
    }
    /// Exactly `size` bytes, or what came before the end or ten seconds without any.
    static std::string Read(int peer, size_t size) {
        std::string bytes(size, '\0');
        size_t done = 0;
        for (pollfd watched{peer, POLLIN, 0}; done < size && poll(&watched, 1, 10000) > 0;) {
            const ssize_t count = recv(peer, bytes.data() + done, size - done, 0);
            if (count <= 0) break;
            done += static_cast<size_t>(count);
        }
        bytes.resize(done);
        return bytes;
    }
    /// What waits right now.
    static std::string ReadWaiting(int peer) {
        std::string bytes(1 << 20, '\0');
        const ssize_t count = recv(peer, bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }

    CReceiver m_receiver;
    CSWL_MultiNetComm m_engine;
    std::vector<int> m_peers;
};
