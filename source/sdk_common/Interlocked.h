// An atomic counter.
#pragma once

#include <atomic>

#include "protocol/WireTypes.h"

/// Every operation is sequentially consistent. Any thread.
class Interlocked {
public:
    explicit Interlocked(tint32 value = 0) : m_counter(value) {}

    /// Both give the new value.
    tint32 Increment() { return ExchangeAdd(1) + 1; }
    tint32 Decrement() { return ExchangeAdd(-1) - 1; }

    /// Both give the old value.
    tint32 SetValue(tint32 value) { return m_counter.exchange(value); }
    tint32 ExchangeAdd(tint32 value) { return m_counter.fetch_add(value); }

    operator tint32() const { return m_counter.load(); }

private:
    std::atomic<tint32> m_counter;
};
