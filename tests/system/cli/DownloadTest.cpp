#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "Process.h"
#include "support/TestSupport.h"

namespace {

/// Runs hlx download against a recorder of its own, whose recordings end at two. Channel 0 changes its picture's size
/// at half past twelve.
class CliDownload : public testing::Test {
protected:
    Args Line(const char* pFrom, const char* pTo, const char* pFile, const Args& extra = {}) const {
        Args args = {HLX_TOOL, "download", m_simulator.Address(), "--from", pFrom, "--to", pTo, "-o", File(pFile)};
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    }
    std::string File(const char* pName) const { return m_folder.File(pName); }
    bool Exists(const char* pName) const { return std::filesystem::exists(File(pName)); }
    std::string Probed(const char* pFile) const {
        return RunProcess({"/bin/sh", "-c",
                           "ffprobe -v warning -count_frames -of csv=p=0 -show_entries "
                           "stream=codec_name,width,nb_read_frames " +
                               File(pFile) + " 2>&1"})
            .strOutput;
    }

    CServer m_simulator{{HLX_SIMULATOR, "classic", "--port", "0", "--channels", "2", "--user", "admin", "--recordings",
                         "1", "--recordings-end", "2026-11-21T14:00"}};
    const CTempDir m_folder;
};

TEST_F(CliDownload, BringsAWholeFileOrSaysWhyNot) {
    const struct {
        const char* pFrom;
        const char* pTo;
        const char* pFile;
        Args extra;
        int exit;
        const char* pState;
    } rows[] = {{"2026-11-21T12:29:30", "2026-11-21T12:30:30", "a.hlx", {}, 0, "complete"},
                {"2026-11-21T12:30", "2026-11-21T12:31", "b.avi", {"--sub"}, 0, "complete"},
                {"2026-11-21T13:59", "2026-11-21T14:30", "c.avi", {}, 6, "recording ended early"},
                {"2026-11-21T15:00", "2026-11-21T15:30", "d.avi", {}, 1, nullptr}};
    for (const auto& row : rows) {
        Args args = Line(row.pFrom, row.pTo, row.pFile, row.extra);
        args.push_back("--json");
        const auto result = RunProcess(args, WITH_PASSWORD);
        EXPECT_EQ(result.nExit, row.exit) << result.strOutput << result.strErrors;
        const std::string state = row.pState ? "\"state\":\"" + std::string(row.pState) + "\"" : "";
        EXPECT_TRUE(Holds(result.strOutput, state)) << result.strOutput;
        EXPECT_EQ(Exists(row.pFile), row.pState != nullptr);
        EXPECT_FALSE(Exists((std::string(row.pFile) + ".part").c_str()));
    }
    EXPECT_EQ(RunProcess({HLX_TOOL, "convert", File("a.hlx"), File("e.avi")}).nExit, 0);
    EXPECT_EQ(Probed("e.avi").substr(0, 9), "h264,704,");
    EXPECT_EQ(Probed("e-2.avi").substr(0, 9), "h264,352,");

    std::filesystem::copy_file(File("a.hlx"), File("f.avi"));
    const auto whole = std::filesystem::file_size(File("f.avi"));
    EXPECT_EQ(RunProcess({HLX_TOOL, "convert", File("f.avi"), File("./f.avi")}).nExit, 2) << "a file into itself";
    EXPECT_EQ(std::filesystem::file_size(File("f.avi")), whole);
}

TEST_F(CliDownload, LeavesAPartThatConvertReads) {
    CProcess download(Line("2026-11-21T06:00", "2026-11-21T14:00", "a.avi", {"--json"}), WITH_PASSWORD);
    const auto size = [&](const char* pName) { return Exists(pName) ? std::filesystem::file_size(File(pName)) : 0; };
    ASSERT_TRUE(WaitUntil([&] { return size("a.hlx.part") > 1000000; }));
    download.Kill(SIGINT);
    EXPECT_EQ(download.Wait(), 130);
    EXPECT_TRUE(Holds(download.Output(), R"("state":"interrupted")")) << download.Output();
    EXPECT_FALSE(Exists("a.avi"));
    const auto result = RunProcess({HLX_TOOL, "convert", File("a.hlx.part"), File("b.avi"), "--json"});
    EXPECT_EQ(result.nExit, 1);
    EXPECT_TRUE(Holds(result.strOutput, R"("state":"cut off")")) << result.strOutput;
    EXPECT_EQ(Probed("b.avi").substr(0, 9), "h264,704,");
}

}  // namespace
