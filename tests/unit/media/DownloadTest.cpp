#include <climits>

#include "main_utility/media/DownloadMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "TestFamily.h"

namespace {

using Numbers = std::vector<LONG>;

constexpr tint64 SECOND = 1000000;
constexpr tint64 START = 1'700'000'000;  // seconds since 1970
constexpr tint64 LENGTH = 100;

/// Starts downloads as the test says and keeps what it is told.
struct CDownloadDevice : CTestDevice {
    BOOL DownLoadByTime(LONG, BOOL, const DD_TIME&, const DD_TIME&) override {
        m_bInterrupted = false;
        s_bAsked = true;
        if (s_bSilent) WaitUntil([&] { return m_bInterrupted.load(); });
        return !s_bSilent || Failure(HLX_NETWORK_NOT_CONNECT);
    }
    BOOL StopDownLoad(LONG) override { return ++s_stops > 0; }
    BOOL NotifyPlayIndex(LONG lStreamID, LONG lFrameIndex, int) override {
        EXPECT_EQ(lStreamID, HLX_BACKUP_STREAM_ID);
        Numbers told = s_told.Get();
        told.push_back(lFrameIndex);
        s_told = told;
        return s_bTakes;
    }
    void InterruptWait() override { m_bInterrupted = true; }

    std::atomic<bool> m_bInterrupted{false};
    static inline std::atomic<bool> s_bSilent{false};
    static inline std::atomic<bool> s_bAsked{false};
    static inline std::atomic<bool> s_bTakes{true};  // notices
    static inline std::atomic<int> s_stops{0};
    static inline CShared<Numbers> s_told;
};

class Download : public NetDeviceMan {
public:
    /// Outlives every thread.
    static CMovedTime& Clock() {
        static auto* s_pClock = new CMovedTime;
        return *s_pClock;
    }

protected:
    void SetUp() override {
        Clock();
        NetDeviceMan::SetUp();
        CDownloadDevice::s_bSilent = false;
        CDownloadDevice::s_stops = 0;
        CDownloadDevice::s_told = Numbers{};
        m_man.SetDeviceMaker([](const PRE_SEND_DATA&, NET_DEVICE_RES& res) {
            res.pNetDevice = std::make_unique<CDownloadDevice>();
            return true;
        });
        ASSERT_TRUE(m_download.Initial());
        m_lUserID = Login();
        ASSERT_GT(m_lUserID, 0);
    }
    void TearDown() override {
        m_download.Stop();
        m_download.Quit();
        NetDeviceMan::TearDown();
    }

    static DD_TIME Time(tint64 seconds) {
        DD_TIME time{};
        DVRTimeToDDTime(seconds * SECOND, time);
        return time;
    }
    POINTERHANDLE Begin(tint64 start = START, tint64 stop = START + LENGTH) {
        const DD_TIME startTime = Time(start);
        const DD_TIME stopTime = Time(stop);
        const POINTERHANDLE handle =
            m_download.GetFileByTime(m_lUserID, 3, &startTime, &stopTime, nullptr, 1, true, OnData, this, true);
        if (handle > 0) m_index = m_records = 0;
        return handle;
    }
    static void OnData(POINTERHANDLE, UINT dataType, BYTE* pBuffer, UINT length, void* pUser) {
        auto& test = *static_cast<Download*>(pUser);
        std::lock_guard guard(test.m_logLock);
        if (dataType == NET_DVR_BACKUP_DATA_TYPE_NULL) test.m_log += *pBuffer == NET_DVR_BACKUP_END ? "END " : "STOP ";
        if (dataType != NET_DVR_BACKUP_DATA_TYPE_DVR) return;
        SDK_FRAME_INFO head;
        std::memcpy(&head, pBuffer, sizeof(head));
        test.m_log += std::to_string(head.frameType) + (length == 20 + head.nLength ? " " : "? ");
        ++test.m_records;
    }
    std::string Log() {
        std::lock_guard guard(m_logLock);
        return m_log;
    }
    /// Has the download take a frame.
    void Push(tint64 time, DWORD frameType = DD_FRAME_TYPE_VIDEO, size_t length = 0) {
        HLX_FRAME_INFO frame{};
        const std::vector<unsigned char> data(length);
        frame.length = static_cast<DWORD>(length);
        frame.deviceID = static_cast<DWORD>(m_lUserID);
        frame.channel = 3;
        frame.frameType = frameType;
        frame.frameIndex = m_index++;
        frame.time = time;
        m_rings.PushData(HLX_BACKUP_STREAM_ID, frame, data.data());
        ASSERT_TRUE(WaitUntil([&] { return m_records == m_index; }));
    }

