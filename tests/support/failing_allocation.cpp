#include "tests/support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace testkit {

thread_local long allocationsLeft = -1;

bool isAllocationGranted() {
    return allocationsLeft < 0 || allocationsLeft-- != 0;
}

}  // namespace testkit

void* operator new(std::size_t size) {
    void* const block = testkit::isAllocationGranted() ? std::malloc(size == 0 ? 1 : size) : nullptr;
    return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return testkit::isAllocationGranted() ? std::malloc(size == 0 ? 1 : size) : nullptr;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
