#include "tests/suite/FailingMemory.h"

#include <atomic>
#include <climits>
#include <cstddef>
#include <new>

namespace {

constexpr std::size_t kChunk = 65536;
std::atomic<int> successesLeft = INT_MAX;

} // namespace

/// The one that file operations use for their chunks.
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (size == kChunk && successesLeft != INT_MAX && successesLeft-- <= 0) {
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace fw::test {

FailingMemory::FailingMemory(int successes) {
    successesLeft = successes;
}

FailingMemory::~FailingMemory() {
    successesLeft = INT_MAX;
}

} // namespace fw::test
