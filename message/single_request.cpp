#include "message/single_request.h"

#include <utility>

#include "asn1/codec/codec.h"

namespace Orvane::PKI::OCSP {

CSingleRequest::CSingleRequest(const CReqCert& reqCert) : reqCert_(reqCert) {}
CSingleRequest::CSingleRequest(CReqCert&& reqCert) noexcept : reqCert_(std::move(reqCert)) {}
CSingleRequest::CSingleRequest(const CSingleRequest&) = default;
CSingleRequest::CSingleRequest(CSingleRequest&&) noexcept = default;
CSingleRequest& CSingleRequest::operator=(const CSingleRequest&) = default;
CSingleRequest& CSingleRequest::operator=(CSingleRequest&&) noexcept = default;
CSingleRequest::~CSingleRequest() = default;

void CSingleRequest::put_singleRequestExtensions(const ASN1::CExtensions* extensions) {
    ASN1::withinFrame([&] { extensions_ = extensions == nullptr ? std::nullopt : std::optional(*extensions); });
}

}  // namespace Orvane::PKI::OCSP
