#include <csignal>

#include "main_utility/media/avi/AVIWriter.h"
#include "Process.h"
#include "support/Test.h"

namespace {

using namespace std::chrono_literals;
// The number of a key in a line of JSON, -1 if it is not there.
int64_t Number(const std::string& strJson, const std::string& strKey) {
    return NumberBehind(strJson, "\"" + strKey + "\":");
}

// hlx-simulator as a recorder of four channels with the password "secret".
class CSimulator : public CServer {
public:
    explicit CSimulator(const Args& extra = {})
        : CServer(
              Args{HLX_SIMULATOR, "classic", "--port", "0", "--channels", "4", "--user", "admin", "--name", "Gate"} +
              extra) {}
    ~CSimulator() {
        Kill(SIGTERM);
        EXPECT_EQ(Wait(), 0);
    }
    // Until its events tell so.
    void AwaitEvent(const std::string& strEvent) { EXPECT_TRUE(ReadUntil("\"" + strEvent + "\"")); }
};

Args Hlx(const std::string& strCommand, const std::string& strAddress, const Args& extra = {}) {
    return Args{HLX_TOOL, strCommand, strAddress} + extra;
}

PROCESS_RESULT RunHlx(const std::string& strCommand, const std::string& strAddress, const Args& extra = {}) {
    return RunProcess(Hlx(strCommand, strAddress, extra), WITH_PASSWORD);
}

std::string LastLine(const std::string& strText) {
    const size_t nBreak = strText.rfind('\n', strText.size() - 2);
    return strText.substr(nBreak == std::string::npos ? 0 : nBreak + 1);
}

struct CTempFile : CTempDir {
    std::string Path() const { return File("file"); }
    int64_t Size() const { return static_cast<int64_t>(std::filesystem::file_size(Path())); }
};

// A digest of each decoded picture of an H.264 file, one a line.
std::vector<std::string> PictureDigests(const std::string& strPath) {
    std::istringstream lines(
        RunProcess({"/bin/sh", "-c", "ffmpeg -v error -f h264 -i " + strPath + " -f framemd5 -"}).strOutput);
    std::vector<std::string> digests;
    for (std::string strLine; std::getline(lines, strLine);) {
        if (!strLine.empty() && strLine[0] != '#') digests.push_back(strLine.substr(strLine.rfind(' ') + 1));
    }
    return digests;
}

// The file holds the pictures that a clip begins with, each of them once and whole.
void ExpectBegins(const std::string& strClip, const std::string& strPath, int64_t nPictures) {
    auto clip = PictureDigests(std::string(HLX_MEDIA_FOLDER) + "/" + strClip);
    ASSERT_GE(static_cast<int64_t>(clip.size()), nPictures);
    clip.resize(static_cast<size_t>(nPictures));
    EXPECT_EQ(PictureDigests(strPath), clip);
}

TEST(CliInfo, TellsTheDevice) {
    CSimulator simulator;
    const auto text = RunHlx("info", simulator.Address());
    EXPECT_EQ(text.nExit, 0);
    EXPECT_EQ(text.strOutput.find("Name           Gate\n"), 0u) << text.strOutput;
    EXPECT_NE(text.strOutput.find("\nVideo inputs   4\n"), std::string::npos) << text.strOutput;
}

TEST(CliInfo, ARecordIsPlayedBack) {
    CTempFile record;
    std::string strTold;
    {
        CSimulator simulator;
        const auto result = RunHlx("info", simulator.Address(), {"--json", "--trace", record.Path()});
        EXPECT_EQ(result.nExit, 0) << result.strErrors;
        strTold = result.strOutput.substr(result.strOutput.find("\"firmwareVersion\""));
    }
    CServer replay({HLX_SIMULATOR, "replay", record.Path(), "--fast"});
    const auto again = RunHlx("info", replay.Address(), {"--json"});
    EXPECT_NE(again.strOutput.find(strTold), std::string::npos) << again.strOutput << again.strErrors;
    replay.Kill(SIGTERM);
    EXPECT_EQ(replay.Wait(), 0);
    EXPECT_EQ(RunHlx("info", "127.0.0.1:1", {"--trace", "/nowhere/record"}).nExit, 1);
    EXPECT_EQ(RunProcess({HLX_SIMULATOR, "replay", HLX_SIMULATOR}).nExit, 2) << "no record";
}

TEST(CliAlarms, TellsWhatIsOnALineEach) {
    CSimulator simulator({"--status", "motion=2", "--status", "sensor=1", "--status", "manual-record=3"});
    CProcess follow(Hlx("alarms", simulator.Address(), {"--json", "--follow"}), WITH_PASSWORD);
    for (const char* sLine : {R"({"event":"alarm","kind":"motion","channel":2,"state":"on"})",
                              R"({"event":"alarm","kind":"sensor","sensor":1,"state":"on"})",
                              R"({"event":"record","kind":"manual","channel":3,"state":"on"})"}) {
        EXPECT_TRUE(follow.ReadUntil(std::string(sLine) + "\n")) << follow.Output() << follow.Errors();
    }
    follow.Kill(SIGINT);
    EXPECT_EQ(follow.Wait(), 130);
    EXPECT_EQ(std::count(follow.Output().begin(), follow.Output().end(), '\n'), 3) << follow.Output();
}

TEST(CliInfo, TakesThePasswordFromAFileFromInputAndFromAPrompt) {
    CSimulator simulator;
    CTempFile file;
    std::ofstream(file.Path()) << "secret\nsecond line\n";
    const Args fromFile = Hlx("info", simulator.Address(), {"--password-file", file.Path()});
    EXPECT_EQ(RunProcess(fromFile, {{"HLX_PASSWORD=wrong"}, {}, false}).nExit, 0);
    const Args fromInput = Hlx("info", simulator.Address(), {"--password-file", "-"});
    EXPECT_EQ(RunProcess(fromInput, {{"HLX_PASSWORD"}, "secret\n", false}).nExit, 0);

    CProcess prompt(Hlx("info", simulator.Address()), {{"HLX_PASSWORD"}, {}, true});
    ASSERT_TRUE(prompt.ReadUntil("Password of admin at " + simulator.Address() + ": "));
    prompt.Type("secret\n");
    EXPECT_EQ(prompt.Wait(), 0) << prompt.Output();
    EXPECT_EQ(prompt.Output().find("secret"), std::string::npos);
}

// What the device or the network refuses, as exit code and as the number's name.
const std::tuple<const char*, const char*, Args, int, const char*> FAILURES[] = {
    {"refuse=2", "info", {}, 4, "HLX_PASSWORD_ERROR"},
    {"refuse=3", "info", {}, 4, "HLX_OVER_MAXLINK"},
    {"head-family=9", "info", {}, 1, "HLX_VERSION_NOMATCH"},
    {"close@connect", "info", {}, 3, "HLX_NETWORK_FAIL_CONNECT, 8"},
    {"close@login", "info", {}, 3, "HLX_NETWORK_NOT_CONNECT"},
    {"silent-after=60000", "live", {"--stall", "500ms"}, 5, "no frame came for 0.5 s"},
    {nullptr, "live", {"-c", "4"}, 1, "HLX_CHANNEL_ERROR"},
    {nullptr, "info", {"-u", "nobody"}, 4, "HLX_PASSWORD_ERROR"},
    {nullptr, "live", {"-n", "1", "-o", "/no/such/folder/x"}, 1, "No such file or directory"},
    {nullptr, "record", {"-o", "/no/such/folder/x"}, 1, "No such file or directory"},
    {nullptr, "live", {"-n", "1", "-o", "/dev/full"}, 1, "No space left on device"},
};

TEST(CliFailure, HasItsExitCodeAndWords) {
    for (const auto& [sFault, sCommand, extra, nExit, sErrors] : FAILURES) {
        CSimulator simulator(sFault ? Args{"--fault", sFault} : Args{});
        const auto result = RunHlx(sCommand, simulator.Address(), extra);
        EXPECT_EQ(result.nExit, nExit) << sErrors;
        EXPECT_EQ(result.strOutput, "");
        EXPECT_TRUE(Holds(result.strErrors, sErrors)) << result.strErrors;
    }
}

TEST(Cli, WrongCommandLines) {
    const Args lines[] = {{},
                          {"nothing"},
                          {"live"},
                          {"info", "h:0"},
                          {"info", "h", "--timeout", "soon"},
                          {"live", "h", "-c", "-1"},
                          {"live", "h", "-s", "third"},
                          {"live", "h", "-n", "0"},
                          {"live", "h", "-o", "-", "--json"},
                          {"nothing", "--json"},
                          {"info", std::string(64, 'h')},
                          {"info", "127.0.0.1:1", "-u", std::string(36, 'u')},
                          {"info", "h", "--password-file", "/no/such/file"}};
    for (const Args& line : lines) {
        const auto result = RunProcess(Args{HLX_TOOL} + line, WITH_PASSWORD);
        EXPECT_EQ(result.nExit, 2) << testing::PrintToString(line);
        const bool bJson = std::find(line.begin(), line.end(), "--json") != line.end();
        EXPECT_EQ(result.strOutput.find("{\"event\":\"error\""), bJson ? 0 : std::string::npos) << result.strOutput;
        EXPECT_NE(result.strErrors, "");
    }
    EXPECT_EQ(RunProcess({HLX_TOOL, "info", "h"}, {{"HLX_PASSWORD"}, {}, false}).nExit, 2);  // no password anywhere
    for (const Args& line : {Args{HLX_TOOL, "info", "127.0.0.1:1"}, Args{HLX_SIMULATOR, "classic", "--port", "0"}})
        EXPECT_EQ(RunProcess(line, {{"HLX_PASSWORD=" + std::string(36, 'p')}, {}, false}).nExit, 2) << line[0];
}

TEST(CliLive, TheFileHoldsTheFrames) {
    CSimulator simulator({"--speed", "10"});
    CTempFile file;
    std::ofstream(file.Path()) << std::string(5'000'000, 'x');  // longer than what comes
    const auto result = RunHlx("live", simulator.Address(), {"-c", "1", "-n", "60", "--json", "-o", file.Path()});
    ASSERT_EQ(result.nExit, 0) << result.strErrors;
    const char* sFormat = R"({"event":"format","kind":"video","codec":"H264","width":704,"height":576})";
    EXPECT_TRUE(Holds(result.strOutput, std::string(sFormat) + "\n")) << result.strOutput;
    const std::string strEnd = LastLine(result.strOutput);
    EXPECT_NE(strEnd.find("\"reason\":\"frames\""), std::string::npos) << strEnd;
    EXPECT_EQ(Number(strEnd, "frames"), 60);
    EXPECT_EQ(Number(strEnd, "gaps"), 0);
    EXPECT_GE(Number(strEnd, "keyFrames"), 2);
    EXPECT_GT(Number(strEnd, "soundFrames"), 0);
    EXPECT_EQ(Number(strEnd, "bytes"), file.Size());

    ExpectBegins("main-704x576-25.h264", file.Path(), 60);
}

TEST(CliLive, FiguresOnATerminalCountLostFrames) {
    CSimulator simulator({"--speed", "4", "--pack-limit", "1024", "--fault", "piece-lost=7"});
    PROCESS_OPTIONS options = WITH_PASSWORD;
    options.bTerminal = true;
    CProcess hlx(Hlx("live", simulator.Address(), {"-d", "1700ms"}), options);
    EXPECT_EQ(hlx.Wait(), 0);
    const std::string& strShown = hlx.Output();
    const size_t nFigures = strShown.find("\r\033[K   1 s  ");
    ASSERT_NE(nFigures, std::string::npos) << strShown;
    EXPECT_GT(NumberBehind(strShown.substr(nFigures), " 1 s  "), 0) << strShown;
    EXPECT_GT(NumberBehind(strShown.substr(nFigures), " gaps "), 0) << strShown;
}

TEST(CliSignal, LogsOutAndLeavesAWholeFile) {
    for (const auto& [nSignal, nExit] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        CSimulator simulator({"--speed", "4", "--events"});
        CTempFile file;
        CProcess hlx(Hlx("live", simulator.Address(), {"-s", "sub", "--json", "-o", file.Path()}), WITH_PASSWORD);
        ASSERT_TRUE(hlx.ReadUntil("\"event\":\"second\"")) << hlx.Errors();
        hlx.Kill(nSignal);
        EXPECT_EQ(hlx.Wait(), nExit) << hlx.Errors();
        const std::string strEnd = LastLine(hlx.Output());
        EXPECT_EQ(Number(strEnd, "exit"), nExit) << strEnd;
        EXPECT_GT(Number(strEnd, "frames"), 0);
        EXPECT_EQ(Number(strEnd, "bytes"), file.Size());
        EXPECT_EQ(PictureDigests(file.Path()).size(), static_cast<size_t>(Number(strEnd, "frames")));
        simulator.AwaitEvent("logout");
    }
}

TEST(CliLive, SecondSignalDoesNotWaitForAReader) {
    CSimulator simulator({"--fast"});
    CProcess hlx(Hlx("live", simulator.Address(), {"-o", "-"}), WITH_PASSWORD);
    ASSERT_TRUE(hlx.ReadUntil(std::string("\0\0\1", 3)));  // runs; from here on nobody reads
    // A signal that comes while the last one waits to be taken is lost, so there are more than two of them.
    const auto start = std::chrono::steady_clock::now();
    do hlx.Kill(SIGINT);
    while (!hlx.EndsWithin(50ms) && std::chrono::steady_clock::now() - start < 10s);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1500ms);  // one signal alone waits 2 s for the reader
    EXPECT_EQ(hlx.Wait(), 130);
}

