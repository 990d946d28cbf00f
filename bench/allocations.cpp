#include "bench/allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace {

thread_local bool counting = false;
thread_local long bytesInUse = 0;
thread_local bench::Allocations counted;

}  // namespace

namespace bench {

Allocations allocationsOf(const std::function<void()>& action) {
    counted = {};
    bytesInUse = 0;
    counting = true;
    try {
        action();
    } catch (...) {
        counting = false;
        throw;
    }
    counting = false;
    return counted;
}

}  // namespace bench

// The GNU C library documents that a program may define these functions, and keeps its own under the names below.
#if BENCH_COUNT_ALLOCATIONS

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

void* added(void* block) {
    if (counting && block != nullptr) {
        ++counted.count;
        bytesInUse += static_cast<long>(::malloc_usable_size(block));
        counted.peakBytes = std::max(counted.peakBytes, bytesInUse);
    }
    return block;
}

void removed(void* block) {
    if (counting && block != nullptr) {
        bytesInUse -= static_cast<long>(::malloc_usable_size(block));
    }
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return added(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
    return added(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
    removed(block);
    return added(__libc_realloc(block, size));
}
void* memalign(std::size_t alignment, std::size_t size) {
    return added(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return added(__libc_memalign(alignment, size));
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = added(__libc_memalign(alignment, size));
    return *block != nullptr ? 0 : ENOMEM;
}
void free(void* block) {
    removed(block);
    __libc_free(block);
}
}

#endif
