// One entry of an OCSP response: the status of one certificate and how long it may be relied on (RFC 6960, section
// 4.2.1).
//
//   const CSingleResponse& entry = response.get_responses().front();
//   const CDateTime now = CDateTime::Now();
//   const CDateTime* end = entry.get_nextUpdate();
//   bool current = entry.get_thisUpdate() <= now && (end == nullptr || now < *end);
#pragma once

#include <list>
#include <optional>

#include "asn1/extensions/extensions.h"
#include "export.h"
#include "foundation/date_time.h"
#include "message/cert_id.h"
#include "message/cert_status.h"

namespace Orvane::PKI::OCSP {

/// The entry as a value:
///
///   SingleResponse ::= SEQUENCE {
///       certID           CertID,                 -- here ReqCert, see message/cert_id.h
///       certStatus       CertStatus,
///       thisUpdate       GeneralizedTime,
///       nextUpdate       [0] EXPLICIT GeneralizedTime OPTIONAL,
///       singleExtensions [1] EXPLICIT Extensions OPTIONAL }
///
/// Whether the entry is signed depends on the response that it came from, which a copy does not record. Copies are
/// deep; after a move the source may only be assigned to or destroyed. References and pointers from getters live until
/// the object changes.
class TALLOW_EXPORT CSingleResponse {
public:
    /// All values as they will be returned; an empty optional is an absent field. Nothing is checked: nextUpdate may be
    /// earlier than thisUpdate.
    CSingleResponse(CReqCert reqCert, CCertStatus certStatus, const CDateTime& thisUpdate,
                    std::optional<CDateTime> nextUpdate, std::optional<ASN1::CExtensions> singleExtensions);
    CSingleResponse(const CSingleResponse&);
    CSingleResponse(CSingleResponse&&) noexcept;
    CSingleResponse& operator=(const CSingleResponse&);
    CSingleResponse& operator=(CSingleResponse&&) noexcept;
    ~CSingleResponse();

    /// The certificate that the entry is about; compare it with the requested one (namesSameCertificate) before using
    /// the status.
    const CReqCert& get_reqCert() const { return reqCert_; }
    const CCertStatus& get_certStatus() const { return certStatus_; }
    /// The latest time at which the responder knows the status to be correct, in UTC.
    const CDateTime& get_thisUpdate() const { return thisUpdate_; }
    /// The time by which newer information is available, in UTC; after it, the entry has expired. Null when absent: the
    /// responder claims that newer information is available at any time (section 4.2.2.1), so limit the age by
    /// thisUpdate.
    const CDateTime* get_nextUpdate() const { return nextUpdate_ ? &*nextUpdate_ : nullptr; }
    /// In wire order; null when absent. An unknown critical extension forbids using the entry.
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
