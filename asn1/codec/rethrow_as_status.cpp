#include "asn1/codec/rethrow_as_status.h"

#include <new>
#include <stdexcept>

#include "asn1rt/message_buffer.h"
#include "asn1rt/status.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

void rethrowAsStatus() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        ATL::AtlThrowImpl(status::kOutOfMemory);
    } catch (const std::length_error&) {  // a size that no memory can hold
        ATL::AtlThrowImpl(status::kOutOfMemory);
    } catch (const ASN1RTLException& failure) {
        ATL::AtlThrowImpl(failure.getStatus() == STATUS_NO_MEMORY ? status::kOutOfMemory : status::kAsn1Error);
    }
}

}  // namespace Orvane::ASN1
