#include "cli/run_inputs.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "checker/text/algorithm_text.h"
#include "checker/text/safe_text.h"
#include "cli/error_text.h"
#include "cli/fingerprint.h"
#include "cli/input_files.h"
#include "cli/settings_check.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/certificate_in.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

using namespace text;

namespace {

constexpr unsigned int kAllTraceLevels = 127;

bool names(const ATL2::CCertContext& certificate, const ATL2::CCertContext& issuer) {
    const CERT_NAME_BLOB& subject = issuer->pCertInfo->Subject;
    const CERT_NAME_BLOB& named = certificate->pCertInfo->Issuer;
    return std::equal(subject.pbData, subject.pbData + subject.cbData, named.pbData, named.pbData + named.cbData);
}

bool isSignedBy(const ATL2::CCertContext& certificate, const ATL2::CCertContext& issuer) {
    return names(certificate, issuer) &&
           CryptVerifyCertificateSignatureEx(
               0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, const_cast<_CERT_CONTEXT*>(certificate.get()),
               CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, const_cast<_CERT_CONTEXT*>(issuer.get()), 0, nullptr) != 0;
}

bool isSelfIssued(const ATL2::CCertContext& certificate) {
    return names(certificate, certificate);
}

PCCRYPT_OID_INFO hashNamed(const std::string& name) {
    std::wstring key = wide(name);
    return CryptFindOIDInfo(CRYPT_OID_INFO_NAME_KEY, key.data(), CRYPT_HASH_ALG_OID_GROUP_ID);
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
    for (const std::string& name : {hash, plainHashName(hash)}) {
        info = info == nullptr ? hashNamed(name) : info;
    }
    if (info == nullptr) {
        throw InputError("--hash " + hash, "is not a known hash; give sha1, sha256, sha384, sha512 or an OID");
    }
    if (const std::string missing = missingEngine(info->pszOID); !missing.empty()) {
        throw InputError("--hash", missing, status::kBadAlgorithm);
    }
    return info->pszOID;
}

const char* remedyFor(const SUPPORT_SETTINGS_ERROR& error) {
    if (error.line != 0) {
        return "correct it, since nothing of the file is used until then";
    }
    if (error.code == static_cast<int>(ERROR_FILE_NOT_FOUND)) {
        return "name a file that exists";
    }
    const std::string_view message = error.message;
    return message.ends_with("directory") || message.ends_with("regular file") ? "name a file"
           : message.ends_with("denied")                                       ? "let this user read it"
           : message.ends_with("30 s")                                         ? "write to the pipe, or name a file"
           : message.ends_with("go-w)") ? "nothing of the file is used until then"
                                        : "it must be readable, and belong to root or this user";
}

void requireSettings() {
    SUPPORT_SETTINGS_ERROR error;
    if (support_settings_error(&error) != 0) {
        throw InputError("settings", std::string(error.message) + "; " + remedyFor(error), status::kNoPolicy);
    }
}

}  // namespace

std::string plainHashName(const std::string& name) {
    std::string plain;
    for (const char c : name) {
        if (c != '-') {
            plain += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
        }
    }
    return plain;
}

Input issuerAmong(const std::vector<ATL2::CCertContext>& issuers, const ATL2::CCertContext& certificate) {
    if (issuers.empty()) {
        return std::string_view();
    }
    // Of a CA that changed its key, there may be two with the name. Without the right one the check says what is wrong.
    auto found = std::find_if(issuers.begin(), issuers.end(),
                              [&certificate](const auto& issuer) { return isSignedBy(certificate, issuer); });
    if (found == issuers.end()) {
        found = std::find_if(issuers.begin(), issuers.end(),
                             [&certificate](const auto& issuer) { return names(certificate, issuer); });
    }
    return encodingOf(found == issuers.end() ? issuers.front() : *found);
}

