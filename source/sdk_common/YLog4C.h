// The library's log.
#pragma once

#include <atomic>

/// The single logger. It keeps its switches; nothing is written. Any thread.
class YLog4C {
public:
    static YLog4C* GetInstance() {
        static YLog4C instance;
        return &instance;
    }
    YLog4C(const YLog4C&) = delete;
    YLog4C& operator=(const YLog4C&) = delete;

    void SetLog2Console(bool bOn) { m_bConsole = bOn; }
    void SetLog2File(bool bOn) { m_bFile = bOn; }
    bool IsOn() const { return m_bConsole || m_bFile; }

private:
    YLog4C() = default;

    std::atomic<bool> m_bConsole{false};
    std::atomic<bool> m_bFile{false};
};
