#include "fuzz/resigned_pki.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <initializer_list>

#include "tests/support/tlv.h"

namespace fuzz {

namespace {

namespace tlv = testkit::tlv;
using testkit::FreeWith;
using testkit::Key;
using testkit::X509Ptr;

using CrlPtr = std::unique_ptr<X509_CRL, FreeWith<X509_CRL_free>>;
using ResponsePtr = std::unique_ptr<OCSP_RESPONSE, FreeWith<OCSP_RESPONSE_free>>;
using BasicPtr = std::unique_ptr<OCSP_BASICRESP, FreeWith<OCSP_BASICRESP_free>>;
using StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using ContextPtr = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;

template <class Ptr, class Decoder>
Ptr readAs(const Bytes& der, Decoder decode) {
    const unsigned char* at = der.data();
    return Ptr(decode(nullptr, &at, static_cast<long>(der.size())));
}

// The signed part of a whole response.
Bytes responseDataIn(const Bytes& response) {
    const auto read = readAs<ResponsePtr>(response, d2i_OCSP_RESPONSE);
    const BasicPtr basic(OCSP_response_get1_basic(read.get()));
    return firstElementOf(testkit::toDer(basic.get(), i2d_OCSP_BASICRESP));
}

ResignedPki makePki() {
    const auto key = [] { return Key::make(testkit::KeyKind::kEd25519); };
    ResignedPki pki;
    pki.root = testkit::selfSigned({.commonName = "root", .key = key(), .ca = true});
    pki.ca = testkit::issue(pki.root, {.commonName = "ca", .key = key(), .ca = true});
    pki.leaf = testkit::issue(pki.ca, {.commonName = "leaf", .key = key()});
    pki.delegate = testkit::issue(pki.ca, {.commonName = "delegate", .key = key(), .extendedKeyUsage = "OCSPSigning"});
    pki.rootCrl = testkit::makeCrl(pki.root, {});
    pki.caCrl = testkit::makeCrl(pki.ca, {.revokedSerials = {{0x07}},
                                          .reason = 1,
                                          .criticalExtensions = {{"2.5.29.28", testkit::fromHex("30038101FF")}}});
    const auto goodBy = [&pki](const testkit::Identity& signer) {
        testkit::ResponseSpec response(signer);
        response.entries.emplace_back(testkit::certIdOf(pki.leaf, pki.ca));
        response.entries[0].nextUpdate = testkit::generalizedTimeText(24L * 3600);
        response.entries.emplace_back(testkit::certIdOf(pki.delegate, pki.ca), testkit::EntryStatus::kRevoked);
        return responseDataIn(testkit::buildResponse(response));
    };
    pki.responseData = goodBy(pki.delegate);
    pki.responseDataOfCa = goodBy(pki.ca);
    return pki;
}

using CertIdPtr = std::unique_ptr<OCSP_CERTID, FreeWith<OCSP_CERTID_free>>;
using KeyIdPtr = std::unique_ptr<AUTHORITY_KEYID, FreeWith<AUTHORITY_KEYID_free>>;

bool misnamesKey(X509* issuer, X509* subject) {
    const int error = X509_check_issued(issuer, subject);
    return error == X509_V_ERR_AKID_SKID_MISMATCH || error == X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH;
}

bool misnamesKey(const std::vector<X509*>& issuers, const X509_CRL* crl) {
    const KeyIdPtr id(crl == nullptr ? nullptr
                                     : static_cast<AUTHORITY_KEYID*>(
                                           X509_CRL_get_ext_d2i(crl, NID_authority_key_identifier, nullptr, nullptr)));
    return std::none_of(issuers.begin(), issuers.end(),
                        [&](X509* issuer) { return X509_check_akid(issuer, id.get()) == X509_V_OK; });
}

// OpenSSL's identifier of the certificate with the hash of `entry`; null for an unknown one.
CertIdPtr idLike(const OCSP_CERTID* entry, X509* leaf, X509* ca) {
    ASN1_OBJECT* hash = nullptr;
    OCSP_id_get0_info(nullptr, &hash, nullptr, nullptr, const_cast<OCSP_CERTID*>(entry));
    const EVP_MD* const digest = EVP_get_digestbyobj(hash);
    return CertIdPtr(digest == nullptr ? nullptr : OCSP_cert_to_id(digest, leaf, ca));
}

void addEntry(Reading& reading, OCSP_SINGLERESP* entry) {
    constexpr long kSkewSeconds = 200;
    constexpr long kOldestSeconds = 7L * 24 * 3600 + kSkewSeconds;
    ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
    ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
    const int status = OCSP_single_get0_status(entry, nullptr, nullptr, &thisUpdate, &nextUpdate);
    reading.numGood += status == V_OCSP_CERTSTATUS_GOOD;
    reading.numRevoked += status == V_OCSP_CERTSTATUS_REVOKED;
    reading.numUnknown += status == V_OCSP_CERTSTATUS_UNKNOWN;
    reading.hasCriticalExtension |= OCSP_SINGLERESP_get_ext_by_critical(entry, 1, -1) >= 0;
    reading.isCurrent &=
        OCSP_check_validity(thisUpdate, nextUpdate, kSkewSeconds, nextUpdate == nullptr ? kOldestSeconds : -1) == 1;
}

enum class Critical { kNone, kKnown, kUnknown };

bool isAnyOf(int kind, std::initializer_list<int> kinds) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// Critical extensions that OpenSSL does not handle, and whether the library knows all of them.
Critical criticalIn(const STACK_OF(X509_EXTENSION) * list, std::initializer_list<int> ofOpenSsl,
                    std::initializer_list<int> known) {
    Critical found = Critical::kNone;
    for (int i = 0; i < sk_X509_EXTENSION_num(list); ++i) {
        X509_EXTENSION* const extension = sk_X509_EXTENSION_value(list, i);
        const int kind = OBJ_obj2nid(X509_EXTENSION_get_object(extension));
        if (X509_EXTENSION_get_critical(extension) != 0 && !isAnyOf(kind, ofOpenSsl)) {
            found = std::max(found, isAnyOf(kind, known) ? Critical::kKnown : Critical::kUnknown);
        }
    }
    return found;
}

// Whether the only critical extensions that OpenSSL does not handle are the number of the CRL, where its delta CRL is,
// and what entries say besides. The library knows them, and none changes what a complete CRL says.
bool hasOnlyKnownCritical(X509_CRL* crl) {
    Critical found = criticalIn(X509_CRL_get0_extensions(crl),
                                {NID_issuing_distribution_point, NID_authority_key_identifier, NID_delta_crl},
                                {NID_crl_number, NID_freshest_crl});
    const STACK_OF(X509_REVOKED)* const entries = X509_CRL_get_REVOKED(crl);
    for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {
        found = std::max(
            found, criticalIn(X509_REVOKED_get0_extensions(sk_X509_REVOKED_value(entries, i)), {NID_certificate_issuer},
                              {NID_crl_reason, NID_hold_instruction_code, NID_invalidity_date}));
    }
    return found == Critical::kKnown;
}

}  // namespace

const ResignedPki& ResignedPki::shared() {
    static const ResignedPki pki = makePki();
    return pki;
}

Bytes resigned(const Bytes& der, const testkit::Identity& issuer, std::span<const Edit> edits) {
    return edits.empty() ? der
                         : testkit::signedAgain(der, issuer, [&](const Bytes& tbs) { return edited(tbs, edits); });
}

Bytes responseWith(const Bytes& responseData, const Key& signer, const std::vector<Bytes>& certificates) {
    const testkit::Signature signature = testkit::sign(responseData, signer.get(), "SHA256");
    const Bytes basic = tlv::sequence({responseData, signature.algorithm, tlv::bitString(signature.octets),
                                       tlv::context(0, tlv::sequence(certificates))});
    return tlv::sequence({tlv::enumerated(0), tlv::context(0, tlv::sequence({tlv::oid(testkit::kBasicResponseOid),
                                                                             tlv::octetString(basic)}))});
}

std::string opensslFault(const Bytes& end, const Bytes& ca, const Bytes& root, const std::vector<Bytes>& crls) {
    const auto endCertificate = readAs<X509Ptr>(end, d2i_X509);
    const auto caCertificate = readAs<X509Ptr>(ca, d2i_X509);
    const auto rootCertificate = readAs<X509Ptr>(root, d2i_X509);
    if (!endCertificate || !caCertificate) {
        ERR_clear_error();
        return "a certificate does not decode";
    }
    bool mayMiss = misnamesKey(caCertificate.get(), endCertificate.get()) ||
                   misnamesKey(rootCertificate.get(), caCertificate.get());
    bool mayBeCritical = false;
    const StorePtr store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), rootCertificate.get());
    for (const Bytes& der : crls) {
        const auto crl = readAs<CrlPtr>(der, d2i_X509_CRL);
        mayMiss = mayMiss || hasLooseValue(der) || misnamesKey({caCertificate.get(), rootCertificate.get()}, crl.get());
        if (crl) {
            mayBeCritical = mayBeCritical || hasOnlyKnownCritical(crl.get());
            X509_STORE_add_crl(store.get(), crl.get());
        }
    }
    X509_STORE_set_flags(store.get(), X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL |
                                          X509_V_FLAG_EXTENDED_CRL_SUPPORT | X509_V_FLAG_USE_DELTAS);
    const X509List others(sk_X509_new_null());
    sk_X509_push(others.get(), caCertificate.get());
    const ContextPtr context(X509_STORE_CTX_new());
    require(X509_STORE_CTX_init(context.get(), store.get(), endCertificate.get(), others.get()) == 1, "a context");
    const int error = X509_verify_cert(context.get()) == 1 ? X509_V_OK : X509_STORE_CTX_get_error(context.get());
    const bool isMissing = error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT ||
                           error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
                           error == X509_V_ERR_UNABLE_TO_GET_CRL || error == X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER;
    ERR_clear_error();
    const bool isKnown = error == X509_V_ERR_UNHANDLED_CRITICAL_CRL_EXTENSION && mayBeCritical;
    return error == X509_V_OK || (isMissing && mayMiss) || isKnown ? "" : X509_verify_cert_error_string(error);
}

