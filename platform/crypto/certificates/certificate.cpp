#include "platform/crypto/certificates/certificate.h"

#include "platform/crypto/certificates/certificate_cache.h"
#include "platform/crypto/certificates/certificate_properties.h"

namespace tallow::platform {

// ---- CertificateRef ------------------------------------------------------------------------------------------------

CertificateRef::CertificateRef(const CertificateRef& other) noexcept : certificate_(other.certificate_) {
    if (certificate_ != nullptr) {
        certificate_->addReference();
    }
}

CertificateRef& CertificateRef::operator=(CertificateRef other) noexcept {
    std::swap(certificate_, other.certificate_);
    return *this;
}

CertificateRef::~CertificateRef() {
    if (certificate_ != nullptr) {
        certificate_->dropReference();
    }
}

CertificateRef CertificateRef::adopt(const Certificate* certificate) noexcept {
    CertificateRef reference;
    reference.certificate_ = certificate;
    return reference;
}

CertificateRef CertificateRef::share(PCCERT_CONTEXT context) noexcept {
    const Certificate* const certificate = Certificate::of(context);
    if (certificate != nullptr) {
        certificate->addReference();
    }
    return adopt(certificate);
}

const Certificate* CertificateRef::release() noexcept {
    return std::exchange(certificate_, nullptr);
}

PCCERT_CONTEXT CertificateRef::releaseContext() noexcept {
    return certificate_ == nullptr ? nullptr : release()->context();
}

// ---- Certificate ---------------------------------------------------------------------------------------------------

Certificate::Certificate(Maker /*maker*/, std::shared_ptr<const CertificateBody> body, HCERTSTORE store)
    : CERT_CONTEXT{}, body_(std::move(body)) {
    dwCertEncodingType = X509_ASN_ENCODING;
    // The public record has no const; nothing here writes through these.
    pbCertEncoded = const_cast<BYTE*>(body_->der().data());
    cbCertEncoded = static_cast<DWORD>(body_->der().size());
    pCertInfo = const_cast<CERT_INFO*>(&body_->info());
    hCertStore = store;
}

CertificateRef Certificate::make(std::shared_ptr<const CertificateBody> body, HCERTSTORE store) {
    if (body == nullptr) {
        return {};
    }
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the last reference frees it
    return CertificateRef::adopt(std::make_unique<Certificate>(Maker(), std::move(body), store).release());
}

CertificateRef Certificate::create(ByteView der) {
    return make(sharedBody(der), nullptr);
}

CertificateRef Certificate::copy(const Certificate& source, HCERTSTORE store) {
    CertificateRef made = make(source.body_, store);
    made->addMissingProperties(source);
    return made;
}

const Certificate* Certificate::of(PCCERT_CONTEXT context) noexcept {
    return static_cast<const Certificate*>(context);
}

void Certificate::dropReference() const noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const std::unique_ptr<const Certificate> last(this);
    }
}

bool Certificate::property(DWORD id, Bytes& value) const {
    const std::scoped_lock lock(mutex_);
    const auto found = properties_.find(id);
    if (found != properties_.end()) {
        value = found->second;
        return true;
    }
    if (!computeProperty(*body_, id, value)) {
        return false;
    }
    properties_.emplace(id, value);
    return true;
}

void Certificate::setProperty(DWORD id, ByteView value) const {
    Bytes copied(value.begin(), value.end());
    const std::scoped_lock lock(mutex_);
    properties_[id] = std::move(copied);
}

void Certificate::removeProperty(DWORD id) const {
    const std::scoped_lock lock(mutex_);
    properties_.erase(id);
}

DWORD Certificate::propertyAfter(DWORD id) const {
    const std::scoped_lock lock(mutex_);
    const auto next = properties_.upper_bound(id);
    return next == properties_.end() ? 0 : next->first;
}

std::map<DWORD, Bytes> Certificate::copiedProperties() const {
    const std::scoped_lock lock(mutex_);
    return properties_;
}

// Both copy first: holding two locks at once could deadlock with a call in the other direction.
void Certificate::addMissingProperties(const Certificate& source) const {
    std::map<DWORD, Bytes> theirs = source.copiedProperties();
    const std::scoped_lock lock(mutex_);
    properties_.merge(theirs);
}

void Certificate::replaceProperties(const Certificate& source) const {
    std::map<DWORD, Bytes> theirs = source.copiedProperties();
    const std::scoped_lock lock(mutex_);
    properties_.swap(theirs);
}

}  // namespace tallow::platform
