#include <csignal>

#include "Process.h"
#include "support/Test.h"

namespace {

/// hlx play and the lists against a recorder whose recordings end at two.
struct CliPlay : testing::Test {
    Args Line(const char* pCommand, const Args& extra) const {
        return Args{HLX_TOOL, pCommand, m_simulator.Address()} + extra;
    }
    PROCESS_RESULT Run(const char* pCommand, const Args& extra) const {
        return RunProcess(Line(pCommand, extra), WITH_PASSWORD);
    }
    CServer m_simulator{{HLX_SIMULATOR, "classic", "--port", "0", "--channels", "1", "--user", "admin", "--recordings",
                         "1", "--recordings-end", "2026-11-21T14:00"}};
};

TEST_F(CliPlay, FiguresAreThoseOfTheFramesThatAreShown) {
    const Args span = {"--from", "2026-11-21T13:00", "--to", "2026-11-21T13:00:04", "--json"};
    const struct {
        Args extra;
        int64_t frames, keyFrames;
        bool bSound;
    } rows[] = {{{"--speed", "4"}, 100, 4, true}, {{"--reverse"}, 3, 3, false}};
    for (const auto& row : rows) {
        const auto result = Run("play", span + row.extra);
        EXPECT_EQ(result.nExit, 0) << result.strErrors;
        const std::string end = result.strOutput.substr(result.strOutput.find(R"("reason":"end of range")"));
        EXPECT_GE(NumberBehind(end, R"("frames":)"), row.frames) << end;
        EXPECT_LE(NumberBehind(end, R"("frames":)"), row.frames + 1) << end;
        EXPECT_GE(NumberBehind(end, R"("keyFrames":)"), row.keyFrames) << end;
        EXPECT_EQ(NumberBehind(end, R"("gaps":)"), 0) << end;
        EXPECT_EQ(NumberBehind(end, R"("soundFrames":)") > 0, row.bSound) << end;
    }
}

TEST_F(CliPlay, ASignalEndsItInOrder) {
    const CTempDir folder;
    CProcess play(
        Line("play", {"--from", "2026-11-21T13:00", "--to", "2026-11-21T13:30", "--json", "-o", folder.File("a.h264")}),
        WITH_PASSWORD);
    ASSERT_TRUE(play.ReadUntil(R"("event":"second")")) << play.Errors();
    play.Kill(SIGINT);
    EXPECT_EQ(play.Wait(), 130);
    const std::string end = play.Output().substr(play.Output().find(R"("reason":"signal")"));
    EXPECT_EQ(NumberBehind(end, R"("bytes":)"), std::filesystem::file_size(folder.File("a.h264")));
}

TEST_F(CliPlay, WhereNothingIsRecordedIsSaid) {
    const std::tuple<const char*, Args, int, const char*> rows[] = {
        {"recordings", {"--from", "2026-11-22"}, 0, "no recordings of any channel then; the device has some from 2026"},
        {"recordings", {"--from", "2026-10-01", "--to", "2026-10-02"}, 0, "no recordings of any channel then"},
        {"files", {"--from", "2026-11-22", "--to", "2026-11-23"}, 0, "no files of any channel from 2026-11-22"},
        {"events", {"--from", "2026-11-22", "--to", "2026-11-23"}, 0, "no events from 2026-11-22"},
        {"play", {"--from", "2026-11-22", "--to", "2026-11-23"}, 1, "HLX_FILE_NOFIND"},
        {"play", {"--from", "2026-11-22"}, 2, "--from and --to are required; see hlx play --help"},
    };
    for (const auto& [pCommand, extra, exit, pErrors] : rows) {
        const auto result = Run(pCommand, extra);
        EXPECT_EQ(result.nExit, exit) << result.strErrors;
        EXPECT_EQ(result.strOutput, "");
        EXPECT_TRUE(Holds(result.strErrors, pErrors)) << result.strErrors;
    }
}

}  // namespace
