// The first 64 bytes of a link, put together as they come.
#pragma once

#include <cstring>
#include <span>

#include "protocol/LinkFrame.h"

/// Takes the first block in whatever pieces. One thread.
class CFirstBlock {
public:
    enum class STATE { UNFINISHED, WRONG, WHOLE };

    /// Where the next bytes go. Empty once the block is whole.
    std::span<char> Room() { return std::span(m_bytes).subspan(m_received); }
    /// `count` bytes, at most those of Room, were written there.
    void Received(size_t count) { m_received += count; }

    /// WRONG as soon as the start says that it is none.
    STATE State() const {
        constexpr char START[] = {'h', 'e', 'a', 'd'};
        if (m_received >= sizeof(START) && std::memcmp(m_bytes, START, sizeof(START)) != 0) return STATE::WRONG;
        return m_received < sizeof(m_bytes) ? STATE::UNFINISHED : STATE::WHOLE;
    }

    /// The whole block.
    PRE_SEND_DATA Get() const {
        PRE_SEND_DATA pre;
        std::memcpy(&pre, m_bytes, sizeof(pre));
        return pre;
    }

private:
    char m_bytes[sizeof(PRE_SEND_DATA)] = {};
    size_t m_received = 0;
};