    CDownloadMan m_download;
    CMultiNetDataBufferMan& m_rings = *CMultiNetDataBufferMan::Instance();
    LONG m_lUserID = 0;
    unsigned m_index = 0;
    std::atomic<unsigned> m_records{0};
    std::mutex m_logLock;
    std::string m_log;  // m_logLock
};

TEST_F(Download, TellsPositionsWhateverTheTimes) {
    const struct {
        std::vector<tint64> times;  // microseconds, of video
        bool bEnd;
        int position;
    } rows[] = {{{}, false, 0},
                {{}, true, DOWNLOAD_ENDED_EARLY},
                {{START * SECOND, (START + 40) * SECOND}, false, 40},
                {{START * SECOND, (START + 40) * SECOND}, true, DOWNLOAD_ENDED_EARLY},
                {{START * SECOND, (START + LENGTH - 1) * SECOND}, false, 99},
                {{START * SECOND, (START + LENGTH - 1) * SECOND}, true, DOWNLOAD_FINISHED},
                {{START * SECOND, (START - 40) * SECOND}, false, 0},
                {{(START + LENGTH) * SECOND, (START + 300) * SECOND}, false, 0},
                {{-START * SECOND}, false, 0},
                {{1, LLONG_MAX}, false, 0},
                {{1, LLONG_MIN}, false, 0},
                // The smallest number by -1.
                {{(START + LENGTH + 1) * SECOND, (START + LENGTH + 1 + (1 << 29)) * SECOND}, false, 0}};
    for (const auto& row : rows) {
        const POINTERHANDLE handle = Begin();
        ASSERT_GT(handle, 0);
        for (const tint64 time : row.times) Push(time);
        if (row.bEnd) Push(0, DD_FRAME_TYPE_END);
        EXPECT_EQ(m_download.GetDownloadPos(handle), row.position) << &row - rows;
        EXPECT_EQ(m_download.GetDownloadPos(handle + 1), 0);
        EXPECT_EQ(LastError(), HLX_PARAMETER_ERROR);
        EXPECT_FALSE(m_download.StopGetFile(handle + 1));
        EXPECT_EQ(Begin(), -1) << "a second one";
        EXPECT_TRUE(m_download.StopGetFile(handle));
        for (const POINTERHANDLE none : {handle, POINTERHANDLE{0}, POINTERHANDLE{-1}})
            EXPECT_EQ(m_download.GetDownloadPos(none), DOWNLOAD_NONE);
    }
    EXPECT_TRUE(m_download.StopGetFile(1)) << "nothing to stop";
}

/// What was told reaches so far; moved time goes on until it does.
void AwaitTold(const Numbers& expected) {
    const auto isTold = [&] { return CDownloadDevice::s_told.Get().size() >= expected.size(); };
    WaitUntil([&] { return Download::Clock().Advance(5), isTold(); });
    EXPECT_EQ(CDownloadDevice::s_told.Get(), expected);
}

TEST_F(Download, TellsTheDeviceEachSeventhIndexAnewForEachDownload) {
    Clock().SetRate(0);
    m_download.SetNextHandle(65534);
    for (const POINTERHANDLE expected : {65534, 65535, 1}) {
        CDownloadDevice::s_told = Numbers{};
        ASSERT_EQ(Begin(), expected);
        while (m_index < 23) Push(START * SECOND);
        EXPECT_EQ(CDownloadDevice::s_told.Get(), (Numbers{7, 14, 21}));
        AwaitTold({7, 14, 21, 22});  // no more comes
        Push(START * SECOND, DD_FRAME_TYPE_VIDEO, 600000);
        AwaitTold({7, 14, 21, 22, 23});
        CDownloadDevice::s_bTakes = false;
        Push(START * SECOND);
        AwaitTold({7, 14, 21, 22, 23, 24, 24});
        CDownloadDevice::s_bTakes = true;
        m_download.StopGetFile(expected);
    }
    Clock().SetRate(1);
    EXPECT_EQ(Begin(START + 1, START), -1);
    EXPECT_EQ(LastError(), HLX_PARAMETER_ERROR);
}

TEST_F(Download, WaitsForTheLastFramesUntilStopped) {
    for (const bool bStopped : {false, true}) {
        m_log.clear();
        const POINTERHANDLE handle = Begin();
        Push(START * SECOND);
        Push((START + LENGTH) * SECOND);
        std::atomic<int> position{-1};
        std::thread poller([&] { position = m_download.GetDownloadPos(handle); });
        EXPECT_FALSE(WaitUntil([&] { return position != -1; }, std::chrono::milliseconds(30)));
        Push((START + LENGTH) * SECOND);
        if (bStopped) {
            EXPECT_TRUE(m_download.StopGetFile(handle));
        } else {
            Clock().Advance(5000);
        }
        poller.join();
        EXPECT_EQ(position, DOWNLOAD_FINISHED);
        EXPECT_EQ(Log(), "1 1 1 STOP ");
    }
    EXPECT_EQ(CDownloadDevice::s_stops, 2);
}

TEST_F(Download, EndsWithItsLink) {
    for (const bool bBack : {false, true}) {
        const POINTERHANDLE handle = Begin();
        Push(START * SECOND);
        EXPECT_EQ(m_download.GetDownloadPos(handle), 0);
        const auto session = std::const_pointer_cast<NET_DEVICE_RES>(m_man.GetDeviceResByUserID(m_lUserID));
        if (bBack) {
            ++session->linkSerial;
        } else {
            session->pNetDevice->OnReceiveData(nullptr, -1);
        }
        EXPECT_EQ(m_download.GetDownloadPos(handle), DOWNLOAD_OFFLINE);
        EXPECT_EQ(LastError(), HLX_NETWORK_FAIL_CONNECT);
        EXPECT_EQ(m_download.GetDownloadPos(handle), DOWNLOAD_NONE);
        CTestDevice::s_login = nullptr;
        m_lUserID = Login();
    }
}

TEST_F(Download, StartEndsWithTheSession) {
    CDownloadDevice::s_bSilent = true;
    CDownloadDevice::s_bAsked = false;
    std::thread starter([&] { EXPECT_EQ(Begin(), -1); });
    ASSERT_TRUE(WaitUntil([] { return CDownloadDevice::s_bAsked.load(); }));
    EXPECT_EQ(Begin(), -1) << "a second one";
    m_download.RemoveDevice(m_lUserID);
    starter.join();
    EXPECT_EQ(m_log, "") << "told of a download that never ran";
    CDownloadDevice::s_bSilent = false;
    EXPECT_GT(Begin(), 0);
    m_download.RemoveDevice(m_lUserID);
    EXPECT_EQ(m_log, "STOP ");
}

}  // namespace
