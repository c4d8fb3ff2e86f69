// hlx as a process against a recorder in this one, which shows what it was made to do.

#include <csignal>

#include "HLX.h"
#include "Process.h"
#include "protocol/ClassicCommands.h"
#include "simulator/classic/ClassicRecorder.h"
#include "support/Test.h"

namespace {

using namespace std::chrono_literals;

class CliControl : public testing::Test {
protected:
    void Start(std::chrono::milliseconds rebootTime = 200ms) {
        CLASSIC_RECORDER_CONFIG config;
        config.rebootTime = rebootTime;
        config.channels = 4;
        config.sPassword = "secret";
        config.sMediaFolder = HLX_MEDIA_FOLDER;
        config.rebootDelay = 20ms;
        config.recordings.days = 3;
        config.recordings.end = 1'795'255'200;  // 2026-11-21T10:00Z
        m_recorder = std::make_unique<CClassicRecorder>(config);
        std::string strError;
        ASSERT_TRUE(m_recorder->Start(strError)) << strError;
        m_strAddress = "127.0.0.1:" + std::to_string(m_recorder->Port());
    }
    void SetUp() override { Start(); }

    // {"ptz", "up"} becomes hlx ptz HOST up.
    Args Line(const Args& args) const {
        return Args{HLX_TOOL, args[0], m_strAddress} + Args(args.begin() + 1, args.end());
    }
    PROCESS_RESULT Run(const Args& args, const std::string& strZone = "UTC0") const {
        return RunProcess(Line(args), {{"HLX_PASSWORD=secret", "TZ=" + strZone}, {}, false});
    }
    void ExpectDone(const Args& args) const {
        const auto result = Run(args);
        EXPECT_EQ(result.nExit, 0) << testing::PrintToString(args) << result.strErrors;
        EXPECT_EQ(result.strErrors, "") << testing::PrintToString(args);
    }
    CLASSIC_PTZ Camera(unsigned channel) const { return m_recorder->Control().ptz[channel]; }

