#include "fuzz/resigned_pki.h"

#include <openssl/x509_vfy.h>

#include "tests/support/tlv.h"

namespace fuzz {

namespace {

namespace tlv = testkit::tlv;
using testkit::CertificateSpec;
using testkit::FreeWith;
using testkit::Key;
using testkit::X509Ptr;

using CrlPtr = std::unique_ptr<X509_CRL, FreeWith<X509_CRL_free>>;
using ResponsePtr = std::unique_ptr<OCSP_RESPONSE, FreeWith<OCSP_RESPONSE_free>>;
using BasicPtr = std::unique_ptr<OCSP_BASICRESP, FreeWith<OCSP_BASICRESP_free>>;
using StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using ContextPtr = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;

struct FreeShallow {
    void operator()(STACK_OF(X509) * list) const { sk_X509_free(list); }
};

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
    testkit::ResponseSpec response(pki.delegate);
    response.entries.emplace_back(testkit::certIdOf(pki.leaf, pki.ca));
    response.entries[0].nextUpdate = testkit::generalizedTimeText(24L * 3600);
    response.entries.emplace_back(testkit::certIdOf(pki.delegate, pki.ca), testkit::EntryStatus::kRevoked);
    pki.responseData = responseDataIn(testkit::buildResponse(response));
    return pki;
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
    const StorePtr store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), readAs<X509Ptr>(root, d2i_X509).get());
    for (const Bytes& der : crls) {
        if (const auto crl = readAs<CrlPtr>(der, d2i_X509_CRL)) {
            X509_STORE_add_crl(store.get(), crl.get());
        }
    }
    X509_STORE_set_flags(store.get(), X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL |
                                          X509_V_FLAG_EXTENDED_CRL_SUPPORT | X509_V_FLAG_USE_DELTAS);
    const std::unique_ptr<STACK_OF(X509), FreeShallow> others(sk_X509_new_null());
    if (caCertificate) {
        sk_X509_push(others.get(), caCertificate.get());
    }
    const ContextPtr context(X509_STORE_CTX_new());
    std::string fault = "a certificate does not decode";
    if (endCertificate && caCertificate) {
        require(X509_STORE_CTX_init(context.get(), store.get(), endCertificate.get(), others.get()) == 1, "a context");
        const int error = X509_verify_cert(context.get()) == 1 ? X509_V_OK : X509_STORE_CTX_get_error(context.get());
        const bool isMissing = error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT ||
                               error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
                               error == X509_V_ERR_UNABLE_TO_GET_CRL || error == X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER;
        fault = error == X509_V_OK || isMissing ? "" : X509_verify_cert_error_string(error);
    }
    ERR_clear_error();
    return fault;
}

int numEntries(const Bytes& response, const Bytes& serial, int status) {
    const auto read = readAs<ResponsePtr>(response, d2i_OCSP_RESPONSE);
    const BasicPtr basic(read ? OCSP_response_get1_basic(read.get()) : nullptr);
    int found = 0;
    for (int i = 0; basic && i < OCSP_resp_count(basic.get()); ++i) {
        OCSP_SINGLERESP* const entry = OCSP_resp_get0(basic.get(), i);
        ASN1_INTEGER* number = nullptr;
        OCSP_id_get0_info(nullptr, nullptr, nullptr, &number, const_cast<OCSP_CERTID*>(OCSP_SINGLERESP_get0_id(entry)));
        const Bytes octets(ASN1_STRING_get0_data(number), ASN1_STRING_get0_data(number) + ASN1_STRING_length(number));
        found += octets == serial && OCSP_single_get0_status(entry, nullptr, nullptr, nullptr, nullptr) == status;
    }
    ERR_clear_error();
    return found;
}

}  // namespace fuzz
