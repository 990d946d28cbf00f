#include "cli/run_inputs.h"

#include <algorithm>
#include <vector>

#include "checker/text/safe_text.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using namespace text;

namespace {

constexpr unsigned int kAllTraceLevels = 127;

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

// The library reads the policy once and traces each key. Read before the trace is opened, these lines do not hide what
// happens to the certificates; `tallow settings` shows the values.
void readPolicy() {
    try {
        const Orvane::PKI::OCSP::Client::CRequest request;
        const Orvane::PKI::OCSP::Client::CResponse response;
    } catch (const ATL::CAtlException&) {
        // Reported by the operation that needs the policy.
    }
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
    if (!options.settings.empty()) {
        static_cast<void>(support_settings_open(options.settings.c_str()));
    }
    if (const std::string mistake = settingsMistake(); !mistake.empty()) {
        throw InputError("settings", mistake, status::kNoPolicy);
    }
    if (options.trace) {
        readPolicy();
        static_cast<void>(support_trace_open(kAllTraceLevels, nullptr));
    }
}

RunInputs::RunInputs(const RunOptions& options) {
    openSettings(options);
    for (const std::string& path : options.trust) {
        const std::vector<ATL2::CCertContext> roots = readCertificates(path);
        if (std::none_of(roots.begin(), roots.end(), isSelfIssued)) {
            throw InputError(path,
                             "holds no root, that is, no certificate issued by itself; name the root (--trust), "
                             "and the others with --certs");
        }
        for (const ATL2::CCertContext& root : roots) {
            isSelfIssued(root) ? trust_.addRoots(encodingOf(root)) : trust_.addCertificates(encodingOf(root));
        }
    }
    for (const std::string& path : options.certs) {
        for (const ATL2::CCertContext& certificate : readCertificates(path)) {
            add(certificate);
        }
    }
    for (const std::string& path : options.crls) {
        for (const std::string& crl : readCrls(path)) {
            trust_.addCrls(crl);
        }
    }
    if (!options.issuer.empty()) {
        const ATL2::CCertContext issuer = readCertificates(options.issuer).front();
        issuer_.assign(issuer->pbCertEncoded, issuer->pbCertEncoded + issuer->cbCertEncoded);
        add(issuer);  // usually part of the responder's chain
    }
    if (!options.hash.empty()) {
        hashOid_ = toHashOid(options.hash);
    }
}

void RunInputs::add(const ATL2::CCertContext& certificate) {
    trust_.addCertificates(encodingOf(certificate));
}

unsigned long requireRequest(const Orvane::CBlob& bytes, const std::string& path) {
    Orvane::PKI::OCSP::Client::CRequest request;
    try {
        request.Import(bytes.pbData(), bytes.cbData());
    } catch (const ATL::CAtlException& failure) {
        throw InputError(path, explainStatus(failure.status(), "is no request to work with").text, failure.status());
    }
    return request.get_SRNumber();
}

Input encodingOf(const ATL2::CCertContext& certificate) {
    return {certificate->pbCertEncoded, certificate->cbCertEncoded};
}

}  // namespace tallow::cli
