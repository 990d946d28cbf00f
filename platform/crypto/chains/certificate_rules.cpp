#include "platform/crypto/chains/certificate_rules.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/chains/certificate_policies.h"

namespace tallow::platform {

namespace {

constexpr DWORD kMaxExtensions = 64;  // certificates in use have some fifteen

struct ProcessedExtension {
    int nid;
    DWORD fault;  // when it cannot be decoded
};

// Read by this verifier, by OpenSSL's, or by the search for issuers and CRLs.
constexpr ProcessedExtension kProcessed[] = {
    {NID_basic_constraints, CERT_TRUST_INVALID_BASIC_CONSTRAINTS},
    {NID_key_usage, CERT_TRUST_INVALID_EXTENSION},
    {NID_ext_key_usage, CERT_TRUST_INVALID_EXTENSION},
    {NID_subject_key_identifier, CERT_TRUST_INVALID_EXTENSION},
    {NID_authority_key_identifier, CERT_TRUST_INVALID_EXTENSION},
    {NID_subject_alt_name, CERT_TRUST_INVALID_EXTENSION},
    {NID_name_constraints, CERT_TRUST_INVALID_NAME_CONSTRAINTS},
    {NID_certificate_policies, CERT_TRUST_INVALID_POLICY_CONSTRAINTS},
    {NID_policy_mappings, CERT_TRUST_INVALID_POLICY_CONSTRAINTS},
    {NID_policy_constraints, CERT_TRUST_INVALID_POLICY_CONSTRAINTS},
    {NID_inhibit_any_policy, CERT_TRUST_INVALID_POLICY_CONSTRAINTS},
    {NID_crl_distribution_points, CERT_TRUST_INVALID_EXTENSION},
    {NID_freshest_crl, CERT_TRUST_INVALID_EXTENSION},
    {NID_info_access, CERT_TRUST_INVALID_EXTENSION},
};

// The verifier does not use the content of these, so they may be critical if they can be decoded. OpenSSL's verifier
// knows only the first of them.
constexpr int kHarmless[] = {NID_netscape_cert_type, NID_id_pkix_OCSP_noCheck, NID_issuer_alt_name};

bool isHarmless(int nid) {
    return std::find(std::begin(kHarmless), std::end(kHarmless), nid) != std::end(kHarmless);
}

using ConstraintsPtr = std::unique_ptr<BASIC_CONSTRAINTS, OpenSslFree<BASIC_CONSTRAINTS_free>>;
using NameConstraintsPtr = std::unique_ptr<NAME_CONSTRAINTS, OpenSslFree<NAME_CONSTRAINTS_free>>;

// Whether the extension's value is one element of its type and nothing else.
bool isDecodable(int nid, const ASN1_OCTET_STRING* value) {
    const X509V3_EXT_METHOD* const method = X509V3_EXT_get_nid(nid);
    if (method == nullptr || method->it == nullptr) {
        return false;
    }
    const unsigned char* at = ASN1_STRING_get0_data(value);
    const unsigned char* const end = at + ASN1_STRING_length(value);
    ASN1_VALUE* const decoded = ASN1_item_d2i(nullptr, &at, ASN1_STRING_length(value), ASN1_ITEM_ptr(method->it));
    const bool whole = decoded != nullptr && at == end;
    ASN1_item_free(decoded, ASN1_ITEM_ptr(method->it));
    return whole;
}

DWORD faultOf(X509_EXTENSION* extension) {
    const int nid = OBJ_obj2nid(X509_EXTENSION_get_object(extension));
    const auto* const row = std::find_if(std::begin(kProcessed), std::end(kProcessed),
                                         [nid](const ProcessedExtension& known) { return known.nid == nid; });
    if (row == std::end(kProcessed)) {
        // OpenSSL checks the resources of RFC 3779 and reports when it cannot; it rejects proxy certificates itself.
        const bool isOpenSsls =
            nid == NID_sbgp_ipAddrBlock || nid == NID_sbgp_autonomousSysNum || nid == NID_proxyCertInfo;
        const bool isRefused = X509_EXTENSION_get_critical(extension) != 0 && !isOpenSsls &&
                               !(isHarmless(nid) && isDecodable(nid, X509_EXTENSION_get_data(extension)));
        return isRefused ? CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT : 0U;
    }
    if (nid == NID_subject_alt_name && ASN1_STRING_length(X509_EXTENSION_get_data(extension)) <= 2) {
        return row->fault;  // contains no name
    }
    return isDecodable(nid, X509_EXTENSION_get_data(extension)) ? 0U : row->fault;
}

bool hasRepeatedExtension(const CERT_INFO& info) {
    std::vector<std::string_view> identifiers;
    for (DWORD i = 0; i < info.cExtension; ++i) {
        identifiers.emplace_back(info.rgExtension[i].pszObjId);
    }
    std::sort(identifiers.begin(), identifiers.end());
    return std::adjacent_find(identifiers.begin(), identifiers.end()) != identifiers.end();
}

DWORD extensionFaults(const Certificate& certificate) {
    const CERT_INFO& info = certificate.info();
    if (info.cExtension == 0) {
        return 0;
    }
    if (info.cExtension > kMaxExtensions || info.dwVersion != X509_VERSION_3 || hasRepeatedExtension(info)) {
        return CERT_TRUST_INVALID_EXTENSION;
    }
    DWORD faults = 0;
    for (int i = 0; i < X509_get_ext_count(certificate.x509()); ++i) {
        faults |= faultOf(X509_get_ext(certificate.x509(), i));
    }
    return faults;
}

DWORD basicConstraintsFault(const Certificate& certificate) {
    const ConstraintsPtr constraints(
        static_cast<BASIC_CONSTRAINTS*>(X509_get_ext_d2i(certificate.x509(), NID_basic_constraints, nullptr, nullptr)));
    const bool isWrong = constraints != nullptr && constraints->pathlen != nullptr &&
                         (constraints->ca == 0 || ASN1_STRING_type(constraints->pathlen) == V_ASN1_NEG_INTEGER);
    return isWrong ? CERT_TRUST_INVALID_BASIC_CONSTRAINTS : 0U;
}

DWORD nameConstraintsFault(const Certificate& certificate) {
    const NameConstraintsPtr constraints(
        static_cast<NAME_CONSTRAINTS*>(X509_get_ext_d2i(certificate.x509(), NID_name_constraints, nullptr, nullptr)));
    const bool isEmpty = constraints != nullptr && sk_GENERAL_SUBTREE_num(constraints->permittedSubtrees) <= 0 &&
                         sk_GENERAL_SUBTREE_num(constraints->excludedSubtrees) <= 0;
    return isEmpty ? CERT_TRUST_INVALID_NAME_CONSTRAINTS : 0U;
}

// YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ. OpenSSL also reads offsets, fractions, and times without seconds.
bool hasStrictForm(const ASN1_TIME* time) {
    const int size = ASN1_STRING_type(time) == V_ASN1_UTCTIME ? 13 : 15;
    const unsigned char* const text = ASN1_STRING_get0_data(time);
    return ASN1_STRING_length(time) == size && text[size - 1] == 'Z' &&
           std::all_of(text, text + size - 1, [](unsigned char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

DWORD faultsOf(const Certificate& certificate) {
    if (certificate.body().isFaultless()) {
        return 0;
    }
    X509* const x509 = certificate.x509();
    DWORD faults = extensionFaults(certificate);
    if (faults == 0 && certificate.info().cExtension != 0) {
        faults |= basicConstraintsFault(certificate) | nameConstraintsFault(certificate);
        faults |= policyStatementsOf(certificate).isReadable ? 0U : CERT_TRUST_INVALID_POLICY_CONSTRAINTS;
        faults |= X509_get_key_usage(x509) == 0 ? CERT_TRUST_INVALID_EXTENSION : 0U;
    }
    if (X509_NAME_entry_count(X509_get_issuer_name(x509)) == 0) {
        faults |= CERT_TRUST_INVALID_EXTENSION;
    }
    if (!hasStrictForm(X509_get0_notBefore(x509)) || !hasStrictForm(X509_get0_notAfter(x509))) {
        faults |= CERT_TRUST_IS_NOT_TIME_VALID;
    }
    // A fault is not cached: memory may have run out.
    certificate.body().isFaultless() = faults == 0;
    return faults;
}

bool knowsCriticalExtensions(const Certificate& certificate) {
    for (int i = 0; i < X509_get_ext_count(certificate.x509()); ++i) {
        X509_EXTENSION* const extension = X509_get_ext(certificate.x509(), i);
        if (X509_EXTENSION_get_critical(extension) != 0 && X509_supported_extension(extension) == 0 &&
            !isHarmless(OBJ_obj2nid(X509_EXTENSION_get_object(extension)))) {
            return false;
        }
    }
    return true;
}

bool isCa(const Certificate& certificate) noexcept {
    constexpr std::uint32_t kSaysCa = EXFLAG_BCONS | EXFLAG_CA;
    return certificate.info().dwVersion == X509_VERSION_3 &&
           (X509_get_extension_flags(certificate.x509()) & kSaysCa) == kSaysCa;
}

bool isSelfIssued(const Certificate& certificate) noexcept {
    return X509_NAME_cmp(X509_get_subject_name(certificate.x509()), X509_get_issuer_name(certificate.x509())) == 0;
}

}  // namespace tallow::platform
