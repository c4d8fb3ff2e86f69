#include <csignal>

#include "Process.h"
#include "support/Test.h"

namespace {

/// hlx record against a recorder that is 20 times as fast as real time.
struct CliRecord : testing::Test {
    Args Line(const std::string& strOption, const std::string& strValue) const {
        return {HLX_TOOL, "record", m_simulator.Address(), "-o", m_file, "--json", strOption, strValue};
    }
    // What ffprobe tells, and what ffmpeg has against the file.
    std::string Probed(const std::string& strEntries) const {
        const std::string strProbe = "ffprobe -v error -of csv=p=0 -show_entries stream=" + strEntries + " " + m_file;
        return RunProcess({"/bin/sh", "-c", strProbe + " 2>&1; ffmpeg -v error -i " + m_file + " -f null - 2>&1"})
            .strOutput;
    }
    CServer m_simulator{{HLX_SIMULATOR, "classic", "--port", "0", "--channels", "1", "--speed", "20"}};
    const CTempDir m_folder;
    const std::string m_file = m_folder.File("a.avi");
};

TEST_F(CliRecord, AFileOfTheLengthThatWasAsked) {
    const auto result = RunProcess(Line("--duration", "10s"), WITH_PASSWORD);
    EXPECT_EQ(result.nExit, 0) << result.strErrors;
    EXPECT_EQ(Probed("codec_name,duration,nb_frames"), "h264,10.000000,250\npcm_s16le,N/A,160000\n");
    EXPECT_TRUE(Holds(result.strOutput, R"("complete":true,"seconds":10.0,"frames":250,)")) << result.strOutput;
    EXPECT_EQ(RunProcess(Line("-c", "7"), WITH_PASSWORD).nExit, 1);
}

TEST_F(CliRecord, ASignalCompletesTheFile) {
    CProcess record(Line("--stream", "sub"), WITH_PASSWORD);
    ASSERT_TRUE(WaitUntil([&] { return std::ifstream(m_file, std::ios::ate).tellg() > 100000; }));
    record.Kill(SIGTERM);
    EXPECT_EQ(record.Wait(), 143);
    EXPECT_TRUE(Holds(record.Output(), R"("complete":true)")) << record.Output();
    EXPECT_EQ(Probed("codec_name,width,height"), "h264,352,288\npcm_s16le\n");
}

}  // namespace
