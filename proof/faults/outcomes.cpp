#include "proof/faults/outcomes.h"

#include <cstring>
#include <optional>
#include <set>
#include <stdexcept>

#include "checker/checker.h"
#include "client/flat/verifying_response_handler.h"
#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/cert_store.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace proof {

namespace {

using Orvane::CBlob;
using Orvane::CDateTime;
using namespace Orvane::PKI::OCSP::Client;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

// ---- Values as text -------------------------------------------------------------------------------------------------

// Lines "name: value".
class Values {
public:
    void add(const char* name, const std::string& value) { text_ += std::string(name) + ": " + value + '\n'; }
    void add(const char* name, std::uint64_t value) { add(name, std::to_string(value)); }
    void add(const char* name, const Bytes& value) { add(name, testkit::toHex(value)); }
    void add(const char* name, const CBlob& value) {
        add(name, Bytes(value.pbData(), value.pbData() + value.cbData()));
    }
    void add(const char* name, const CDateTime* value) {
        add(name, value == nullptr ? "" : std::to_string(value->ticks()));
    }
    void add(const char* name, const std::optional<tallow::Time>& value) {
        add(name, value ? std::to_string(value->time_since_epoch().count()) : "");
    }
    void add(const char* name, const Orvane::ASN1::CExtensions* list) {
        if (list == nullptr) {
            add(name, "none");
            return;
        }
        for (const Orvane::ASN1::CExtension& extension : *list) {
            add(name, std::string(extension.get_extnID()) + (extension.get_critical() ? " critical " : " "));
            add(name, extension.get_extnValue());
        }
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

void addChain(Values& values, const char* name, const std::vector<tallow::ChainLink>& chain) {
    for (const tallow::ChainLink& link : chain) {
        values.add(name, link.subject + " by " + link.issuer + ' ' + testkit::toHex(link.serial));
        values.add("  revocation", static_cast<std::uint64_t>(link.revocation));
        values.add("  fault", link.fault);
        values.add("  CRL", link.crlIssuer);
        values.add("  CRL thisUpdate", link.crlThisUpdate);
        values.add("  CRL nextUpdate", link.crlNextUpdate);
        values.add("  notBefore", link.notBefore);
        values.add("  notAfter", link.notAfter);
    }
}

std::string valuesOf(const tallow::Verdict& verdict) {
    Values values;
    values.add("answer", static_cast<std::uint64_t>(verdict.answer));
    values.add("reached", static_cast<std::uint64_t>(verdict.reached));
    values.add("status", static_cast<std::uint32_t>(verdict.status));
    values.add("subject", verdict.subject);
    values.add("serial", verdict.serial);
    values.add("revokedAt", verdict.revokedAt);
    values.add("reason", verdict.reason ? std::to_string(static_cast<int>(*verdict.reason)) : "");
    values.add("producedAt", verdict.producedAt);
    values.add("thisUpdate", verdict.thisUpdate);
    values.add("nextUpdate", verdict.nextUpdate);
    values.add("freshness", static_cast<std::uint64_t>(verdict.freshness));
    values.add("responder", verdict.responder);
    values.add("signer", verdict.signer);
    values.add("signerCertificate", verdict.signerCertificate);
    values.add("authority", static_cast<std::uint64_t>(verdict.authority));
    values.add("issuer", verdict.evidence.issuer);
    values.add("issuerCertificate", verdict.evidence.issuerCertificate);
    values.add("issuerSource", static_cast<std::uint64_t>(verdict.evidence.issuerSource));
    values.add("hash", verdict.evidence.hashOid);
    addChain(values, "signerChain", verdict.evidence.signerChain);
    values.add("cause", verdict.cause);
    values.add("why", verdict.why());
    return values.text();
}

std::string valuesOf(const CResponse& response, const _CERT_CONTEXT* signer) {
    Values values;
    values.add("status", response.get_Status());
    values.add("producedAt", response.get_ProducedAt().ticks());
    values.add("responderIDType", response.get_responderIDType());
    values.add("responderID", response.get_responderID());
    values.add("hasNonce", response.get_HasNonce());
    values.add("signature", response.get_SignatureAlgorithmOID());
    values.add("extension", response.get_AdditionalExtensions());
    values.add("entries", response.get_SRNumber());
    for (unsigned long i = 0; i < response.get_SRNumber(); ++i) {
        const Orvane::PKI::OCSP::CCertID id = response.get_SRCertID(i);
        values.add("entry", i);
        values.add("  hash", id.get_hashAlgorithm().get_algorithm());
        values.add("  parameters", id.get_hashAlgorithm().get_parameters());
        values.add("  name", id.get_issuerNameHash());
        values.add("  key", id.get_issuerKeyHash());
        values.add("  serial", id.get_serialNumber());
        values.add("  status", response.get_SRStatus(i));
        values.add("  revocationTime", response.get_SRRevTime(i));
        const Orvane::ASN1::CrlReason* const reason = response.get_SRRevReason(i);
        values.add("  reason", reason == nullptr ? "" : std::to_string(*reason));
        values.add("  thisUpdate", response.get_SRThisUpdate(i).ticks());
        values.add("  nextUpdate", response.get_SRNextUpdate(i));
        values.add("  historical", response.get_SRHistoricalRequest(i) != nullptr);
        values.add("  archiveCutoff", response.get_SRArchiveCutoff(i));
        values.add("  crlReference", response.get_SRCRLReference(i) != nullptr);
        values.add("  extension", response.get_SRAdditionalExtensions(i));
    }
    values.add("signer", CBlob(signer->pbCertEncoded, signer->cbCertEncoded));
    return values.text();
}

std::string carriedIn(const CResponse& response) {
    std::multiset<std::string> certificates;
    const _CERT_CONTEXT* certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(response.get_Certificates(), certificate)) != nullptr) {
        certificates.insert(
            testkit::toHex({certificate->pbCertEncoded, certificate->pbCertEncoded + certificate->cbCertEncoded}));
    }
    std::string all;
    for (const std::string& one : certificates) {
        all += one + '\n';
    }
    return all;
}

std::string_view viewOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

tallow::Trust trustOf(const Base& base) {
    tallow::Trust trust;
    trust.addRoots(viewOf(base.root)).addCertificates(base.issuer);
    if (!base.certificates.empty()) {
        trust.addCertificates(viewOf(base.certificates));
    }
    for (const Bytes& crl : base.crls) {
        trust.addCrls(crl);
    }
    return trust;
}

// Adds the blocks of a PEM text, or one certificate.
void addTo(const ATL2::CCertStore& store, const Bytes& content) {
    if (content.empty()) {
        return;
    }
    Bytes der = content;
    if (content[0] == '-') {
        DWORD size = 0;
        const auto* const text = reinterpret_cast<const char*>(content.data());
        const auto length = static_cast<DWORD>(content.size());
        require(CryptStringToBinaryA(text, length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr) != 0,
                "reading PEM");
        der.resize(size);
        require(CryptStringToBinaryA(text, length, CRYPT_STRING_BASE64HEADER, der.data(), &size, nullptr, nullptr) != 0,
                "reading PEM");
    }
    const _CERT_CONTEXT* const context =
        CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
    require(context != nullptr &&
                CertAddCertificateContextToStore(store.get(), context, CERT_STORE_ADD_ALWAYS, nullptr) != 0,
            "filling a store");
    CertFreeCertificateContext(context);
}

// The rules of an isolated check while it exists.
class IsolatedCheck {
public:
    explicit IsolatedCheck(void* roots) {
        record_.cbSize = sizeof record_;
        record_.dwFlags = CRYPTO_CHECK_NO_DOWNLOADS | CRYPTO_CHECK_NO_STORES | CRYPTO_CHECK_NO_CACHE;
        record_.pwszProxy = record_.pwszProxyCredentials = L"";
        record_.hRoots = roots;
        require(crypto_begin_check(&record_) != 0, "beginning a check");
    }
    ~IsolatedCheck() { crypto_end_check(&record_); }
    IsolatedCheck(const IsolatedCheck&) = delete;
    IsolatedCheck& operator=(const IsolatedCheck&) = delete;

private:
    CRYPTO_CHECK record_{};
};

}  // namespace

