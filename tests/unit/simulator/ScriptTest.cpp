// Script and control lines: their form, and what they have a recorder do.
#include "RecorderFixture.h"
#include "simulator/classic/ClassicScript.h"
#include "simulator/SimScript.h"

namespace {

TEST(SimScript, LineIsTimeAndWords) {
    // text, milliseconds of its time and its turn, words, part of the sentence; null: a good line
    const std::tuple<const char*, int, int, std::vector<std::string>, const char*> cases[] = {
        {"2s motion 0 on", 2000, 0, {"motion", "0", "on"}, nullptr},
        {"\t every  30s\tcut   close\r", 30000, 30000, {"cut", "close"}, nullptr},
        {"reboot", 0, 0, {"reboot"}, nullptr},
        {"1s reboot # then 2s", 1000, 0, {"reboot"}, nullptr},
        {"", 0, 0, {}, nullptr},
        {"  # nothing", 0, 0, {}, nullptr},
        {"2x motion", 0, 0, {}, "'2x' is no time"},
        {"every", 0, 0, {}, "is no time"},
        {"every cut close", 0, 0, {}, "'cut' is no time"},
        {"0 reboot", 0, 0, {}, "'0' is no time"},
        {"5s", 0, 0, {}, "nothing to do"},
        {"every 5s # what?", 0, 0, {}, "nothing to do"},
    };
    for (const auto& [pText, at, every, words, pError] : cases) {
        SIM_SCRIPT_LINE line;
        std::string sError;
        EXPECT_EQ(ParseScriptLine(pText, line, sError), pError == nullptr) << pText;
        if (pError) {
            EXPECT_NE(sError.find(pError), std::string::npos) << pText << ": " << sError;
            continue;
        }
        EXPECT_EQ(line.at.count(), at) << pText;
        EXPECT_EQ(line.every.count(), every) << pText;
        EXPECT_EQ(line.words, words) << pText;
    }
}

TEST(ClassicScript, WrongWordsGiveASentence) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "no word ''"},
        {{"dance"}, "there are motion, sensor"},
        {{"motion"}, "motion N on|off"},
        {{"motion", "0", "maybe"}, "motion N on|off"},
        {{"motion", "0", "on", "on"}, "motion N on|off"},
        {{"motion", "4", "on"}, "'4' is no channel"},
        {{"sensor", "-1", "on"}, "'-1' is no channel"},
        {{"record", "luck", "0", "on"}, "record CAUSE"},
        {{"record", "motion", "0x1", "on"}, "'0x1' is no channel"},
        {{"cut", "gently"}, "cut close|reset|silent"},
        {{"stream-stop", "4"}, "'4' is no channel"},
        {{"stream-stop"}, "stream-stop N"},
        {{"reboot", "now"}, "reboot"},
        {{"fault", "refuse=x"}, "a number that is none"},
    };
    for (const auto& [words, pPart] : cases) {
        std::string sError;
        EXPECT_FALSE(ParseClassicAction(words, 4, sError)) << pPart;
        EXPECT_NE(sError.find(pPart), std::string::npos) << sError;
    }
}

class ClassicScriptTest : public RecorderTest {
protected:
    void Do(const std::string& sText) {
        SIM_SCRIPT_LINE line;
        std::string sError;
        ASSERT_TRUE(ParseScriptLine(sText, line, sError)) << sError;
        const CLASSIC_ACTION action = ParseClassicAction(line.words, m_config.channels, sError);
        ASSERT_TRUE(action) << sError;
        action(*m_pRecorder);
    }
};

TEST_F(ClassicScriptTest, StatusWordsAreToldToClients) {
    CWireClient client(StartRecorder());
    ASSERT_TRUE(client.Login());
    // Line, message, place of the mask in it, mask.
    const std::tuple<const char*, std::uint32_t, size_t, std::uint64_t> cases[] = {
        {"motion 0 on", 0x9000002, 20, 1},          {"motion 15 on", 0x9000002, 20, 0x8001},
        {"motion 0 off", 0x9000002, 20, 0x8000},    {"sensor 3 on", 0x9000003, 20, 8},
        {"video-loss 2 on", 0x9000001, 20, 4},      {"record manual 1 on", 0x9000004, 20, 2},
        {"record schedule 2 on", 0x9000004, 28, 4}, {"record motion 3 on", 0x9000004, 36, 8},
        {"record sensor 4 on", 0x9000004, 44, 16},  {"record manual 1 off", 0x9000004, 20, 0}};
    bool bFirst = true;
    for (const auto& [pLine, id, at, mask] : cases) {
        Do(pLine);
        const auto message = client.Next(id);
        ASSERT_TRUE(message) << pLine;
        EXPECT_EQ(Long(message->payload, at), mask) << pLine;
        if (!std::exchange(bFirst, false)) continue;
        EXPECT_TRUE(client.Next(0x9000004));  // with the first status all of it is told
    }
}

}  // namespace
