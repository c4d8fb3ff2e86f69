#include "hlx/FrameWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <future>

namespace {

using namespace std::chrono_literals;

std::vector<uint8_t> ReadAll(int nFd) {
    std::vector<uint8_t> bytes;
    uint8_t buffer[65536];
    for (ssize_t nRead; (nRead = read(nFd, buffer, sizeof buffer)) > 0;)
        bytes.insert(bytes.end(), buffer, buffer + nRead);
    return bytes;
}

// More than the queue and the pipe hold goes through unchanged and in order, pushed against a reader.
TEST(FrameWriter, EverythingArrivesInOrder) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    auto received = std::async(std::launch::async, [&] { return ReadAll(ends[0]); });
    std::vector<uint8_t> sent;
    {
        CFrameWriter writer(ends[1], true, [] {});
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
    close(ends[0]);
}

}  // namespace
