// What the tests of the messages share: octets as blobs and back, and requests as OpenSSL reads them.
#pragma once

#include <openssl/ocsp.h>

#include <memory>

#include "message/cert_id.h"
#include "message/request_message.h"
#include "tests/support/blobs.h"
#include "tests/support/bytes.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/pki.h"

namespace testkit {

using OcspRequestPtr = std::unique_ptr<OCSP_REQUEST, FreeWith<OCSP_REQUEST_free>>;

/// Null when OpenSSL does not read all of it as one request.
inline OcspRequestPtr parseRequest(const Orvane::CBlob& der) {
    const std::uint8_t* position = der.pbData();
    OcspRequestPtr request(d2i_OCSP_REQUEST(nullptr, &position, static_cast<long>(der.cbData())));
    return position == der.pbData() + der.cbData() ? std::move(request) : nullptr;
}

/// The identifier of `subject` under `issuer`, its hash algorithm with NULL parameters as most clients write it.
inline Orvane::PKI::OCSP::CCertID identifierOf(const Identity& subject, const Identity& issuer,
                                               const char* hashOid = kSha1Oid) {
    Orvane::ASN1::CAlgorithmIdentifierEx algorithm(hashOid);
    algorithm.put_parameters(blob({0x05, 0x00}));
    return {algorithm, blob(subject.certificate), blob(issuer.certificate)};
}

inline Orvane::PKI::OCSP::CSingleRequestList requestListFor(const Orvane::PKI::OCSP::CCertID& id) {
    Orvane::PKI::OCSP::CSingleRequestList list;
    list.emplace_back(Orvane::PKI::OCSP::CReqCert(id));
    return list;
}

}  // namespace testkit
