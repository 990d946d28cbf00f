#include "message/single_response.h"

#include <utility>

namespace Orvane::PKI::OCSP {

CSingleResponse::CSingleResponse(CReqCert reqCert, CCertStatus certStatus, const CDateTime& thisUpdate,
                                 std::optional<CDateTime> nextUpdate, std::optional<ASN1::CExtensions> singleExtensions)
    : reqCert_(std::move(reqCert)),
      certStatus_(certStatus),
      thisUpdate_(thisUpdate),
      nextUpdate_(nextUpdate),
      extensions_(std::move(singleExtensions)) {}
CSingleResponse::CSingleResponse(const CSingleResponse&) = default;
CSingleResponse::CSingleResponse(CSingleResponse&&) noexcept = default;
CSingleResponse& CSingleResponse::operator=(const CSingleResponse&) = default;
CSingleResponse& CSingleResponse::operator=(CSingleResponse&&) noexcept = default;
CSingleResponse::~CSingleResponse() = default;

}  // namespace Orvane::PKI::OCSP