void appendPem(std::string& text, const ATL2::CCertContext& certificate) {
    DWORD size = 0;
    const auto encode = [&](wchar_t* room) {
        return CryptBinaryToStringW(certificate->pbCertEncoded, certificate->cbCertEncoded, CRYPT_STRING_BASE64, room,
                                    &size) != 0;
    };
    std::wstring body;
    if (encode(nullptr)) {
        body.resize(size);
    }
    if (body.empty() || !encode(body.data())) {
        throw std::bad_alloc();
    }
    body.resize(size);
    text += "-----BEGIN CERTIFICATE-----\n";
    text.append(body.begin(), body.end());  // digits of base64
    text += "\n-----END CERTIFICATE-----\n";
}

std::string settingsMistake() {
    SUPPORT_SETTINGS_ERROR error;
    return support_settings_error(&error) == 0 ? std::string() : error.message;
}

void openSettingsFile(const RunOptions& options) {
    if (!options.settings.empty()) {
        static_cast<void>(support_settings_open(options.settings.c_str()));
    }
    requireSettings();
    if (options.trace) {
        readPolicy();
        static_cast<void>(support_trace_open(kAllTraceLevels, nullptr));
    }
}

void openSettings(const RunOptions& options) {
    openSettingsFile(options);
    const SettingsReport report = reportOnSettings();
    if (!report.wrongType.empty()) {
        throw InputError("settings", report.wrongType, status::kNoPolicy);
    }
    static bool isWarned = false;
    if (!std::exchange(isWarned, true)) {
        std::cerr << report.warning;
    }
}

RunInputs::RunInputs(const RunOptions& options) {
    openSettings(options);
    for (const std::string& path : options.trust) {
        const StoreContent content = readCertificatesAndCrls(path);
        const std::vector<ATL2::CCertContext>& roots = content.certificates;
        note("trust", roots, content.crls);
        if (std::none_of(roots.begin(), roots.end(), isSelfIssued)) {
            throw InputError(path,
                             "contains no root, that is, no self-issued certificate; name the root with --trust, and "
                             "other certificates with --certs");
        }
        std::string pem;
        std::for_each(roots.begin(), roots.end(), [&pem](const auto& root) { appendPem(pem, root); });
        trust_.addRoots(pem);
        add({}, content.crls);
    }
    for (const std::string& path : options.certs) {
        const StoreContent content = readCertificatesAndCrls(path);
        note("certs", content.certificates, content.crls);
        add(content.certificates, content.crls);
    }
    for (const std::string& path : options.crls) {
        const std::vector<std::string> crls = readCrls(path);
        note("crl", {}, crls);
        add({}, crls);
    }
    if (!options.issuer.empty()) {
        StoreContent content = readCertificatesAndCrls(options.issuer);
        note("issuer", content.certificates, content.crls);
        add(content.certificates, content.crls);  // usually part of the responder's chain
        issuers_ = std::move(content.certificates);
    }
    if (!options.hash.empty()) {
        hashOid_ = toHashOid(options.hash);
    }
}

void RunInputs::note(const char* option, const std::vector<ATL2::CCertContext>& certificates,
                     const std::vector<std::string>& crls) {
    Fingerprint all;
    all.add(fingerprint_);
    all.add(option);
    for (const ATL2::CCertContext& certificate : certificates) {
        all.add({reinterpret_cast<const char*>(certificate->pbCertEncoded), certificate->cbCertEncoded});
    }
    all.add("");
    for (const std::string& crl : crls) {
        all.add(crl);
    }
    fingerprint_ = all.text();
}

Input RunInputs::issuerOf(const ATL2::CCertContext& certificate) const {
    return issuerAmong(issuers_, certificate);
}

Input RunInputs::issuerOf(Input der) const {
    const ATL2::CCertContext certificate = ATL2::certificateIn(der.bytes.data(), der.bytes.size());
    return certificate ? issuerOf(certificate) : Input(std::string_view());
}

void RunInputs::add(const std::vector<ATL2::CCertContext>& certificates, const std::vector<std::string>& crls) {
    std::string pem;
    for (const ATL2::CCertContext& certificate : certificates) {
        appendPem(pem, certificate);
    }
    if (!pem.empty()) {
        trust_.addCertificates(pem);
    }
    for (const std::string& crl : crls) {
        trust_.addCrls(crl);
    }
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
