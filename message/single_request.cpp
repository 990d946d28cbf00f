#include "message/single_request.h"

#include <utility>

namespace Orvane::PKI::OCSP {

CSingleRequest::CSingleRequest(CReqCert const& reqCert) : reqCert_(reqCert) {}
CSingleRequest::CSingleRequest(CReqCert&& reqCert) noexcept : reqCert_(std::move(reqCert)) {}
CSingleRequest::CSingleRequest(CSingleRequest const&) = default;
CSingleRequest::CSingleRequest(CSingleRequest&&) noexcept = default;
CSingleRequest& CSingleRequest::operator=(CSingleRequest const&) = default;
CSingleRequest& CSingleRequest::operator=(CSingleRequest&&) noexcept = default;
CSingleRequest::~CSingleRequest() = default;

void CSingleRequest::put_singleRequestExtensions(ASN1::CExtensions const* extensions) {
    if (extensions == nullptr) {
        extensions_.reset();
    } else {
        extensions_ = *extensions;
    }
}

}  // namespace Orvane::PKI::OCSP
