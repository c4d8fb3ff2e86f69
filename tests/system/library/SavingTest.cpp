// Live streams that are saved: the file holds what was delivered, whatever else goes on.

#include "support/AVIFileReader.h"
#include "System.h"

namespace {

/// Expects a file that ffmpeg and ffprobe have nothing to say about.
void ExpectPlayable(const std::string& file) {
    const std::string said = file + ".said";
    const std::string line =
        "(ffmpeg -v error -i " + file + " -f null - ; ffprobe -v error " + file + ") > " + said + " 2>&1";
    EXPECT_EQ(0, std::system(line.c_str()));
    EXPECT_EQ("", ReadBytes(said));
}

std::vector<std::uint64_t> Pictures(const std::string& file) {
    std::vector<std::uint64_t> digests;
    for (const auto& [id, bytes] : ReadAVI(file))
        if (id != "01wb" && !bytes.empty()) digests.push_back(DigestBytes(std::as_bytes(std::span(bytes))));
    return digests;
}

struct STREAM {
    const char* sClip;  // of both streams
    LONG streamType;
};

class LiveSaving : public CSystemTest, public testing::WithParamInterface<STREAM> {
protected:
    const CTempDir m_folder;
    const std::string m_file = m_folder.File("a.avi");
};

TEST_P(LiveSaving, TheFileHoldsWhatWasDelivered) {
    CLASSIC_RECORDER_CONFIG config = Fast(1, 20);
    config.firstClips = config.secondClips = {GetParam().sClip};
    StartRecorder(config);
    CReceiver receiver;
    receiver.m_inCallback = [&, bSaving = BOOL{0}](POINTERHANDLE handle, const HLX_FRAME_INFO& info) mutable {
        if (!bSaving && info.keyFrame) bSaving = HLX_SaveLiveData(handle, m_file.c_str());
    };
    const POINTERHANDLE handle = receiver.Play(Login(), 0, GetParam().streamType);
    ASSERT_TRUE(receiver.WaitForFrames(150));
    EXPECT_TRUE(HLX_StopSaveLiveData(handle));
    ExpectPlayable(m_file);
    const auto saved = Pictures(m_file);
    std::vector<std::uint64_t> delivered;
    for (const RECEIVED_FRAME& frame : receiver.Frames())
        if (frame.info.frameType == DD_FRAME_TYPE_VIDEO) delivered.push_back(frame.digest);
    ASSERT_GE(saved.size(), 149U);
    delivered.resize(std::min(saved.size(), delivered.size()));
    EXPECT_EQ(delivered, saved);
}

INSTANTIATE_TEST_SUITE_P(Clips, LiveSaving,
                         testing::Values(STREAM{"main-704x576-25.h264", HLX_MAIN_STREAM},
                                         STREAM{"sub-352x288-25.h265", HLX_SUB_STREAM},
                                         STREAM{"sub-352x288-25.mjpeg", HLX_MAIN_STREAM}));

TEST_F(LiveSaving, StartsAndStopsWhileFramesPour) {
    StartRecorder(Fast(1, 20));
    const LONG id = Login();
    CReceiver receiver;
    const POINTERHANDLE churned = receiver.Play(id, 0), other = receiver.Play(id, 0);
    EXPECT_FALSE(HLX_SaveLiveData(churned, std::string(256, 'n').c_str()) || HLX_StopSaveLiveData(12345));
    EXPECT_EQ(DWORD{HLX_PARAMETER_ERROR}, HLX_GetLastError());
    EXPECT_TRUE(HLX_SaveLiveData(churned, "/nowhere/a.avi")) << "the stream lives on";
    EXPECT_TRUE(HLX_SaveLiveData(other, m_folder.File("b.avi").c_str()));
    ASSERT_TRUE(receiver.WaitForFrames(50));
    std::thread stopper([&] {
        for (int round = 0; round < 100; ++round) EXPECT_TRUE(HLX_StopSaveLiveData(churned));
    });
    for (int round = 0; round < 100; ++round) EXPECT_TRUE(HLX_SaveLiveData(churned, m_file.c_str()));
    stopper.join();
    ASSERT_TRUE(receiver.WaitForFrames(200));
    EXPECT_TRUE(HLX_Logout(id)) << "completes the files";
    EXPECT_GT(Pictures(m_folder.File("b.avi")).size(), 50U);
    ExpectPlayable(m_folder.File("b.avi"));
}

}  // namespace
