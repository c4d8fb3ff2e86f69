// Zeroed memory straight from the system, for buffers of which most is never touched.
#pragma once

#include <cstddef>
#include <utility>

/// A block of zeroed pages. Pages cost memory only once they are touched, and all go back to the system with the block.
/// Not thread-safe.
class CPageBlock {
public:
    CPageBlock() = default;
    ~CPageBlock() { Release(); }
    CPageBlock(CPageBlock&& other) noexcept { Swap(other); }
    CPageBlock& operator=(CPageBlock&& other) noexcept {
        Swap(other);
        return *this;
    }

    /// Takes `size` bytes in place of what it held. False, holding nothing, if memory is short or `size` is 0.
    bool Allocate(size_t size);
    void Release();

    /// Gives the touched pages back; the contents are zero again.
    void GiveBackPages();

    unsigned char* Data() const { return m_pData; }
    size_t Size() const { return m_size; }

private:
    void Swap(CPageBlock& other) noexcept {
        std::swap(m_pData, other.m_pData);
        std::swap(m_size, other.m_size);
    }

    unsigned char* m_pData = nullptr;
    size_t m_size = 0;
};
