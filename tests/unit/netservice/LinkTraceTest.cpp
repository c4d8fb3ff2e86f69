// The record of what goes over the links: whole messages without their secrets, whatever comes.
#include "netservice/LinkTrace.h"

#include <cerrno>
#include <fstream>

#include "EngineFixture.h"
#include "protocol/ClassicProtocol.h"

namespace {

constexpr SWL_socket_t SOCK = static_cast<SWL_socket_t>(7);

std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) text += "0123456789abcdef"[byte >> 4 & 15], text += "0123456789abcdef"[byte & 15];
    return text;
}

class LinkTrace : public testing::Test {
protected:
    LinkTrace() { EXPECT_TRUE(m_trace.Start(m_folder.File("x").c_str())); }
    ~LinkTrace() override { m_trace.Stop(); }
    void Receive(const std::string& bytes) { m_trace.Received(SOCK, bytes.data(), static_cast<int>(bytes.size())); }
    /// Lines of the record without their times.
    std::vector<std::string> Lines() const {
        std::ifstream file(m_folder.File("x"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) lines.push_back(line.substr(line.find(' ') + 1));
        return lines;
    }

    CTempDir m_folder;
    CLinkTrace& m_trace = CLinkTrace::Instance();
};

TEST_F(LinkTrace, WholeMessagesAndHowTheLinkEnds) {
    const std::string huge = "1111" + std::string("\x00\x00\x00\x02", 4);  // 32 MiB, too long for a record
    m_trace.Opened(SOCK, "10.0.0.1:6036");
    for (const char byte : Framed("one") + PackedFrame("two")) Receive(std::string(1, byte));
    Receive("junk is all there is");
    Receive(huge + std::string(1 << 20, 'x'));
    for (int i = 1; i < 32; ++i) Receive(std::string(1 << 20, 'x'));
    Receive(Framed("three") + Framed("cut").substr(0, 9));
    errno = EAGAIN;
    m_trace.Received(SOCK, nullptr, -1);
    m_trace.Received(SOCK, nullptr, 0);
    m_trace.Received(SOCK, nullptr, 0);
    m_trace.Closed(SOCK);
    m_trace.Opened(SOCK, "10.0.0.2:6036");
    errno = ECONNRESET;
    m_trace.Received(SOCK, nullptr, -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{"1", "1 open 10.0.0.1:6036", "1 in " + Hex(Framed("one")),
                                        "1 in " + Hex(PackedFrame("two")), "1 in " + Hex("junk is all there is"),
                                        "1 in " + Hex(Framed("three")), "1 in " + Hex(Framed("cut").substr(0, 9)),
                                        "1 end", "1 close", "2 open 10.0.0.2:6036", "2 reset"}));
}

TEST_F(LinkTrace, EndsQuietlyWhenTheDiskIsFull) {
    m_trace.Opened(SOCK, "10.0.0.1:6036");
    const CFullDisk full(100);
    Receive(Framed(std::string(40, 'x')) + Framed(std::string(40, 'x')));  // two lines, of which the first fails
    m_trace.Closed(SOCK);
    EXPECT_FALSE(CLinkTrace::IsOn());
}

}  // namespace
