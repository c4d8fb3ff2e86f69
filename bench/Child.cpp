#include "bench/Child.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

CChild::CChild(const std::function<void()>& work) : m_pid(fork()) {
    if (m_pid != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    work();
    _exit(0);
}

CChild::CChild(const std::vector<const char*>& command)
    : CChild([&] {
          const int nothing = open("/dev/null", O_RDWR);
          for (int fd = 0; fd < 3; ++fd) dup2(nothing, fd);
          std::vector<char*> words;
          for (const char* pWord : command) words.push_back(const_cast<char*>(pWord));
          words.push_back(nullptr);
          execvp(words[0], words.data());
      }) {}

CChild::~CChild() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

double CChild::ProcessorSeconds() const {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(m_pid, &clock) != 0 || clock_gettime(clock, &used) != 0) return 0;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

double CChild::ResidentBytes() const {
    std::ifstream file("/proc/" + std::to_string(m_pid) + "/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

int CChild::Threads() const {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/" + std::to_string(m_pid) + "/task"))
        ++count;
    return count;
}

double CChild::WakeUps() const {
    double sum = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(m_pid) + "/task")) {
        std::ifstream file(entry.path() / "status");
        for (std::string sWord; file >> sWord;) {
            double count = 0;
            if (sWord == "voluntary_ctxt_switches:" && file >> count) sum += count;
        }
    }
    return sum;
}

void* SharedBlock(size_t size) {
    void* pBlock = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pBlock == MAP_FAILED) std::abort();
    return pBlock;
}

void Await(const std::function<bool()>& ready, const char* pWhat) {
    for (int round = 0; !ready(); ++round) {
        if (round == 20000) {
            std::fprintf(stderr, "waited in vain for %s\n", pWhat);
            _exit(1);
        }
        Pause(0.001);
    }
}

void Pause(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }
