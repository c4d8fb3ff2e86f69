// The allocation functions of a program that makes them fail: linked into such a test program only.
#include <cstdlib>
#include <new>

#include "sdk_common/SystemFault.h"

namespace {

void* Allocate(std::size_t size, std::size_t alignment = 0) noexcept {
    if (NextSystemFault(SYSTEM_CALL::ALLOCATE).error != 0) return nullptr;
    if (alignment == 0) return std::malloc(size == 0 ? 1 : size);
    void* pMemory = nullptr;
    return posix_memalign(&pMemory, alignment, size) == 0 ? pMemory : nullptr;
}

void* Sure(void* pMemory) {
    if (!pMemory) throw std::bad_alloc();
    return pMemory;
}

}  // namespace

using Align = std::align_val_t;
using NoThrow = std::nothrow_t;

void* operator new(std::size_t size) { return Sure(Allocate(size)); }
void* operator new[](std::size_t size) { return Sure(Allocate(size)); }
void* operator new(std::size_t size, const NoThrow&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const NoThrow&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, Align align) { return Sure(Allocate(size, std::size_t(align))); }
void* operator new[](std::size_t size, Align align) { return Sure(Allocate(size, std::size_t(align))); }
void* operator new(std::size_t size, Align align, const NoThrow&) noexcept {
    return Allocate(size, std::size_t(align));
}
void* operator new[](std::size_t size, Align align, const NoThrow&) noexcept {
    return Allocate(size, std::size_t(align));
}
void operator delete(void* pMemory) noexcept { std::free(pMemory); }
void operator delete[](void* pMemory) noexcept { std::free(pMemory); }
void operator delete(void* pMemory, std::size_t) noexcept { std::free(pMemory); }
void operator delete[](void* pMemory, std::size_t) noexcept { std::free(pMemory); }
void operator delete(void* pMemory, const NoThrow&) noexcept { std::free(pMemory); }
void operator delete[](void* pMemory, const NoThrow&) noexcept { std::free(pMemory); }
void operator delete(void* pMemory, Align) noexcept { std::free(pMemory); }
void operator delete[](void* pMemory, Align) noexcept { std::free(pMemory); }
void operator delete(void* pMemory, std::size_t, Align) noexcept { std::free(pMemory); }
void operator delete[](void* pMemory, std::size_t, Align) noexcept { std::free(pMemory); }
