// A function of the application or of a layer above, with the value that it wants back.
#pragma once

#include <mutex>
#include <utility>

#include "sdk_common/PubLock.h"

/// `Function` is a pointer to a function whose user value the caller puts at its place. Function and value are taken
/// and replaced together. Any thread; the lock is a leaf, and never held during a call, so a pair that was replaced may
/// be called once more.
template <class Function>
class CCallbackPair {
public:
    /// Null takes the function off.
    void Set(Function pFunction, void* pUser) {
        std::lock_guard guard(m_lock);
        m_pair = {pFunction, pUser};
    }

    /// The function, which may be null, and its value.
    std::pair<Function, void*> Get() const {
        std::lock_guard guard(m_lock);
        return m_pair;
    }

private:
    mutable CPUB_Lock m_lock;
    std::pair<Function, void*> m_pair{};
};
