// The content of a store file, read by crypto_read_store_content: DER, PEM blocks, and the check whether anything else
// may be a CRL. And that of a file that a user names, read by crypto_read_named_content, which may be a container. The
// reported items must lie within their bounds.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/crypto/crypto_service.h"

namespace {

void look(const CRYPTO_STORE_ITEM* item, void* /*context*/) {
    const bool isFound = item->dwKind == CRYPTO_STORE_ITEM_CERTIFICATE || item->dwKind == CRYPTO_STORE_ITEM_CRL;
    if (isFound != (item->cbEncoded != 0) || isFound != (item->szProblem == nullptr) ||
        (isFound && item->pbEncoded[0] != 0x30) || (!isFound && std::strlen(item->szProblem) == 0)) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static_cast<void>(crypto_read_store_content(data, static_cast<DWORD>(size), "a.crl", look, nullptr));
    static_cast<void>(crypto_read_named_content(data, static_cast<DWORD>(size), nullptr, look, nullptr));
    return 0;
}
