// One requested certificate in an OCSP request (RFC 6960, section 4.1.1).
//
//   CSingleRequest single{CReqCert(certId)};
//   single.put_singleRequestExtensions(&extensions);     // optional: service locator and the like
#pragma once

#include <list>
#include <optional>

#include "asn1/extensions/extensions.h"
#include "export.h"
#include "message/cert_id.h"

namespace Orvane::PKI::OCSP {

/// The certificate and the extensions that concern only it:
///
///   Request ::= SEQUENCE {
///       reqCert                 CertID,          -- here ReqCert, see message/cert_id.h
///       singleRequestExtensions [0] EXPLICIT Extensions OPTIONAL }
///
/// There is no object without a certificate. Copies are deep; after a move the source may only be assigned to or
/// destroyed.
class TALLOW_EXPORT CSingleRequest {
public:
    /// Copies or moves the identifier in; no extensions.
    explicit CSingleRequest(const CReqCert& reqCert);
    explicit CSingleRequest(CReqCert&& reqCert) noexcept;
    CSingleRequest(const CSingleRequest&);
    CSingleRequest(CSingleRequest&&) noexcept;
    CSingleRequest& operator=(const CSingleRequest&);
    CSingleRequest& operator=(CSingleRequest&&) noexcept;
    ~CSingleRequest();

    /// The requested certificate; valid until the object changes.
    const CReqCert& get_reqCert() const { return reqCert_; }
    /// Null when absent; valid until the object changes.
    const ASN1::CExtensions* get_singleRequestExtensions() const { return extensions_ ? &*extensions_ : nullptr; }
    /// Copies; null removes the field. RFC 5280 requires at least one entry, so pass null instead of an empty list,
    /// which is written as an empty SEQUENCE. Throws kAsn1Memory when memory is exhausted; the object is then
    /// unchanged.
    void put_singleRequestExtensions(const ASN1::CExtensions* extensions);

private:
    CReqCert reqCert_;
    std::optional<ASN1::CExtensions> extensions_;
};

/// The requestList, in wire order. Responders may return the entries in another order, or only some of them.
class TALLOW_EXPORT CSingleRequestList : public std::list<CSingleRequest> {};

}  // namespace Orvane::PKI::OCSP
