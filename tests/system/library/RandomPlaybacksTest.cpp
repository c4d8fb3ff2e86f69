// Starts, controls, seeks, stops and logouts of playbacks and downloads in random orders, from several threads and from
// inside callbacks, while frames pour. HLX_TEST_ROUNDS sets the number of orders.
#include <algorithm>
#include <random>
#include <thread>

#include "Recorded.h"

namespace {

class RandomPlaybacks : public CRecordedTest {
protected:
    using Random = std::minstd_rand;
    using CLOCK = std::chrono::steady_clock;

    /// A playback or a download. Lives until the library's end, so that a callback that comes too late finds it.
    struct STREAM {
        RandomPlaybacks* pTest = nullptr;
        bool bDownload = false;
        LONG lUserID = 0;
        std::atomic<POINTERHANDLE> lHandle{0};
        std::atomic<bool> bStopped{false};  // a stop has returned: no callback runs or comes
    };

    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO, BYTE*, void* pUser) { Called(*static_cast<STREAM*>(pUser)); }
    static void OnData(POINTERHANDLE, UINT, BYTE*, UINT, void* pUser) { Called(*static_cast<STREAM*>(pUser)); }
    static void Called(STREAM& stream) {
        RandomPlaybacks& test = *stream.pTest;
        test.m_late += stream.bStopped;
        const int frame = ++test.m_frames;
        if (frame % 16 == 0) test.ActInCallback(stream, frame / 16);
        test.m_late += stream.bStopped;
    }
    void ActInCallback(STREAM& stream, int choice) {
        DD_TIME time{};
        if (choice % 4 == 0) HLX_GetPlayBackOsdTime(stream.lHandle, &time);
        if (choice % 4 == 1) {
            EXPECT_FALSE(HLX_StopPlayBack(stream.lHandle) || HLX_Logout(stream.lUserID));
        }
        if (choice % 4 == 2) HLX_GetDownloadPos(1);
        STREAM* pOther = choice % 64 == 3 && !stream.bDownload ? Pick(static_cast<unsigned>(choice), true) : nullptr;
        if (pOther) Stop(*pOther);
    }
    void Add(std::unique_ptr<STREAM> stream) {
        std::lock_guard guard(m_lock);
        m_streams.push_back(std::move(stream));
    }
    /// One of the last, which may be stopped already.
    STREAM* Pick(unsigned choice, bool bDownload) {
        constexpr size_t LAST = 8;
        std::lock_guard guard(m_lock);
        std::vector<STREAM*> streams;
        for (auto stream = m_streams.rbegin(); stream != m_streams.rend() && streams.size() < LAST; ++stream)
            if ((*stream)->bDownload == bDownload) streams.push_back(stream->get());
        return streams.empty() ? nullptr : streams[choice % streams.size()];
    }
    /// Stops take no longer than a moment.
    template <class Call>
    BOOL Timed(Call call) {
        const auto before = CLOCK::now();
        const BOOL bDone = call();
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(CLOCK::now() - before).count();
        std::lock_guard guard(m_lock);
        m_stops.push_back(took);
        return bDone;
    }
    void Stop(STREAM& stream) {
        const POINTERHANDLE handle = stream.lHandle;
        if (Timed([&] { return stream.bDownload ? HLX_StopGetFile(handle) : HLX_StopPlayBack(handle); }))
            stream.bStopped = true;
    }
    void Start(Random& random) {
        auto stream = std::make_unique<STREAM>();
        stream->pTest = this;
        stream->bDownload = random() % 4 == 0;
        stream->lUserID = m_lUserID;
        const LONG channels[] = {static_cast<LONG>(random() % 3), 3};
        const DD_TIME from = Time(m_start + static_cast<std::int64_t>(random() % 5)), to = Time(m_start + 60);
        if (stream->bDownload) {
            stream->lHandle =
                HLX_GetFileByTimeEx(stream->lUserID, channels[0], &from, &to, nullptr, 1, 1, OnData, stream.get());
        } else {
            stream->lHandle =
                HLX_PlayBackByTime(stream->lUserID, channels, static_cast<LONG>(random() % 2) + 1, &from, &to, nullptr);
            if (stream->lHandle > 0) HLX_SetPlayDataCallBack(stream->lHandle, OnFrame, stream.get());
        }
        if (stream->lHandle > 0) Add(std::move(stream));
    }
    void LogOut() {
        const LONG lUserID = m_lUserID;
        std::vector<STREAM*> streams;  // nothing is known of what begins meanwhile
        {
            std::lock_guard guard(m_lock);
            for (const auto& stream : m_streams)
                if (stream->lUserID == lUserID) streams.push_back(stream.get());
        }
        if (!Timed([&] { return HLX_Logout(lUserID); })) return;
        for (STREAM* pStream : streams) pStream->bStopped = true;
        m_lUserID = Login();
    }
    void Step(Random& random) {
        static constexpr DWORD CODES[] = {HLX_PLAYCTRL_PAUSE,  HLX_PLAYCTRL_FF,    HLX_PLAYCTRL_REW,
                                          HLX_PLAYCTRL_RESUME, HLX_PLAYCTRL_FRAME, HLX_PLAYCTRL_SETPOS};
        const auto choice = random() % 24;
        STREAM* pStream = Pick(static_cast<unsigned>(random()), choice == 11 || choice == 12);
        if (choice < 6) return Start(random);
        if (choice == 23 && random() % 2 == 0) return LogOut();
        if (!pStream) return;
        const POINTERHANDLE handle = pStream->lHandle;
        if (choice < 10 || choice == 12) return Stop(*pStream);
        if (choice == 10) HLX_SetPlayDataCallBack(handle, nullptr, nullptr);
        if (choice == 11) HLX_GetDownloadPos(handle);
        if (choice == 13) HLX_PlayBackSaveData(handle, 3, m_folder.File("a.avi").c_str());
        if (choice == 14) HLX_StopPlayBackSave(handle, 3);
        if (choice < 15) return;
        const DWORD code = CODES[random() % std::size(CODES)];
        const bool bSeek = code == HLX_PLAYCTRL_SETPOS;
        HLX_PlayBackControl(handle, code, static_cast<DWORD>(bSeek ? m_start + random() % 50 : random() % 12), nullptr);
    }
    void RunOrder(unsigned order) {
        std::vector<std::thread> threads;
        for (unsigned worker = 0; worker < 3; ++worker) {
            threads.emplace_back([this, seed = order * 101 + worker + 1] {
                Random random(seed);
                for (int step = 0; step < 12; ++step) {
                    const int seen = m_frames;
                    Step(random);
                    WaitUntil([&] { return m_frames > seen + 8; }, std::chrono::milliseconds(4));
                }
            });
        }
        for (auto& thread : threads) thread.join();
    }

