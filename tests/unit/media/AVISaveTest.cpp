#include "main_utility/media/AVISave.h"

#include "sdk_common/ThreadState.h"
#include "support/AVIFileReader.h"
#include "support/Test.h"

namespace {

using enum AVI_SAVE_KIND;

using FORM = std::pair<HLX_FRAME_INFO, std::string>;

FORM Frame(DWORD type, const std::string& payload, DWORD key = 0, DWORD width = 0, DWORD height = 0) {
    return {{0, 0, type, static_cast<DWORD>(payload.size()), key, width, height, 0, 0, 0, 0, 0}, payload};
}
FORM Video(int width, int height, DWORD biSize = 40, size_t length = 40) {
    const BITMAPINFOHEADER format{biSize, width, height, 1, 24, 0x34363248, 0, 0, 0, 0, 0};
    return Frame(DD_FRAME_TYPE_VIDEO_FORMAT, {reinterpret_cast<const char*>(&format), length});
}
FORM Sound(WORD tag, DWORD samples = 8000, DWORD bytes = 8000, WORD align = 1) {
    const WAVEFORMATEX format{tag, 1, samples, bytes, align, 8, 0};
    return Frame(DD_FRAME_TYPE_AUDIO_FORMAT, {reinterpret_cast<const char*>(&format), sizeof(format)});
}

/// What each letter of a row stands for.
const std::map<char, FORM> FORMS = {
    {'V', Video(704, 576)},
    {'N', Video(704, 480)},
    {'!', Video(704, 576, 39)},
    {'T', Video(704, 576, 40, 39)},
    {'A', Sound(AUDIO_TAG_ALAW)},
    {'U', Sound(AUDIO_TAG_ULAW)},
    {'P', Sound(AUDIO_TAG_PCM, 400, 800, 2)},
    {'?', Sound(AUDIO_TAG_PCM, 8000, 0)},
    {'3', Sound(3)},
    {'k', Frame(DD_FRAME_TYPE_VIDEO, "key1", 1, 704, 576)},
    {'n', Frame(DD_FRAME_TYPE_VIDEO, "ntsc", 1, 704, 480)},
    {'p', Frame(DD_FRAME_TYPE_VIDEO, "pict", 0, 704, 576)},
    {'a', Frame(DD_FRAME_TYPE_AUDIO, std::string(320, 'a'))},
    {'b', Frame(DD_FRAME_TYPE_AUDIO, std::string(9000, 'b'))},
    {'d', Frame(DD_FRAME_TYPE_AUDIO, std::string(840, '\0'))},
    {'e', Frame(DD_FRAME_TYPE_AUDIO, std::string(836, '\0'))},
    {'x', Frame(DD_FRAME_TYPE_TALK_AUDIO, "talk")},
};

bool Save(CAVISave& save, char letter, tint64 milliseconds) {
    auto [frame, payload] = FORMS.at(letter);
    frame.time = 1700000000000000 + milliseconds * 1000;
    return save.SaveFile(frame, reinterpret_cast<const unsigned char*>(payload.data()));
}

struct ROW {
    AVI_SAVE_KIND kind;
    const char* sFrames;   // a letter each, and behind it the milliseconds since the start
    const char* sResults;  // for each frame 0, its number, or -1 for a failure without one
    const char* sChunks;   // K, p and .: how many key frames, pictures and empty frames; w: how many bytes of sound
};

/// The chunks of a file in the words of a row.
std::string Summary(const std::vector<AVI_CHUNK>& chunks) {
    std::vector<std::pair<char, size_t>> runs;
    for (const auto& [id, bytes] : chunks) {
        const char kind = bytes.empty() ? '.' : id == "01wb" ? 'w' : id == "00db" ? 'K' : 'p';
        if (runs.empty() || runs.back().first != kind) runs.push_back({kind, 0});
        runs.back().second += kind == 'w' ? bytes.size() : 1;
    }
    std::string text;
    for (const auto& [kind, count] : runs) text += std::to_string(count) + kind + ' ';
    return text;
}

class AVISave : public testing::TestWithParam<ROW> {};

TEST_P(AVISave, RulesOfItsKind) {
    const CTempDir folder;
    CAVISave save(GetParam().kind);
    ASSERT_TRUE(save.Start(folder.File("a.avi").c_str()));
    std::istringstream frames(GetParam().sFrames);
    std::string results;
    for (std::string frame; frames >> frame;) {
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        const bool bTaken = Save(save, frame[0], frame.size() > 1 ? std::stoll(frame.substr(1)) : 0);
        const auto error = static_cast<int>(CThreadState::Instance()->GetLastError());
        results += std::to_string(bTaken || error != 0 ? error : -1) + " ";
    }
    EXPECT_EQ(GetParam().sResults, results);
    save.Stop();
    const std::string chunks = Summary(ReadAVI(folder.File("a.avi")));
    EXPECT_EQ(GetParam().sChunks, chunks);
    const bool bSoundTrack = ReadBytes(folder.File("a.avi")).substr(232, 4) == "auds";
    EXPECT_EQ(GetParam().kind != PLAYBACK || chunks.find('w') != std::string::npos, bSoundTrack);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AVISave,
    testing::Values(
        // Which frame opens the file, and the numbers of those that may not.
        ROW{LIVE, "k V A p a k p40 x T ! ?", "79 0 0 79 79 0 0 26 26 26 26 ", "1K 1p "},
        ROW{DOWNLOAD, "k V A p a k p40 x T ! ?", "-1 0 0 -1 -1 0 0 -1 -1 -1 -1 ", "1K 1p "},
        ROW{PLAYBACK, "k A a V a p40 k500 a500 x", "79 0 79 0 0 0 0 0 26 ", "11. 1K 8640w "},
        // Positions at 25 and 29.97 a second, holes, a clock that runs back.
        ROW{LIVE, "V k p40 p200 p360 p240 p280", "0 0 0 0 0 0 0 ", "1K 1p 2. 1p 3. 3p "},
        ROW{DOWNLOAD, "N n n34 n101 n10101 n20202 n3600000", "0 0 0 0 0 0 0 ", "3K 298. 1K 299. 1K 299. 1K "},
        ROW{PLAYBACK, "V k p10000 p3600000 p3600040", "0 0 0 0 0 ", "1K 248. 1p 249. 2p "},
        // Silence: over a second behind the video, or up to the frame's time.
        ROW{LIVE, "V A k a p960 a960 p1080 a1080", "0 0 0 0 0 0 0 0 ", "1K 640w 22. 1p 640w 2. 1p 640w "},
        ROW{LIVE, "V A k p2480 a2500 a9000000", "0 0 0 0 0 0 ", "1K 60. 1p 40960w "},
        ROW{DOWNLOAD, "V A k p2480 a2500", "0 0 0 0 0 ", "1K 60. 1p 40320w "},
        ROW{PLAYBACK, "V A k a p40 a1000 a800 a1060", "0 0 0 0 0 0 0 0 ", "1K 640w 1p 17280w "},
        ROW{PLAYBACK, "V P k a3600000 p40 a7300000 a7300020", "0 0 0 0 0 0 0 ", "1K 2880320w 1p 640w "},
        // Formats: an equal one changes nothing, another video format or size begins anew, as does other sound.
        ROW{LIVE, "V A k V A p40 N p80 n n34", "0 0 0 0 0 0 0 79 0 0 ", "2K "},
        ROW{LIVE, "V k p40 n80 V p120", "0 0 0 0 0 0 ", "1K 1p "},
        ROW{LIVE, "V A k U p40 k80 a80", "0 0 0 0 79 0 0 ", "1K 640w "},
        ROW{PLAYBACK, "V A k U p40 k80 a80", "0 0 0 0 0 0 0 ", "1K 1280w "},
        ROW{DOWNLOAD, "V A k U p40 a40", "0 0 0 0 0 0 ", "1K 1p 640w "},
        // Sound that comes late costs no video.
        ROW{LIVE, "V k p40 A a40", "0 0 0 0 0 ", "1K 1p 640w "},
        ROW{PLAYBACK, "V k p40 A a40", "0 0 0 0 0 ", "1K 1p 1280w "},
        // Sounds longer than a buffer, too short for the decoder, of a tag that only downloads know.
        ROW{LIVE, "V A k b", "0 0 0 0 ", "1K 18000w "}, ROW{DOWNLOAD, "V 3 k d e", "0 0 0 0 0 ", "1K 4036w "}));

TEST(AVISaveFile, SoundStaysWithThePictureThoughSoundIsLost) {
    const CTempDir folder;
    CAVISave save(LIVE);
    ASSERT_TRUE(save.Start(folder.File("a.avi").c_str()));
    Save(save, 'V', 0);
    Save(save, 'A', 0);
    for (tint64 frame = 0, lost = 0; frame < 30 * 60 * 25; ++frame) {
        ASSERT_TRUE(Save(save, frame % 50 == 0 ? 'k' : 'p', frame * 40));
        if (lost == 0 && frame % 613 == 0) lost = frame % 97;
        lost = std::max<tint64>(lost - 1, 0);
        ASSERT_TRUE(lost > 0 || Save(save, 'a', frame * 40));
    }
    save.Stop();
    tint64 video = 0, audio = 0, worst = 0;  // milliseconds
    const auto chunks = ReadAVI(folder.File("a.avi"));
    for (size_t i = 0; i < chunks.size(); ++i) {
        const bool bSound = chunks[i].id == "01wb";
        (bSound ? audio : video) += bSound ? static_cast<tint64>(chunks[i].bytes.size()) / 16 : 40;
        if (bSound && (i + 1 == chunks.size() || chunks[i + 1].id != "01wb"))
            worst = std::max(worst, std::abs(video - audio));
    }
    EXPECT_EQ(30 * 60 * 1000, video);
    EXPECT_LT(worst, 1100);
}

}  // namespace
