// A recorder at the other end of a link that exists in memory only: it keeps what the device sends, and answers by script.
#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "main_utility/device/classic/DVRNetDevice_V3.h"

using Bytes = std::string;

/// `value` in little-endian order, which is that of every machine that this runs on.
inline Bytes Number(tuint64 value, size_t width) { return {reinterpret_cast<const char*>(&value), width}; }
inline Bytes Word(tuint64 value) { return Number(value, 4); }
inline Bytes Mask(tuint64 value) { return Number(value, 8); }

/// The number of `width` bytes at `offset`.
inline tuint64 NumberAt(const Bytes& bytes, size_t offset, size_t width = 4) {
    tuint64 value = 0;
    std::memcpy(&value, bytes.substr(offset, width).data(), width);
    return value;
}

inline Bytes Message(tuint32 cmdType, const Bytes& body = {}) {
    return Word(cmdType) + Word(0) + Word(4) + Word(body.size()) + body;
}

/// A stream frame as the recorder sends it; `length` is told as the bytes of data unless set.
struct TEST_FRAME {
    tuint32 type = 1, channel = 0, attrib = 0x20, streamID = 0;
    Bytes data = "data";
    long long length = -1;
    tuint32 index = 7;
    tuint64 time = 1'700'000'000'123'456;

    Bytes Message() const {
        const Bytes body = Word(1) + Word(type) + Word(length < 0 ? data.size() : static_cast<tuint64>(length)) +
                           Word(704) + Word(576) + Word(0) + Word(channel) + Word(0) + Word(index) + Word(attrib) +
                           Word(streamID) + Mask(time) + Mask(5'000'000) + data;
        return ::Message(0xA000001, body);
    }
};

/// Body of the reply that lets a user in: 348 bytes, everything that matters at its place.
inline Bytes LoginSuccess(tuint32 videoInputNum = 70, tuint32 sensorInputNum = 64) {
    Bytes body(348, 0);
    body.replace(52 + 28, 2, Number(videoInputNum, 2));
    body.replace(52 + 2, 1, Number(sensorInputNum, 1));
    return body;
}

class CTestRecorder : public CSWL_MultiNet {
public:
    static constexpr int USER_ID = 7;

    CTestRecorder() {
        m_device.SetNetHandle(this);
        m_device.SetDeviceID(USER_ID);
        m_answers[0x101] = Message(0x10001, LoginSuccess());
        m_answers[0x801] = Message(0x80001, Word(0));
        m_answers[0x50C] = Message(0x50003, Word(0));
    }

    int SendData(int deviceID, const void* pBuf, int iLen, bool bBlock, bool bRawData) override {
        const Bytes request(static_cast<const char*>(pBuf), static_cast<size_t>(iLen));
        const auto command = static_cast<tuint32>(NumberAt(request, 0));
        // Goodbyes, talk sound, its end and what steers a stream of recordings wait for no room.
        const bool bAtOnce = command == 0x102 || command == 0xB02 || command == 0xB03 ||
                             (command >= 0x503 && command <= 0x507) || command == 0x50B || command == 0x50D;
        if (deviceID != USER_ID || bBlock == bAtOnce || bRawData) return -2;
        {
            std::lock_guard guard(m_lock);
            m_sent.push_back(request);
        }
        if (m_onSend) m_onSend(command);
        if (m_bSendFails) return -1;
        if (command == 0x502 && m_streamAnswer) Receive(m_streamAnswer(Word(NumberAt(request, 16))));
        if (m_answers.contains(command)) Receive(m_answers[command]);
        return 0;
    }

    /// A message of the recorder reaches the device. The copy has exactly its size, so that a read behind it is seen by the sanitizer.
    void Receive(const Bytes& message) {
        const std::vector<char> exact(message.begin(), message.end());
        std::lock_guard guard(m_callbackLock);
        m_device.OnReceiveData(exact.data(), static_cast<int>(exact.size()));
    }
    void Receive(const TEST_FRAME& frame) { Receive(frame.Message()); }
    void BreakLink() {
        std::lock_guard guard(m_callbackLock);
        m_device.OnReceiveData(nullptr, -1);
    }

    bool Login(const char* pUser = "admin", const char* pPassword = "secret") {
        return m_device.Login(const_cast<char*>(pUser), const_cast<char*>(pPassword), &m_info);
    }
    /// Lets the device in and forgets what was sent for it.
    bool LoggedIn() {
        const bool bDone = Login();
        m_sent.clear();
        return bDone;
    }
    size_t SentCount() {
        std::lock_guard guard(m_lock);
        return m_sent.size();
    }

    struct CDevice : CDVRNetDevice_V3 {
        using CDVRNetDevice_V3::m_talkFrames;
    };

    std::map<tuint32, Bytes> m_answers;     // whole messages by the request's id; none: silence
    std::function<void(tuint32)> m_onSend;  // before the answer
    /// Answer to the start of a stream by the bytes of its number.
    std::function<Bytes(const Bytes&)> m_streamAnswer = [](const Bytes& number) {
        return ::Message(0x50001, number + Word(6) + Word(0) + Word(0));
    };
    bool m_bSendFails = false;
    std::vector<Bytes> m_sent;  // guarded by m_lock while another thread sends
    HLX_DEVICEINFO m_info = {};
    CDevice m_device;

private:
    std::mutex m_lock;
    std::recursive_mutex m_callbackLock;  // messages reach the device one at a time
};

inline DWORD LastError() { return CThreadState::Instance()->GetLastError(); }
inline bool FailedWith(DWORD error, bool bDone) { return !bDone && LastError() == error; }

/// A frame as it lies in a ring, its data padded to 4.
using RING_FRAME = std::pair<HLX_FRAME_INFO, Bytes>;

/// A ring of the process, taken away at the end.
class CTestRing {
public:
    explicit CTestRing(unsigned int id, int size = 1 << 20) : m_id(id) {
        CMultiNetDataBufferMan::Instance()->AddBuffer(id, size, false);
    }
    ~CTestRing() { CMultiNetDataBufferMan::Instance()->RemoveBuffer(m_id); }
    CTestRing(const CTestRing&) = delete;

    std::vector<RING_FRAME> Drain() {
        std::vector<RING_FRAME> frames;
        unsigned char* pRun = nullptr;
        int length = 0;
        while (CMultiNetDataBufferMan::Instance()->GetDataBuffer(m_id, pRun, length)) {
            for (int at = 0; at < length;) {
                HLX_FRAME_INFO info;
                std::memcpy(&info, pRun + at, sizeof(info));
                const char* pData = reinterpret_cast<const char*>(pRun) + at + sizeof(info);
                frames.emplace_back(info, Bytes(pData, info.length));
                at += static_cast<int>(sizeof(info) + info.length);
            }
            CMultiNetDataBufferMan::Instance()->ReleaseDataBuffer(m_id, pRun, length);
        }
        return frames;
    }

private:
    unsigned int m_id;
};
