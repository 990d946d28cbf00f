#include "cli/check.h"

#include <algorithm>
#include <new>
#include <utility>

#include "asn1/name.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/safe_text.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/cert_store.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

namespace ocsp = Orvane::PKI::OCSP;
using ocsp::Client::CRequest;
using ocsp::Client::CResponse;
using ocsp::Client::CVerifyingResponseHandler;

constexpr unsigned int kAllTraceLevels = 127;

std::string iso8601(const Orvane::CDateTime& time) {
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", time.year(), time.month(), time.day(),
                  time.hour(), time.minute(), time.second());
    return text;
}

std::string iso8601(const Orvane::CDateTime* time) {
    return time == nullptr ? std::string() : iso8601(*time);
}

const char* reasonName(Orvane::ASN1::CrlReason reason) {
    constexpr const char* kNames[] = {"unspecified",   "keyCompromise",        "cACompromise",    "affiliationChanged",
                                      "superseded",    "cessationOfOperation", "certificateHold", "7",
                                      "removeFromCRL", "privilegeWithdrawn",   "aACompromise"};
    const auto number = static_cast<std::size_t>(reason);
    return number < std::size(kNames) ? kNames[number] : "unspecified";
}

std::string subjectOf(_CERT_CONTEXT const* certificate) {
    CERT_NAME_BLOB const& subject = certificate->pCertInfo->Subject;
    try {
        Orvane::ASN1::CName name;
        name.decode(Orvane::CBlob(subject.pbData, subject.cbData));
        return utf8(name.toString().c_str());
    } catch (...) {
        return {};  // a name that cannot be shown must not keep the answer from being shown
    }
}

std::string serialOf(_CERT_CONTEXT const* certificate) {
    CRYPT_INTEGER_BLOB const& serial = certificate->pCertInfo->SerialNumber;
    Orvane::CBlob octets(serial.pbData, serial.cbData);
    octets.reverse();
    return octets.writeToHexString(0).c_str();
}

// Verifies each response with the extra certificates of the run, and keeps what the first trusted one says: after a
// refusal the request may go on to further responders, and what it returns in the end may be an answer refused earlier.
class Judge : public ocsp::Client::IResponseHandler {
public:
    Judge(CRequest& request, void* store, CheckResult& result)
        : request_(request), stores_{store}, verifier_(request, stores_, 1), result_(result) {}

    std::int32_t OnResponse(CResponse const& response) override {
        try {
            const std::int32_t verdict = verifier_.OnResponse(response);
            if (verdict == 0) {
                accept(CertificateState::kGood, response);
            } else if (verdict == status::kCertificateUnknown) {
                accept(CertificateState::kUnknown, response);
            }
            return verdict;
        } catch (ATL::CAtlException const& verdict) {
            if (verdict.status() == status::kCertificateRevoked) {
                accept(CertificateState::kRevoked, response);
            }
            throw;
        }
    }

    bool accepted() const { return accepted_; }

private:
    void accept(CertificateState state, CResponse const& response) {
        // A later good answer outweighs an earlier "unknown"; nothing else is ever followed by a further answer.
        accepted_ = true;
        const unsigned long index = response.get_SRIndexByCertID(request_.get_SRCertID(0));
        result_.state = state;
        result_.responder = utf8(request_.get_OCSPAddress());
        result_.producedAt = iso8601(response.get_ProducedAt());
        result_.thisUpdate = iso8601(response.get_SRThisUpdate(index));
        result_.nextUpdate = iso8601(response.get_SRNextUpdate(index));
        result_.revocationTime = iso8601(response.get_SRRevTime(index));
        if (Orvane::ASN1::CrlReason const* reason = response.get_SRRevReason(index); reason != nullptr) {
            result_.revocationReason = reasonName(*reason);
        }
    }

    CRequest& request_;
    void* stores_[1];
    CVerifyingResponseHandler verifier_;
    CheckResult& result_;
    bool accepted_ = false;
};

// Everything that one run shares between its certificates.
class Run {
public:
    explicit Run(const CheckOptions& options) : options_(options) {
        openSettings();
        if (extra_.Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr) != 0) {
            throw std::bad_alloc();
        }
        for (const std::string& path : options.trust) {
            for (const ATL2::CCertContext& root : readCertificates(path)) {
                crypto_add_trusted_root(root.get());
                addCertificate(root);
            }
        }
        for (const std::string& path : options.certs) {
            for (const ATL2::CCertContext& certificate : readCertificates(path)) {
                addCertificate(certificate);
            }
        }
        for (const std::string& path : options.crls) {
            addCrls(path);
        }
        if (!options.issuer.empty()) {
            issuer_ = readCertificates(options.issuer).front();
        }
        hash_ = hashOid();
    }

    CheckResult check(const std::string& file);

private:
    void openSettings() const;
    void addCertificate(const ATL2::CCertContext& certificate);
    void addCrls(const std::string& path);
    std::string hashOid() const;
    ATL2::CCertContext issuerOf(_CERT_CONTEXT const* certificate) const;
    void fillRequest(CRequest& request, _CERT_CONTEXT const* certificate) const;
    void save(CRequest& request) const;

    const CheckOptions& options_;
    ATL2::CCertStore extra_;
    ATL2::CCertContext issuer_;
    std::string hash_;
};

void Run::openSettings() const {
    if (!options_.settings.empty()) {
        static_cast<void>(support_settings_open(options_.settings.c_str()));
    }
    SUPPORT_SETTINGS_ERROR error;
    if (support_settings_error(&error) != 0) {
        throw InputError(error.message);
    }
    if (options_.trace) {
        static_cast<void>(support_trace_open(kAllTraceLevels, nullptr));
    }
}