    std::unique_ptr<CClassicRecorder> m_recorder;
    std::string m_strAddress;
};

TEST_F(CliControl, MovementsGoWhereTheirNamesSay) {
    const std::pair<const char*, CLASSIC_PTZ_POSITION> rows[] = {
        {"up", {0, 1, 0, 0, 0}},      {"left-up", {-1, 1, 0, 0, 0}},    {"right-down", {1, -1, 0, 0, 0}},
        {"zoom-in", {0, 0, 1, 0, 0}}, {"focus-near", {0, 0, 0, -1, 0}}, {"iris-open", {0, 0, 0, 0, 1}}};
    for (const auto& [sAction, expected] : rows) {
        const auto before = Camera(2).position;
        ExpectDone({"ptz", sAction, "-c", "2", "--speed", "3"});
        const auto after = Camera(2).position;
        const CLASSIC_PTZ_POSITION step = {(after.pan - before.pan) / 3, (after.tilt - before.tilt) / 3,
                                           (after.zoom - before.zoom) / 3, (after.focus - before.focus) / 3,
                                           (after.iris - before.iris) / 3};
        EXPECT_EQ(step, expected) << sAction;
        EXPECT_NE(after, before) << sAction;
    }
}

TEST_F(CliControl, PresetsCruisesAndTheTrack) {
    ExpectDone({"ptz", "preset-set", "7"});
    ExpectDone({"ptz", "right"});
    ExpectDone({"ptz", "preset-go", "7"});
    EXPECT_EQ(Camera(0).position, CLASSIC_PTZ_POSITION{});
    ExpectDone({"ptz", "cruise-set", "2", "--station", "7:10s", "--station", "8", "--speed", "6"});
    const auto cruises = Camera(0).cruises;
    ASSERT_TRUE(cruises.contains(2));
    ASSERT_EQ(cruises.at(2).size(), 2u);
    const NET_CRUISE_POINT_INFO expected[] = {{0, 7, 6, 10}, {1, 8, 6, 5}};
    EXPECT_EQ(memcmp(cruises.at(2).data(), expected, sizeof expected), 0);
    ExpectDone({"ptz", "preset-clear", "7"});
    EXPECT_FALSE(Camera(0).presets.contains(7));
}

TEST_F(CliControl, ATimedMovementEndsByItselfAndAtASignal) {
    const auto result = Run({"ptz", "left", "--for", "50ms", "--json"});
    EXPECT_EQ(result.strOutput,
              "{\"event\":\"ptz\",\"channel\":0,\"action\":\"left\",\"speed\":4,\"seconds\":0.05,"
              "\"endedBy\":\"stop\"}\n");
    EXPECT_EQ(Camera(0).lastCommand, tuint32{PTZ_CMD_STOP});
    EXPECT_EQ(m_recorder->CommandCount(CMD_REQUEST_PTZ_CTRL), 2u);

    CProcess hlx(Line({"ptz", "up", "--for", "1h"}), WITH_PASSWORD);
    ASSERT_TRUE(hlx.ReadUntil("channel 0: up at speed 4 for 3600 s\n")) << hlx.Errors();
    EXPECT_EQ(Camera(0).lastCommand, tuint32{PTZ_CMD_UP});
    hlx.Kill(SIGINT);
    EXPECT_EQ(hlx.Wait(), 130);
    EXPECT_EQ(Camera(0).lastCommand, tuint32{PTZ_CMD_STOP});
}

TEST_F(CliControl, ColorsAreShownSetSavedAndReset) {
    const auto shown = Run({"color", "-c", "3"});
    EXPECT_TRUE(Holds(shown.strOutput, "saturation   128   (0 to 255, default 128)\n")) << shown.strOutput;
    ExpectDone({"color", "-c", "3", "--brightness", "140", "--hue", "0"});
    auto control = m_recorder->Control();
    EXPECT_EQ(control.colors[3].brightness, 140);
    EXPECT_EQ(control.colors[3].contrast, 128);
    EXPECT_EQ(control.colors[3].hue, 0);
    EXPECT_EQ(control.savedColors[3].brightness, 128);
    const auto saved = Run({"color", "-c", "3", "--default", "--contrast", "255", "--save", "--json"});
    EXPECT_TRUE(Holds(saved.strOutput, "\"contrast\":{\"value\":255,\"min\":0,\"max\":255,\"default\":128}"));
    control = m_recorder->Control();
    EXPECT_EQ(control.savedColors[3].brightness, 128);
    EXPECT_EQ(control.savedColors[3].contrast, 255);
}

TEST_F(CliControl, TheClockIsSetAndShown) {
    using namespace std::chrono;
    const auto fnAhead = [this] { return seconds(m_recorder->Control().timeOffset / 1'000'000); };
    const auto when = sys_days(2026y / November / 21) + 1h;  // 10 o'clock nine hours east
    const std::string strZone = "JST-9";
    const auto set = Run({"time", "--set", "2026-11-21T10:00"}, strZone);
    EXPECT_EQ(set.strOutput, "set to 2026-11-21 10:00:00 +0900 (local time here), 2026-11-21T01:00:00Z\n")
        << set.strErrors;
    const auto expected = duration_cast<seconds>(when - system_clock::now());
    EXPECT_LT(abs(fnAhead() - expected), 20s);

    const auto shown = Run({"time", "--json"}, strZone);
    EXPECT_TRUE(Holds(shown.strOutput, "\"local\":\"2026-11-21T10:00:")) << shown.strOutput << shown.strErrors;
    EXPECT_TRUE(Holds(shown.strOutput, "\"utc\":\"2026-11-21T01:00:"));
    const auto nTold = NumberBehind(shown.strOutput, "\"secondsAhead\":");
    EXPECT_NEAR(static_cast<double>(nTold), static_cast<double>(fnAhead().count()), 4);
    ExpectDone({"time", "--set", "now"});
    EXPECT_LT(abs(fnAhead()), 10s);
}

TEST_F(CliControl, APictureIsWrittenWhole) {
    CTempDir dir;
    const std::string strFile = dir.File("x.jpg");
    const std::string strLink = dir.File("link.jpg");
    std::ofstream(strFile) << "old";
    std::filesystem::create_symlink(strFile, strLink);
    const auto result = Run({"snapshot", "-c", "1", "-o", strLink});
    EXPECT_EQ(result.nExit, 0) << result.strErrors;
    const std::string strPicture = ReadBytes(strFile);
    EXPECT_TRUE(strPicture.starts_with("\xFF\xD8\xFF") && strPicture.ends_with("\xFF\xD9")) << strPicture.size();
    EXPECT_TRUE(std::filesystem::is_symlink(strLink));
    EXPECT_FALSE(std::filesystem::exists(strFile + ".part"));
    const auto piped = Run({"snapshot", "-o", "-"});
    EXPECT_TRUE(piped.strOutput.starts_with("\xFF\xD8\xFF") && piped.strOutput.ends_with("\xFF\xD9"));
    EXPECT_EQ(piped.strErrors, "");
}

TEST_F(CliControl, ARestartIsConfirmedSeenAndWaitedFor) {
    const auto result = Run({"reboot", "--yes", "--wait", "--json"});
    EXPECT_EQ(result.nExit, 0) << result.strErrors;
    EXPECT_TRUE(Holds(result.strOutput, "\"seen\":\"reply\"}\n{\"event\":\"back\",\"seconds\":")) << result.strOutput;
    EXPECT_EQ(m_recorder->CommandCount(CMD_REQUEST_LOGIN), 2u);
}

TEST_F(CliControl, ADeviceThatStaysAwayIsAwaitedNoLonger) {
    Start(1h);
    const auto result = Run({"reboot", "--yes", "--wait", "--limit", "900ms"});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_TRUE(Holds(result.strErrors, "the device ")) << result.strErrors;
}

TEST_F(CliControl, ALinkThatFallsIsARestartToo) {
    SIM_FAULT fault;
    fault.kind = SIM_FAULT_KIND::CLOSE;
    fault.phase = SIM_PHASE::COMMAND;
    m_recorder->SetFaults({fault});
    const auto result = Run({"reboot", "-y"});
    EXPECT_EQ(result.nExit, 0) << result.strErrors;
    EXPECT_EQ(result.strOutput, m_strAddress + " restarts: its link fell without a reply\n");
    EXPECT_EQ(Run({"ptz", "up"}).nExit, 3);  // elsewhere it is a failure
}

TEST_F(CliControl, ARestartAsksOnATerminal) {
    const std::pair<const char*, int> rows[] = {{"n\n", 1}, {"\n", 1}, {"y\n", 0}};
    for (const auto& [sAnswer, nExit] : rows) {
        EXPECT_EQ(m_recorder->CommandCount(CMD_REQUEST_REBOOT), 0u);
        CProcess hlx(Line({"reboot", "--wait"}), {{"HLX_PASSWORD=secret"}, {}, true});
        ASSERT_TRUE(hlx.ReadUntil("[y/N]")) << hlx.Output();
        hlx.Type(sAnswer);
        EXPECT_EQ(hlx.Wait(), nExit) << hlx.Output();
        EXPECT_EQ(Holds(hlx.Output(), "\r\033[Kback after "), nExit == 0) << hlx.Output();
        EXPECT_FALSE(Holds(hlx.Output(), "Disconnected"));  // the library's own words
    }
    EXPECT_EQ(m_recorder->CommandCount(CMD_REQUEST_REBOOT), 1u);
}

TEST_F(CliControl, RecordingsFilesEventsAndLogs) {
    const CSimArchive& archive = m_recorder->Archive();
    const CSimArchive::QUERY lastDay = {{1'795'219'200, 1'795'305'600}, 1};
    const auto there = archive.FindFiles(lastDay).size();
    const auto run = [&](const Args& args, const Args& more, size_t nLines, int nExit = 0) {
        const auto result = Run(args + more);
        EXPECT_EQ(result.nExit, nExit) << testing::PrintToString(args) << result.strErrors;
        EXPECT_EQ(static_cast<size_t>(std::ranges::count(result.strOutput, '\n')), nLines) << result.strOutput;
    };
    run({"recordings"}, {"--json"}, archive.Days().size() + archive.FindTimes({{0, 0xFFFFFFFF}}).size());
    EXPECT_TRUE(Holds(Run({"recordings", "--calendar", "2026-11"}).strOutput, "[20][21]"));
    run({"logs", "--from", "2026-11-01", "--to", "2026-12-01"}, {"--json"}, 20'000);
    run({"events", "--from", "2026-11-01", "--to", "2026-12-01", "-t", "motion", "-c", "2"}, {},
        1 + archive.FindEvents({0, 0xFFFFFFFF}, NET_EVENT_MOTION, 4).size());
    const Args files = {"files", "-c", "1", "--from", "2026-11-21", "--to", "2026-11-21"};
    run(files, {"--lock"}, there + 2);
    run(files, {"--delete", "--yes"}, there + 1, 1);  // they are locked
    run(files, {"--unlock", "--json"}, there + 1);
    run(files, {"--delete"}, 0, 2);  // nobody can be asked
    EXPECT_EQ(archive.FindFiles(lastDay).size(), there);
    run(files, {"--delete", "--yes"}, there + 2);
    run(files, {}, 0);
}

TEST_F(CliControl, RefusalsAndWrongLines) {
    const std::tuple<Args, int, const char*> rows[] = {
        {{"ptz", "preset-go", "9"}, 1, "HLX_ERROR_SERIALPORT, 18"},
        {{"ptz", "preset-go", "9", "--json"}, 1, "HLX_ERROR_SERIALPORT, 18"},
        {{"ptz", "up", "-c", "4"}, 1, "channel 4 of 0 to 3: the device has no such channel"},
        {{"snapshot", "-o", "/no/such/x.jpg"}, 1, "cannot write /no/such/x.jpg"},
        {{"color", "--hue", "256"}, 2, "hue 256: the device takes 0 to 255"},
        {{"reboot"}, 2, "--yes"},
        {{"ptz"}, 2, "ACTION"},
        {{"ptz", "dance"}, 2, "dance: no such action"},
        {{"ptz", "preset-go"}, 2, "needs a number"},
        {{"ptz", "up", "3"}, 2, "takes no number"},
        {{"ptz", "stop", "--for", "1s"}, 2, "takes no --for"},
        {{"ptz", "cruise-set", "1"}, 2, "at least one --station"},
        {{"ptz", "cruise-set", "1", "--station", "3:x"}, 2, "3:x: not a station"},
        {{"time", "--set", "noon"}, 2, "noon: not a time"},
        {{"files", "--from", "12:00", "--to", "11:00"}, 2, "not later than --from"},
        {{"files", "--delete", "--yes"}, 2, "--from"},
        {{"recordings", "--calendar", "13"}, 2, "13: not a month"},
        {{"snapshot"}, 2, "--output"},
        {{"snapshot", "-o", "-", "--json"}, 2, "both need standard output"},
        {{"reboot", "--limit", "1s"}, 2, "--wait"},
        {{"info", "--log", "/tmp/x.txt"}, 2, "ends in .log"},
        {{"info", "--log", "/no/such/x.log"}, 1, "cannot write /no/such/x.log"}};
    for (const auto& [args, nExit, sText] : rows) {
        const auto result = Run(args);
        EXPECT_EQ(result.nExit, nExit) << testing::PrintToString(args);
        EXPECT_TRUE(Holds(result.strErrors, sText)) << result.strErrors;
        const bool bJson = args.back() == "--json";
        EXPECT_EQ(Holds(result.strOutput, "\"event\":\"error\""), bJson) << result.strOutput;
        EXPECT_EQ(NumberBehind(result.strOutput, "\"exit\":"), bJson ? nExit : -1);
        EXPECT_EQ(NumberBehind(result.strOutput, "\"number\":"), bJson && nExit == 1 ? 18 : -1);
    }
    EXPECT_EQ(m_recorder->CommandCount(CMD_REQUEST_REBOOT), 0u);
}

TEST_F(CliControl, TheLogStandsInTheNamedFileAlone) {
    CTempDir dir;
    const std::string strFile = dir.File("run.log");
    for (const size_t nRuns : {1u, 2u}) {
        const auto result = Run({"info", "--log", strFile});
        EXPECT_EQ(result.nExit, 0);
        EXPECT_EQ(result.strErrors, "");
        const std::string strLog = ReadBytes(strFile);
        size_t nLogins = 0;
        for (size_t n = 0; (n = strLog.find("logged in, 4 channels", n)) != std::string::npos; ++n) ++nLogins;
        EXPECT_EQ(nLogins, nRuns) << strLog;
    }
    const std::string strBad =
        RunProcess(Line({"info", "--log", strFile}), {{"HLX_PASSWORD=hunter2"}, {}, false}).strErrors;
    EXPECT_TRUE(Holds(strBad, "HLX_PASSWORD_ERROR, 1")) << strBad;  // ours is still heard
    const std::string strLog = ReadBytes(strFile);
    EXPECT_TRUE(Holds(strLog, "login refused, number 1"));
    EXPECT_FALSE(Holds(strLog, "secret") || Holds(strLog, "hunter2") || Holds(strLog, "admin")) << strLog;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
}

// What bash offers for the last word, with blanks between the words.
std::string Offered(const Args& words) {
    Args line = {"/bin/bash", "-c",
                 "source <('" HLX_TOOL
                 "' completion bash); COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); "
                 "$(complete -p hlx | sed 's/.*-F \\([^ ]*\\).*/\\1/'); echo \"${COMPREPLY[*]}\"",
                 "bash"};
    const auto result = RunProcess(line + words);
    EXPECT_EQ(result.strErrors, "");
    return result.strOutput;
}

TEST(CliCompletion, BashOffersCommandsOptionsAndWords) {
    CTempDir dir;
    std::ofstream(dir.File("cl ip.h264")) << "x";
    const std::string strStart = dir.File("cl");
    const std::pair<Args, std::string> rows[] = {{{"hlx", "sn"}, "snapshot"},
                                                 {{"hlx", "live", "h", "-s", ""}, "main sub"},
                                                 {{"hlx", "live", "h", "--str"}, "--stream"},
                                                 {{"hlx", "live", "h", "-o", strStart}, dir.File("cl ip.h264")},
                                                 {{"hlx", "live", "h", "-c", ""}, ""},
                                                 {{"hlx", "ptz", "h", ":", "80", "-c", "1", "zoom-i"}, "zoom-in"},
                                                 {{"hlx", "ptz", "h", "up", "--fo"}, "--for"},
                                                 {{"hlx", "completion", ""}, "bash zsh fish"}};
    for (const auto& [words, strExpected] : rows)
        EXPECT_EQ(Offered(words), strExpected + "\n") << testing::PrintToString(words);
}

}  // namespace