std::optional<Reading> opensslReading(const Bytes& response, const testkit::Identity& signer, const Bytes& leaf,
                                      const Bytes& ca) {
    const auto read = readAs<ResponsePtr>(response, d2i_OCSP_RESPONSE);
    const BasicPtr basic(read ? OCSP_response_get1_basic(read.get()) : nullptr);
    const auto signerCertificate = readAs<X509Ptr>(signer.certificate, d2i_X509);
    const auto leafCertificate = readAs<X509Ptr>(leaf, d2i_X509);
    const auto caCertificate = readAs<X509Ptr>(ca, d2i_X509);
    std::optional<Reading> reading;
    if (basic && signerCertificate && caCertificate) {
        const X509List signers(sk_X509_new_null());
        sk_X509_push(signers.get(), signerCertificate.get());
        reading.emplace();
        // Without the signature, which `signer.key` made: OpenSSL would verify that of its own encoding.
        constexpr unsigned long kFindSigner = OCSP_NOVERIFY | OCSP_NOINTERN | OCSP_NOSIGS;
        reading->isSigned = OCSP_basic_verify(basic.get(), signers.get(), nullptr, kFindSigner) == 1 &&
                            EVP_PKEY_eq(X509_get0_pubkey(signerCertificate.get()), signer.key.get()) == 1;
        reading->hasCriticalExtension = OCSP_BASICRESP_get_ext_by_critical(basic.get(), 1, -1) >= 0;
        for (int i = 0; i < OCSP_resp_count(basic.get()); ++i) {
            OCSP_SINGLERESP* const entry = OCSP_resp_get0(basic.get(), i);
            const OCSP_CERTID* const id = OCSP_SINGLERESP_get0_id(entry);
            const CertIdPtr expected = idLike(id, leafCertificate.get(), caCertificate.get());
            if (expected && OCSP_id_cmp(expected.get(), id) == 0) {
                addEntry(*reading, entry);
            }
        }
    }
    ERR_clear_error();
    return reading;
}

}  // namespace fuzz
