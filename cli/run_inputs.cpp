#include "cli/run_inputs.h"

#include <algorithm>
#include <new>
#include <vector>

#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/issuer_rules.h"
#include "cli/safe_text.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using Orvane::PKI::OCSP::Client::CRequest;

namespace {

constexpr unsigned int kAllTraceLevels = 127;

void addCrls(void* store, const std::string& path) {
    for (const std::string& crl : readCrls(path)) {
        if (!CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(crl.data()),
                                      static_cast<DWORD>(crl.size()), CERT_STORE_ADD_ALWAYS, nullptr)) {
            throw InputError(path, "is not a CRL; name one in PEM or DER", status::kAsn1Error);
        }
    }
}

bool isSelfIssued(const ATL2::CCertContext& certificate) {
    const CERT_NAME_BLOB& subject = certificate->pCertInfo->Subject;
    const CERT_NAME_BLOB& issuer = certificate->pCertInfo->Issuer;
    return std::equal(subject.pbData, subject.pbData + subject.cbData, issuer.pbData, issuer.pbData + issuer.cbData);
}

PCCRYPT_OID_INFO hashNamed(const std::string& name) {
    std::wstring key = wide(name);
    return CryptFindOIDInfo(CRYPT_OID_INFO_NAME_KEY, key.data(), CRYPT_HASH_ALG_OID_GROUP_ID);
}

// Users write "SHA-256"; the service calls it "sha256".
std::string plainName(const std::string& name) {
    std::string plain;
    for (const char c : name) {
        if (c != '-') {
            plain += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
        }
    }
    return plain;
}

std::string toHashOid(const std::string& hash) {
    std::string oid = hash;
    PCCRYPT_OID_INFO info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID);
    for (const std::string& name : {hash, plainName(hash)}) {
        info = info == nullptr ? hashNamed(name) : info;
    }
    if (info == nullptr) {
        throw InputError("--hash " + hash, "is no hash known here; name sha1, sha256, sha384, sha512 or an OID");
    }
    return info->pszOID;
}

}  // namespace

std::string settingsMistake() {
    SUPPORT_SETTINGS_ERROR error;
    return support_settings_error(&error) == 0 ? std::string() : error.message;
}

void openSettings(const RunOptions& options) {
    if (options.trace) {
        static_cast<void>(support_trace_open(kAllTraceLevels, nullptr));
    }
    if (!options.settings.empty()) {
        static_cast<void>(support_settings_open(options.settings.c_str()));
    }
    if (const std::string mistake = settingsMistake(); !mistake.empty()) {
        throw InputError("settings", mistake, status::kNoPolicy);
    }
}

RunInputs::RunInputs(const RunOptions& options) {
    openSettings(options);
    if (extra_.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr) != 0) {
        throw std::bad_alloc();
    }
    for (const std::string& path : options.trust) {
        const std::vector<ATL2::CCertContext> roots = readCertificates(path);
        if (std::none_of(roots.begin(), roots.end(), isSelfIssued)) {
            throw InputError(path,
                             "holds no root, that is, no certificate issued by itself; name the root (--trust), "
                             "and the others with --certs");
        }
        for (const ATL2::CCertContext& root : roots) {
            crypto_add_trusted_root(root.get());
            add(root);
        }
    }
    for (const std::string& path : options.certs) {
        for (const ATL2::CCertContext& certificate : readCertificates(path)) {
            add(certificate);
        }
    }
    for (const std::string& path : options.crls) {
        addCrls(extra_.get(), path);
    }
    if (!options.issuer.empty()) {
        issuer_ = readCertificates(options.issuer).front();
        add(issuer_);  // usually part of the responder's chain
    }
    if (!options.hash.empty()) {
        hashOid_ = toHashOid(options.hash);
    }
}

void RunInputs::add(const ATL2::CCertContext& certificate) {
    if (!CertAddCertificateContextToStore(extra_.get(), certificate.get(), CERT_STORE_ADD_USE_EXISTING, nullptr)) {
        throw std::bad_alloc();
    }
}

ATL2::CCertContext RunInputs::issuerOf(const _CERT_CONTEXT* certificate) const {
    return issuer_ ? issuer_ : issuerIn(extra_.get(), certificate);
}

void RunInputs::requireIssuer(const _CERT_CONTEXT* certificate) const {
    if (const std::optional<Rejection> rejection = issuer_ ? rejectIssuer(certificate, issuer_.get()) : std::nullopt) {
        throw InputError("--issuer", reasonOf(*rejection), rejection->code);
    }
}

ATL2::CCertContext RunInputs::name(CRequest& request, const _CERT_CONTEXT* certificate) const {
    ATL2::CCertContext issuer = issuerOf(certificate);
    if (!issuer) {
        issuer = findIssuer(extra_.get(), certificate);
    }
    if (!issuer) {
        ATL::AtlThrowImpl(status::kNoSigner);
    }
    request.put_SRCertIDFromCert(certificate, issuer.get(), 0, hashOid_.empty() ? nullptr : hashOid_.c_str());
    requireIssuer(certificate);
    return issuer;
}

void importRequest(CRequest& request, const Orvane::CBlob& bytes, const std::string& path) {
    try {
        request.Import(bytes.pbData(), bytes.cbData());
    } catch (const ATL::CAtlException& failure) {
        throw InputError(path, explain(failure.status(), "is no request to work with").text, failure.status());
    }
}

Orvane::CBlob exported(CRequest& request) {
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Orvane::CBlob bytes(size);
    request.Export(bytes.pbData(), &size);
    return bytes;
}

}  // namespace tallow::cli
