#include <limits>

#include "asn1/algorithms/big_integer.h"
#include "handles/crypto_handles.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::ASN1 {

CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long length) {
    if (length > std::numeric_limits<DWORD>::max()) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    ATL::CCryptProv provider;
    if (hProv == 0) {
        HCRYPTPROV acquired = 0;
        if (!CryptAcquireContextA(&acquired, nullptr, nullptr, PROV_GOST_2001, CRYPT_VERIFYCONTEXT)) {
            ATL2::throwLastErrorOrFail();
        }
        provider.reset(acquired);
    } else if (CryptContextAddRef(hProv, nullptr, 0)) {
        // Holds its own reference during the call, so that the caller may release its own on another thread. A provider
        // that does not give one is used nevertheless.
        provider.reset(hProv);
    }
    CBigInteger result(length);
    if (!CryptGenRandom(hProv != 0 ? hProv : provider.get(), static_cast<DWORD>(length), result.pbData())) {
        ATL2::throwLastErrorOrFail();
    }
    return result;
}

}  // namespace Orvane::ASN1
