// Measures how long a scope takes.
#pragma once

#include "sdk_common/PubTime.h"

/// Takes the tick at construction and the time that passed at destruction, and prints nothing: a place for a debugger
/// to look. The texts are borrowed.
class CTimeCount {
public:
    CTimeCount(const char* pText, const char* pFile, int iLine)
        : m_str(pText), m_file(pFile), m_line(iLine), m_start(GetTickCount()) {}
    virtual ~CTimeCount() { [[maybe_unused]] const tuint32 elapsed = GetTickCount() - m_start; }
    CTimeCount(const CTimeCount&) = delete;
    CTimeCount& operator=(const CTimeCount&) = delete;

private:
    [[maybe_unused]] const char* m_str;
    [[maybe_unused]] const char* m_file;
    [[maybe_unused]] int m_line;
    tuint32 m_start;
};
