// CRequestMessage::decode, every getter after it, and the same content built anew.
#include <cstdint>
#include <cstdlib>

#include "handles/exception.h"
#include "message/request_message.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;

// The content can be put into a new message. Most of what was read can also be written; the writer refuses a few
// records that the reader accepts.
void buildAnew(const CRequestMessage& read) {
    CRequestMessage made(true);
    made.put_requestList(read.get_requestList());
    made.put_requestExtensions(read.get_requestExtensions());
    made.put_requestorName(read.get_requestorName());
    CRequestMessage again;
    again.decode(made.encode());
    if (again.get_requestList().size() != read.get_requestList().size()) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        CRequestMessage message;
        message.decode(CBlob(data, size));
        const CBlob encoded = message.encode();
        if (encoded.cbData() > size) {
            std::abort();
        }
        if (message.get_signatureAlgorithm() != nullptr && message.get_requestorName() == nullptr) {
            std::abort();
        }
        if (const CBlobList* certs = message.get_signatureCerts(); certs != nullptr && !certs->empty()) {
            static_cast<void>(message.verify(certs->front()));
        }
        buildAnew(message);
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
