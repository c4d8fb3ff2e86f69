#include "support/TestSupport.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

bool WaitUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

int OpenDescriptorCount() {
    constexpr int OWN = 1;  // the directory that is being read
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator())) - OWN;
}

int ThreadCount() {
    // With the first thread of a process a sanitizer starts one of its own, which must be counted from the beginning. The
    // first thread itself must not, though the system may list it a moment longer than its join.
    [[maybe_unused]] static const bool bOnce = [] {
        pid_t first = 0;
        std::thread([&] { first = gettid(); }).join();
        return WaitUntil([&] { return !fs::exists("/proc/self/task/" + std::to_string(first)); });
    }();
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

int ConnectLoopback(unsigned short port) {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return sock;
    close(sock);
    return -1;
}

std::string ReadBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

CTempDir::CTempDir() {
    std::string path = (fs::temp_directory_path() / "hlx-test-XXXXXX").string();
    if (!mkdtemp(path.data())) throw std::runtime_error("no temporary directory");
    m_path = path;
}

CTempDir::~CTempDir() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

CFullDisk::CFullDisk(size_t room) : m_oldHandler(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit narrow{room, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &narrow);
}

CFullDisk::~CFullDisk() {
    setrlimit(RLIMIT_FSIZE, &m_before);
    signal(SIGXFSZ, m_oldHandler);
}
