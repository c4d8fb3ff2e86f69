// Inside CPlaybackMan only.
#pragma once

#include "main_utility/media/PlaybackMan.h"

class CPlaybackMan::CTurn {
public:
    CTurn(CPlaybackMan& man, CPUB_Lock& lock) : m_lock(lock) {
        ++man.m_waiting;
        m_lock.Lock();
        --man.m_waiting;
    }
    ~CTurn() { m_lock.UnLock(); }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

private:
    CPUB_Lock& m_lock;
};
