// CResponseMessage::decode, and the decoder of the basic response inside.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "handles/exception.h"
#include "message/basic_response.h"
#include "message/extensions.h"
#include "message/response_message.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Orvane::PKI::OCSP;
    try {
        CResponseMessage message;
        message.decode(Orvane::CBlob(data, size));
        if (message.get_response().cbData() > size) {
            std::abort();
        }
        if (std::strcmp(message.get_responseType(), kOidBasicResponse) == 0) {
            CBasicResponse basic;
            basic.decode(message.get_response());
        }
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