// A reader that takes nothing is not the device's silence.
TEST(CliLive, AFullQueueIsNoStall) {
    CSimulator simulator({"--fast"});
    CProcess hlx(Hlx("live", simulator.Address(), {"--stall", "200ms", "-o", "-"}), WITH_PASSWORD);
    ASSERT_TRUE(hlx.ReadUntil(std::string("\0\0\1", 3)));
    EXPECT_FALSE(hlx.EndsWithin(1000ms));  // the queue is full long before
    hlx.Kill(SIGINT);
    EXPECT_EQ(hlx.Wait(), 130) << hlx.Errors();
}

TEST(CliLive, AStreamWithoutFramesLeavesTheFileAlone) {
    CSimulator simulator({"--fault", "silent-after=3000"});
    CTempFile file;
    std::ofstream(file.Path()) << std::string(1'000'000, 'x');
    EXPECT_EQ(RunHlx("live", simulator.Address(), {"--stall", "200ms", "-o", file.Path()}).nExit, 5);
    EXPECT_EQ(file.Size(), 1'000'000);
}

// Standard output is a file that may grow to 512 bytes, which the records before the last one do not reach.
TEST(CliLive, TheLastRecordCounts) {
    CSimulator simulator;
    CTempFile file;
    std::ofstream(file.Path()) << std::string(340, 'x');
    const std::string strLine =
        "trap '' XFSZ; ulimit -f 1; exec " HLX_TOOL " live " + simulator.Address() + " --json -n 1 >> " + file.Path();
    EXPECT_EQ(RunProcess({"/bin/sh", "-c", strLine}, WITH_PASSWORD).nExit, 1);
    EXPECT_EQ(file.Size(), 512);
}

