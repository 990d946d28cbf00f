#include "message/single_request.h"

#include <utility>

#include "asn1/codec/codec.h"

namespace Orvane::PKI::OCSP {

CSingleRequest::CSingleRequest(CReqCert const& reqCert) : reqCert_(reqCert) {}
CSingleRequest::CSingleRequest(CReqCert&& reqCert) noexcept : reqCert_(std::move(reqCert)) {}
CSingleRequest::CSingleRequest(CSingleRequest const&) = default;
CSingleRequest::CSingleRequest(CSingleRequest&&) noexcept = default;
CSingleRequest& CSingleRequest::operator=(CSingleRequest const&) = default;
CSingleRequest& CSingleRequest::operator=(CSingleRequest&&) noexcept = default;
CSingleRequest::~CSingleRequest() = default;

void CSingleRequest::put_singleRequestExtensions(ASN1::CExtensions const* extensions) {
    ASN1::withinFrame([&] { extensions_ = extensions == nullptr ? std::nullopt : std::optional(*extensions); });
}

}  // namespace Orvane::PKI::OCSP
