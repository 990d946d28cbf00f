// One question of an OCSP request (RFC 6960, 4.1.1).
//
//   Request ::= SEQUENCE { reqCert ReqCert, singleRequestExtensions [0] EXPLICIT Extensions OPTIONAL }
#pragma once

#include <list>
#include <optional>

#include "asn1/extensions/extensions.h"
#include "export.h"
#include "message/cert_id.h"

namespace Orvane::PKI::OCSP {

class TALLOW_EXPORT CSingleRequest {
public:
    explicit CSingleRequest(const CReqCert& reqCert);
    explicit CSingleRequest(CReqCert&& reqCert) noexcept;
    CSingleRequest(const CSingleRequest&);
    CSingleRequest(CSingleRequest&&) noexcept;
    CSingleRequest& operator=(const CSingleRequest&);
    CSingleRequest& operator=(CSingleRequest&&) noexcept;
    ~CSingleRequest();

    const CReqCert& get_reqCert() const { return reqCert_; }
    /// Null when absent; valid until the object changes.
    const ASN1::CExtensions* get_singleRequestExtensions() const { return extensions_ ? &*extensions_ : nullptr; }
    /// Copies; null removes.
    void put_singleRequestExtensions(const ASN1::CExtensions* extensions);

private:
    CReqCert reqCert_;
    std::optional<ASN1::CExtensions> extensions_;
};

/// The requestList, in wire order.
class TALLOW_EXPORT CSingleRequestList : public std::list<CSingleRequest> {};

}  // namespace Orvane::PKI::OCSP