struct Contender::Impl {
    explicit Impl(const Base& from) : base(from), checker(trustOf(from), {.nonce = tallow::Nonce::kRequire}) {
        for (ATL2::CCertStore* const store : {&roots, &others}) {
            require(store->Open(CERT_STORE_PROV_MEMORY, 0, 0, nullptr) == 0, "opening a store");
        }
        addTo(roots, base.root);
        addTo(others, base.issuer);
        addTo(others, base.certificates);
        for (const Bytes& crl : base.crls) {
            require(CertAddEncodedCRLToStore(others.get(), X509_ASN_ENCODING, crl.data(),
                                             static_cast<DWORD>(crl.size()), CERT_STORE_ADD_ALWAYS, nullptr) != 0,
                    "adding a CRL");
        }
        stored.certificate = base.leaf;
        stored.issuer = base.issuer;
        stored.request = base.request;
    }

    Base base;
    tallow::Checker checker;
    tallow::Stored stored;
    ATL2::CCertStore roots, others;
};

Contender::Contender(const Base& base) : impl_(std::make_unique<Impl>(base)) {}
Contender::~Contender() = default;
Contender::Contender(Contender&&) noexcept = default;

Outcome Contender::byChecker(const Bytes& response) const {
    const std::vector<tallow::Verdict> verdicts = impl_->checker.verify(response, impl_->stored);
    require(verdicts.size() == 1, "not one verdict");
    const tallow::Verdict& verdict = verdicts[0];
    require((verdict.status == 0) == (verdict.answer == tallow::Answer::kGood) &&
                (verdict.reached == tallow::Step::kProven) == (verdict.answer != tallow::Answer::kUnproven) &&
                !verdict.why().empty(),
            "a verdict that contradicts itself");
    Outcome outcome;
    if (verdict.answer == tallow::Answer::kUnproven) {
        require(verdict.response.empty(), "an unproven verdict with a response");
        return outcome;
    }
    require(verdict.response == response, "a verdict with another response");
    outcome.answer = verdict.answer == tallow::Answer::kGood      ? Outcome::Answer::kGood
                     : verdict.answer == tallow::Answer::kRevoked ? Outcome::Answer::kRevoked
                                                                  : Outcome::Answer::kUnknown;
    outcome.values = valuesOf(verdict);
    return outcome;
}

