// What the library logs while a test looks.
#pragma once

#include <string>

#include "sdk_common/YLog4C.h"

/// Hears every record from construction until Text. One at a time.
class CHeardLog {
public:
    CHeardLog() {
        YLog4C::SetLogLevel(YLOG_BUFF);
        YLog4C::SetLog2MultiThread(true);
        YLog4C::SetLog2Func([](int, const char* pText, void* pUser) { *static_cast<std::string*>(pUser) += pText; },
                            &m_text);
    }
    ~CHeardLog() { End(); }
    CHeardLog(const CHeardLog&) = delete;
    CHeardLog& operator=(const CHeardLog&) = delete;

    const std::string& Text() {
        End();
        return m_text;
    }

    /// How often the text so far has `pPart`.
    size_t Count(const std::string& part) {
        size_t count = 0;
        for (size_t at = Text().find(part); at != std::string::npos; at = m_text.find(part, at + 1)) ++count;
        return count;
    }

private:
    void End() {
        YLog4C::GetInstance()->FlushLog();
        YLog4C::SetLog2Func(nullptr, nullptr);
        YLog4C::GetInstance()->CloseLog();
        YLog4C::SetLog2MultiThread(false);
    }

    std::string m_text;
};
