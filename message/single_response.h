// One entry of an OCSP response (RFC 6960, 4.2.1).
//
//   SingleResponse ::= SEQUENCE { reqCert ReqCert, certStatus CertStatus, thisUpdate GeneralizedTime,
//                                 nextUpdate [0] EXPLICIT GeneralizedTime OPTIONAL,
//                                 singleExtensions [1] EXPLICIT Extensions OPTIONAL }
#pragma once

#include <list>
#include <optional>

#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"

namespace Orvane::PKI::OCSP {

class TALLOW_EXPORT CSingleResponse {
public:
    CSingleResponse(CReqCert reqCert, CCertStatus certStatus, const CDateTime& thisUpdate,
                    std::optional<CDateTime> nextUpdate, std::optional<ASN1::CExtensions> singleExtensions);
    CSingleResponse(const CSingleResponse&);
    CSingleResponse(CSingleResponse&&) noexcept;
    CSingleResponse& operator=(const CSingleResponse&);
    CSingleResponse& operator=(CSingleResponse&&) noexcept;
    ~CSingleResponse();

    const CReqCert& get_reqCert() const { return reqCert_; }
    const CCertStatus& get_certStatus() const { return certStatus_; }
    const CDateTime& get_thisUpdate() const { return thisUpdate_; }
    /// Null when absent.
    const CDateTime* get_nextUpdate() const { return nextUpdate_ ? &*nextUpdate_ : nullptr; }
    /// Null when absent; wire order.
    const ASN1::CExtensions* get_singleExtensions() const { return extensions_ ? &*extensions_ : nullptr; }

private:
    CReqCert reqCert_;
    CCertStatus certStatus_;
    CDateTime thisUpdate_;
    std::optional<CDateTime> nextUpdate_;
    std::optional<ASN1::CExtensions> extensions_;
};

/// The responses, in wire order.
class TALLOW_EXPORT CSingleResponseList : public std::list<CSingleResponse> {};

}  // namespace Orvane::PKI::OCSP
