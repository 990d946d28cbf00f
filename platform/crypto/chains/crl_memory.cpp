#include "platform/crypto/chains/crl_memory.h"

#include <utility>

#include "platform/support/never_destroyed.h"

namespace tallow::platform {

void CrlMemory::remember(const std::string& url, RememberedCrl crl) {
    // A defect may be the result of exhausted memory.
    if (crl.crl && crl.crl->defect == nullptr) {
        const std::size_t size = crl.crl->maximumMemory();
        memory_.remember(url, std::move(crl), size);
    }
}

CrlMemory& crlMemory() {
    static NeverDestroyed<CrlMemory> memory(std::size_t{256}, std::size_t{64} << 20);
    return *memory;
}

}  // namespace tallow::platform