void Run::addCertificate(const ATL2::CCertContext& certificate) {
    if (!CertAddCertificateContextToStore(extra_.get(), certificate.get(), CERT_STORE_ADD_USE_EXISTING, nullptr)) {
        throw std::bad_alloc();
    }
}

void Run::addCrls(const std::string& path) {
    for (const std::string& crl : readCrls(path)) {
        if (!CertAddEncodedCRLToStore(extra_.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(crl.data()),
                                      static_cast<DWORD>(crl.size()), CERT_STORE_ADD_ALWAYS, nullptr)) {
            throw InputError(path + ": is not a CRL");
        }
    }
}

std::string Run::hashOid() const {
    if (options_.hash.empty()) {
        return {};
    }
    if (CertOIDToAlgId(options_.hash.c_str()) != 0) {
        return options_.hash;
    }
    std::wstring name = wide(options_.hash);
    if (PCCRYPT_OID_INFO info = CryptFindOIDInfo(CRYPT_OID_INFO_NAME_KEY, name.data(), CRYPT_HASH_ALG_OID_GROUP_ID);
        info != nullptr) {
        return info->pszOID;
    }
    throw InputError("--hash " + options_.hash + ": no such hash");
}

// The issuer given, or the one among the certificates of the run whose key signed this certificate; empty when the
// library has to look for it.
ATL2::CCertContext Run::issuerOf(_CERT_CONTEXT const* certificate) const {
    if (issuer_) {
        return issuer_;
    }
    ATL2::CCertContext candidate;
    while (_CERT_CONTEXT const* next = CertFindCertificateInStore(
               extra_.get(), X509_ASN_ENCODING, 0, CERT_FIND_ISSUER_OF, certificate, candidate.detach())) {
        candidate.reset(next);
        if (CryptVerifyCertificateSignatureEx(
                0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, const_cast<_CERT_CONTEXT*>(certificate),
                CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, const_cast<_CERT_CONTEXT*>(next), 0, nullptr)) {
            return candidate;
        }
    }
    return {};
}

void Run::fillRequest(CRequest& request, _CERT_CONTEXT const* certificate) const {
    const ATL2::CCertContext issuer = issuerOf(certificate);
    request.put_SRCertIDFromCert(certificate, issuer.get(), 0, hash_.empty() ? nullptr : hash_.c_str());
    if (options_.nonce) {
        request.put_UseNonce(*options_.nonce);
    }
    if (!options_.url.empty()) {
        request.put_OCSPAddress(wide(options_.url).c_str());
    }
    if (!options_.proxy.empty()) {
        request.put_ProxyAddress(wide(options_.proxy).c_str());
    }
}

void Run::save(CRequest& request) const {
    if (!options_.saveRequest.empty()) {
        unsigned long size = 0;
        request.Export(nullptr, &size);
        Orvane::CBlob bytes(size);
        request.Export(bytes.pbData(), &size);
        writeWhole(options_.saveRequest, bytes.pbData(), size);
    }
}

CheckResult Run::check(const std::string& file) {
    CheckResult result;
    result.file = file;
    std::vector<ATL2::CCertContext> certificates;
    try {
        certificates = readCertificates(file);
    } catch (const InputError& error) {
        // The name of the file stands before the text wherever a result is printed.
        const std::string text = error.what();
        result.error = CheckError{status::kFileNotFound, text.substr(std::min(text.size(), file.size() + 2)), {}};
        return result;
    }
    _CERT_CONTEXT const* certificate = certificates.front().get();
    result.subject = subjectOf(certificate);
    result.serial = serialOf(certificate);
    // What stands behind the certificate in its file are, as a rule, those above it.
    std::for_each(certificates.begin() + 1, certificates.end(), [this](const auto& next) { addCertificate(next); });

    std::optional<CRequest> request;
    std::optional<Judge> judge;
    try {
        request.emplace();
        fillRequest(*request, certificate);
        save(*request);
        judge.emplace(*request, extra_.get(), result);
        request->put_ResponseHandler(&*judge);
        request->Send(false);
    } catch (ATL::CAtlException const& failure) {
        if (!judge || !judge->accepted()) {
            result.error = explain(failure.status(), request ? &*request : nullptr);
        }
    }
    // A response that came back without having been accepted is an answer that was refused.
    if (!result.error && judge && !judge->accepted()) {
        const std::int32_t refusal = request->get_Attempts().empty() ? status::kFail : firstRefusal(*request);
        result.error = explain(refusal, &*request);
    }
    if (!options_.saveResponse.empty() && request && request->get_Response().cbData() != 0) {
        const Orvane::CBlob response = request->get_Response();
        writeWhole(options_.saveResponse, response.pbData(), response.cbData());
    }
    return result;
}

}  // namespace

const char* nameOf(CertificateState state) {
    switch (state) {
        case CertificateState::kGood:
            return "good";
        case CertificateState::kRevoked:
            return "revoked";
        case CertificateState::kUnknown:
            return "unknown";
        case CertificateState::kError:
            break;
    }
    return "error";
}

std::vector<CheckResult> runCheck(const CheckOptions& options) {
    Run run(options);
    std::vector<CheckResult> results;
    for (const std::string& file : options.certificates) {
        results.push_back(run.check(file));
    }
    return results;
}

int exitStatusOf(const std::vector<CheckResult>& results) {
    const auto any = [&results](CertificateState state) {
        return std::any_of(results.begin(), results.end(), [state](const CheckResult& r) { return r.state == state; });
    };
    if (any(CertificateState::kRevoked)) {
        return 1;
    }
    if (any(CertificateState::kError)) {
        return 3;
    }
    return any(CertificateState::kUnknown) ? 2 : 0;
}

}  // namespace tallow::cli
