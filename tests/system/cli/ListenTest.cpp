// hlx listen against recorders that call in.

#include <csignal>

#include "Process.h"
#include "support/Test.h"

namespace {

// A listener on a free port that tells JSON.
struct CListening : CServer {
    explicit CListening(const Args& extra) : CServer(Line(extra)) {
        EXPECT_TRUE(Holds(Output(), "{\"event\":\"listening\""));
    }

    static Args Line(const Args& extra) {
        Args args = {HLX_TOOL, "listen", "--port", "0", "--json"};
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    }
};

// A recorder of four channels named Gate that calls the listener.
Args Caller(const CListening& listening, const char* sID, const Args& extra = {}) {
    return Args{HLX_SIMULATOR, "classic", "--call-in", listening.Address(), "--register-id", sID,       "--channels",
                "4",           "--name",  "Gate",      "--call-again",      "50ms",          "--events"} +
           extra;
}

constexpr const char* GATE =
    R"(,"name":"Gate","channels":4,"address":"127.0.0.1","mac":"02:48:4c:58:00:01","from":"127.0.0.1"})";

TEST(CliListen, TellsWhoComesGoesAndComesAgain) {
    CListening listening({"--device", "4000000000:admin"});
    CProcess caller(Caller(listening, "4000000000", {"--control", "-"}),
                    {{"HLX_PASSWORD=secret"}, "1s cut reset\n", false});
    const std::string strWho = std::string(R"("id":4000000000,"session":)");
    for (const std::string& strLine :
         {R"({"event":"device",)" + strWho + "1" + GATE, R"({"event":"left",)" + strWho + "1" + GATE,
          R"({"event":"device",)" + strWho + "2" + GATE}) {
        ASSERT_TRUE(listening.ReadUntil(strLine + "\n")) << listening.Output();
    }
    listening.Kill(SIGINT);
    EXPECT_EQ(listening.Wait(), 130) << listening.Errors();
    EXPECT_TRUE(caller.ReadUntil("\"vain-call\""));  // comes behind the end of its link
    EXPECT_NE(caller.Output().find("\"logout\""), std::string::npos);
}

TEST(CliListen, AnUnknownCallerIsToldAndTurnedAway) {
    CListening listening({"--device", "1:admin", "--count", "2"});
    CProcess caller(Caller(listening, "2"), WITH_PASSWORD);
    const std::string strLine = "{\"event\":\"unknown\",\"id\":2,\"from\":\"127.0.0.1\"}\n";
    EXPECT_EQ(listening.Wait(), 0);
    const std::string& strOutput = listening.Output();
    EXPECT_EQ(strOutput.substr(strOutput.find('\n') + 1), strLine + strLine);
    EXPECT_TRUE(caller.ReadUntil(R"({"event":"closed","link":1,"bytes":64})"));
    EXPECT_EQ(caller.Output().find("\"login\""), std::string::npos);
}

TEST(CliListen, EachDeviceHasItsPassword) {
    CTempDir folder;
    const std::string strFile = folder.File("password");
    std::ofstream(strFile) << "other\n";
    CListening listening({"--device", "1:admin", "--device", "2:admin:" + strFile, "-n", "2"});
    CProcess wrong(Caller(listening, "2"), WITH_PASSWORD);  // is asked with "other"
    EXPECT_TRUE(wrong.ReadUntil("\"refused\""));
    CProcess first(Caller(listening, "1"), WITH_PASSWORD);
    CProcess second(Caller(listening, "2"), {{"HLX_PASSWORD=other"}, {}, false});
    EXPECT_EQ(listening.Wait(), 0);
    for (const char* sID : {"1", "2"}) {
        const std::string strCame = std::string("{\"event\":\"device\",\"id\":") + sID + ",\"session\":";
        EXPECT_NE(listening.Output().find(strCame), std::string::npos) << listening.Output();
    }
    EXPECT_EQ(listening.Output().find("secret"), std::string::npos);
}

TEST(CliListen, WhatCannotBeListenedForIsAFailure) {
    CListening first({});
    const std::string strPort = first.Address().substr(first.Address().find(':') + 1);
    const auto taken = RunProcess({HLX_TOOL, "listen", "--port", strPort}, WITH_PASSWORD);
    EXPECT_EQ(taken.nExit, 1);
    EXPECT_NE(taken.strErrors.find("Address already in use"), std::string::npos) << taken.strErrors;
    const auto length = RunProcess({HLX_TOOL, "listen", "--port", "0", "--duration", "50ms"}, WITH_PASSWORD);
    EXPECT_EQ(length.nExit, 0) << length.strErrors;

    const std::string strLong(36, 'u');
    for (const char* sDevice : {"", "admin", "7", "7:", "-1:admin", "7:admin:", "4294967296:admin", "7:admin:/no/such"})
        EXPECT_EQ(RunProcess({HLX_TOOL, "listen", "-p", "0", "--device", sDevice}, WITH_PASSWORD).nExit, 2) << sDevice;
    EXPECT_EQ(RunProcess({HLX_TOOL, "listen", "-p", "0", "--device", "7:" + strLong}, WITH_PASSWORD).nExit, 2);
    const auto secretless =
        RunProcess({HLX_TOOL, "listen", "-p", "0", "--device", "7:admin"}, {{"HLX_PASSWORD"}, {}, false});
    EXPECT_EQ(secretless.nExit, 2);
    EXPECT_NE(secretless.strErrors.find("no password of device 7"), std::string::npos) << secretless.strErrors;
}

// hlx-simulator's own words, as a process.
TEST(CliSimulator, AnswersControlLinesAndRunsItsScript) {
    CTempDir folder;
    const std::string strScript = folder.File("script");
    std::ofstream(strScript) << "# a day\nsensor 1 on\n20ms record manual 2 on\nevery 30ms cut close";
    CProcess simulator(
        {HLX_SIMULATOR, "classic", "--channels", "4", "--script", strScript, "--control", "-", "--events"},
        {{"HLX_PASSWORD=secret"}, "motion 1 on\nmotion 4 on\n\n10ms reboot", false});
    EXPECT_TRUE(simulator.ReadUntil(R"({"event":"script","line":"10ms reboot"})"
                                    "\n"));
    const std::string strRepeated = R"({"event":"script","line":"every 30ms cut close"})"
                                    "\n";
    EXPECT_TRUE(simulator.ReadUntil(strRepeated + strRepeated));
    simulator.Kill(SIGTERM);
    EXPECT_EQ(simulator.Wait(), 0);
    EXPECT_EQ(simulator.Output().find("{\"event\":\"ready\""), 0u);
    for (const char* sLine :
         {R"({"event":"control","line":"motion 1 on","ok":true})",
          R"({"event":"control","line":"motion 4 on","ok":false,"message":"'4' is no channel)",
          R"({"event":"control","line":"10ms reboot","ok":true})", R"({"event":"script","line":"sensor 1 on"})",
          R"({"event":"script","line":"20ms record manual 2 on"})"}) {
        EXPECT_NE(simulator.Output().find(sLine), std::string::npos) << sLine << "\n" << simulator.Output();
    }

    std::ofstream(strScript) << "1s reboot\n1s dance\n";
    const auto wrong = RunProcess({HLX_SIMULATOR, "classic", "--script", strScript}, WITH_PASSWORD);
    EXPECT_EQ(wrong.nExit, 2);
    EXPECT_NE(wrong.strErrors.find("line 2: There is no word 'dance'"), std::string::npos) << wrong.strErrors;
}

}  // namespace
