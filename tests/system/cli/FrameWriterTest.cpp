#include "hlx/FrameWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <future>

namespace {

using namespace std::chrono_literals;

struct CPipe {
    CPipe() {
        signal(SIGPIPE, SIG_IGN);
        if (pipe2(ends, O_CLOEXEC) != 0) abort();
    }
    ~CPipe() { close(ends[0]); }
    int ends[2];  // the writer closes the second
};

std::vector<uint8_t> ReadAll(int nFd) {
    std::vector<uint8_t> bytes;
    uint8_t buffer[65536];
    for (ssize_t nRead; (nRead = read(nFd, buffer, sizeof buffer)) > 0;)
        bytes.insert(bytes.end(), buffer, buffer + nRead);
    return bytes;
}

// More than the queue and the pipe hold goes through unchanged and in order, pushed against a reader.
TEST(FrameWriter, EverythingArrivesInOrder) {
    CPipe pipe;
    auto received = std::async(std::launch::async, [&] { return ReadAll(pipe.ends[0]); });
    std::vector<uint8_t> sent;
    {
        CFrameWriter writer(pipe.ends[1], true, [] {});
        for (size_t i = 0; i < 300; ++i) {
            std::vector<uint8_t> frame(i * 500 + 1);
            for (size_t j = 0; j < frame.size(); ++j) frame[j] = static_cast<uint8_t>(i * 31 + j * 7);
            sent.insert(sent.end(), frame.begin(), frame.end());
            ASSERT_TRUE(writer.Push(frame.data(), frame.size()));
        }
        ASSERT_GT(sent.size(), CFrameWriter::LONGEST_QUEUE);
        EXPECT_TRUE(writer.Drain(10s));
        EXPECT_EQ(writer.Error(), 0);
    }
    EXPECT_TRUE(received.get() == sent);
}

// A reader that takes nothing blocks Push at a full queue; closing the entrance frees it, and the end does not hang.
TEST(FrameWriter, ClosedEntranceFreesABlockedPush) {
    CPipe pipe;
    CFrameWriter writer(pipe.ends[1], true, [] {});
    const std::vector<uint8_t> frame(1 << 20);
    std::atomic<size_t> nPushed{0};
    auto pusher = std::async(std::launch::async, [&] {
        while (writer.Push(frame.data(), frame.size())) ++nPushed;
    });
    ASSERT_EQ(pusher.wait_for(200ms), std::future_status::timeout);
    writer.CloseEntrance();
    ASSERT_EQ(pusher.wait_for(10s), std::future_status::ready);
    EXPECT_LE(nPushed * frame.size(), 2 * CFrameWriter::LONGEST_QUEUE);
    EXPECT_FALSE(writer.Drain(10ms));
}

TEST(FrameWriter, AReaderThatGoesIsTold) {
    CPipe pipe;
    std::promise<void> told;
    CFrameWriter writer(pipe.ends[1], true, [&] { told.set_value(); });
    close(pipe.ends[0]);
    pipe.ends[0] = -1;
    const uint8_t byte = 0;
    writer.Push(&byte, 1);
    ASSERT_EQ(told.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_EQ(writer.Error(), EPIPE);
    EXPECT_FALSE(writer.Push(&byte, 1));
}

}  // namespace