    std::int64_t m_start = 0;
    std::atomic<int> m_frames{0};
    std::atomic<int> m_late{0};  // callbacks of streams that were stopped
    std::mutex m_lock;
    std::vector<std::unique_ptr<STREAM>> m_streams;  // m_lock
    std::vector<std::int64_t> m_stops;               // m_lock; how long each took, milliseconds
};

TEST_F(RandomPlaybacks, NeitherHangNorLeakNorCallBehindAStop) {
    CLASSIC_RECORDER_CONFIG config = Fast(4);
    config.heartbeat = std::chrono::milliseconds(100);  // in step with the faster clock
    Open(config);
    m_start = m_places->change.changeAt - 60;
    const CFastTime fast(20);
    const auto orders = static_cast<unsigned>(Rounds(25));
    for (unsigned order = 0; order < orders; ++order) {
        RunOrder(order);
        if (order % 5 != 4) continue;
        EXPECT_TRUE(Timed([] { return HLX_Cleanup(); }));
        m_streams.clear();
        ASSERT_TRUE(HLX_Init());
        m_lUserID = Login();
    }
    EXPECT_EQ(m_late, 0);
    EXPECT_GT(m_frames, static_cast<int>(orders) * 20);
    std::ranges::sort(m_stops);
    std::printf("%u orders: %d frames, %zu stops, 99 of 100 within %lld ms, all within %lld ms\n", orders,
                m_frames.load(), m_stops.size(), static_cast<long long>(m_stops[m_stops.size() * 99 / 100]),
                static_cast<long long>(m_stops.back()));
    EXPECT_LT(m_stops[m_stops.size() * 99 / 100], 1000);
    HLX_Cleanup();  // no callback comes behind it
}

}  // namespace