Outcome Contender::byClasses(const Bytes& octets) const {
    const IsolatedCheck check(impl_->roots.get());
    Outcome outcome;
    CRequest request;
    request.Import(impl_->base.request.data(), static_cast<unsigned long>(impl_->base.request.size()));
    CResponse response;
    void* stores[] = {impl_->others.get()};
    try {
        response.Import(octets.data(), static_cast<unsigned long>(octets.size()), &request);
        CVerifyingResponseHandler handler(request, stores, 1);
        const std::int32_t verdict = handler.OnResponse(response);
        outcome.answer = verdict == status::kOk                   ? Outcome::Answer::kGood
                         : verdict == status::kCertificateUnknown ? Outcome::Answer::kUnknown
                                                                  : Outcome::Answer::kNone;
    } catch (const ATL::CAtlException& failure) {
        require(failure.status() != status::kOk, "an exception without a status");
        outcome.answer =
            failure.status() == status::kCertificateRevoked ? Outcome::Answer::kRevoked : Outcome::Answer::kNone;
    }
    if (outcome.answer != Outcome::Answer::kNone) {
        outcome.values = valuesOf(response, response.get_OCSPCertificate(stores, 1));
        outcome.carried = carriedIn(response);
        const CBlob& parameters = response.get_SignatureAlgorithmParameters();
        outcome.parameters = testkit::toHex({parameters.pbData(), parameters.pbData() + parameters.cbData()});
    }
    return outcome;
}

const char* nameOf(Outcome::Answer answer) {
    static constexpr const char* kNames[] = {"nothing", "good", "revoked", "unknown"};
    return kNames[static_cast<int>(answer)];
}

}  // namespace proof