TEST(CliInfo, ASignalDuringTheLoginEndsAtOnce) {
    CSimulator simulator({"--events", "--fault", "silent@login"});
    CProcess hlx(Hlx("info", simulator.Address()), WITH_PASSWORD);
    simulator.AwaitEvent("fault");
    hlx.Kill(SIGTERM);
    EXPECT_TRUE(hlx.EndsWithin(2s));  // no answer is awaited
    EXPECT_EQ(hlx.Wait(), 143);
}

TEST(CliLive, AReaderThatGoesIsANormalEnd) {
    CSimulator simulator({"--speed", "10"});
    CProcess hlx(Hlx("live", simulator.Address(), {"-o", "-"}), WITH_PASSWORD);
    ASSERT_TRUE(hlx.ReadUntil(std::string("\0\0\1", 3)));
    hlx.CloseOutput();
    EXPECT_EQ(hlx.Wait(), 0) << hlx.Errors();
}

TEST(CliRepair, ACutFileIsMadeWholeAndOthersAreLeftAlone) {
    CTempFile cut, other;
    std::ofstream(other.Path()) << "no film";
    const unsigned char frame[70000] = {};
    CAVIWriter writer;
    ASSERT_TRUE(writer.Open(cut.Path().c_str(), {}, nullptr, true, AVI_TYPE_STD, 0));
    writer.WriteData(frame, sizeof(frame), 0, true, true, false);
    EXPECT_EQ(RunProcess({HLX_TOOL, "repair", cut.Path()}).nExit, 1) << "it is being written";
    ASSERT_TRUE(writer.Open(other.Path().c_str(), {}, nullptr, true, AVI_TYPE_STD, 0));  // lets the first go
    writer.Close();
    std::ofstream(other.Path()) << "no film";
    const auto first = RunProcess({HLX_TOOL, "repair", "--json", other.Path(), cut.Path()});
    EXPECT_EQ(first.nExit, 1);
    EXPECT_TRUE(Holds(first.strErrors, other.Path() + ": no AVI file that was recorded here"));
    EXPECT_TRUE(Holds(first.strOutput, "\"result\":\"repaired\",\"frames\":1,")) << first.strOutput;
    const auto second = RunProcess({HLX_TOOL, "repair", cut.Path()});
    EXPECT_EQ(second.nExit, 0);
    EXPECT_EQ(second.strOutput, cut.Path() + ": whole, 1 frames, 0.040 s, 0 B of sound\n");
    EXPECT_EQ(other.Size(), 7);
}

}  // namespace
