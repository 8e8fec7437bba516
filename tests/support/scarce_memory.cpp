#include "tests/support/scarce_memory.h"

#include <new>

namespace {

thread_local bool g_isScarce = false;
thread_local std::size_t g_scarceSize = 0;

}  // namespace

// Replaces the one of the standard library.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (g_isScarce && (g_scarceSize == ZYNE::Testing::ScarceMemory::ANY_SIZE || g_scarceSize == size)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace ZYNE::Testing {

ScarceMemory::ScarceMemory(std::size_t size) {
    g_scarceSize = size;
    g_isScarce = true;
}

ScarceMemory::~ScarceMemory() {
    g_isScarce = false;
}

}  // namespace ZYNE::Testing
