#include "handles/cert_context.h"

#include <algorithm>
#include <array>
#include <utility>

#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace ATL2 {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

// Properties that are not copied when a certificate leaves its store: those that the service derives from the
// certificate whenever they are read (3, 4, 15, 18, 20, 24, 25: hashes, key identifier and the like) and those that
// describe where it came from (7, 8, 17, 27).
constexpr std::array<DWORD, 11> kPropertiesLeftBehind = {3, 4, 7, 8, 15, 17, 18, 20, 24, 25, 27};

bool isLeftBehind(DWORD id) noexcept {
    return std::find(kPropertiesLeftBehind.begin(), kPropertiesLeftBehind.end(), id) != kPropertiesLeftBehind.end();
}

// The key provider information is its own record; every other property is passed as size and bytes.
std::int32_t setProperty(PCCERT_CONTEXT context, DWORD id, ATL::CStringA& value) {
    const auto size = static_cast<DWORD>(value.GetLength());
    char* const bytes = value.GetBuffer(value.GetLength());
    CRYPT_DATA_BLOB blob{size, reinterpret_cast<BYTE*>(bytes)};
    const void* const data = id == CERT_KEY_PROV_INFO_PROP_ID ? static_cast<const void*>(bytes) : &blob;
    return CertSetCertificateContextProperty(context, id, 0, data) ? status::kOk : convertedLastErrorOrFail();
}

std::int32_t copyProperties(const CCertContext& from, const CCertContext& to) {
    DWORD id = CertEnumCertificateContextProperties(from.get(), 0);
    for (; id != 0; id = CertEnumCertificateContextProperties(from.get(), id)) {
        if (isLeftBehind(id)) {
            continue;
        }
        ATL::CStringA value;
        if (const std::int32_t status = from.GetProperty(id, value); status < 0) {
            return status;
        }
        if (const std::int32_t status = setProperty(to.get(), id, value); status != status::kOk) {
            return status;
        }
    }
    return status::kOk;
}

// Sets the length to what the service wrote, which it may also do when it fails.
void setLength(ATL::CStringA& value, DWORD size) {
    value.ReleaseBufferSetLength(static_cast<int>(size));
}

}  // namespace

CCertContext CCertContext::duplicate(const _CERT_CONTEXT* context) noexcept {
    return CCertContext(context == nullptr ? nullptr : CertDuplicateCertificateContext(context));
}

CCertContext::CCertContext(const CCertContext& other) noexcept : CCertContext(duplicate(other.context_)) {}

CCertContext& CCertContext::operator=(const CCertContext& other) noexcept {
    if (this != &other) {
        reset();
        context_ = duplicate(other.context_).detach();
    }
    return *this;
}

CCertContext& CCertContext::operator=(CCertContext&& other) noexcept {
    if (this != &other) {
        reset(other.detach());
    }
    return *this;
}

void CCertContext::reset(const _CERT_CONTEXT* context) noexcept {
    if (context_ != nullptr) {
        CertFreeCertificateContext(context_);
    }
    context_ = context;
}

const _CERT_CONTEXT* CCertContext::detach() noexcept {
    return std::exchange(context_, nullptr);
}

void CCertContext::swap(CCertContext& other) noexcept {
    std::swap(context_, other.context_);
}

std::int32_t CCertContext::DetachFromStore() {
    if (context_ == nullptr) {
        return status::kFail;
    }
    CCertContext detached =
        adopt(CertCreateCertificateContext(kEncoding, context_->pbCertEncoded, context_->cbCertEncoded));
    if (!detached) {
        return convertedLastErrorOrFail();
    }
    if (const std::int32_t status = copyProperties(*this, detached); status != status::kOk) {
        return status;
    }
    *this = std::move(detached);
    return status::kOk;
}

std::int32_t CCertContext::GetProperty(unsigned int id, ATL::CStringA& value) const {
    if (context_ == nullptr) {
        return status::kFail;
    }
    DWORD size = 0;
    if (!CertGetCertificateContextProperty(context_, id, nullptr, &size)) {
        return convertedLastErrorOrFail();
    }
    char* const buffer = value.GetBuffer(static_cast<int>(size));
    const bool isRead = CertGetCertificateContextProperty(context_, id, buffer, &size) != FALSE;
    const std::int32_t status = isRead ? status::kOk : convertedLastErrorOrFail();
    setLength(value, size);
    return status;
}

std::int32_t CCertContext::GetKeyProvInfo(ATL::CStringA& value) const {
    constexpr DWORD kUsualSize = 512;
    if (context_ == nullptr) {
        return status::kFail;
    }
    DWORD size = kUsualSize;
    const auto read = [&] {
        void* const buffer = value.GetBuffer(static_cast<int>(size));
        return CertGetCertificateContextProperty(context_, CERT_KEY_PROV_INFO_PROP_ID, buffer, &size)
                   ? status::kOk
                   : convertedLastErrorOrFail();
    };
    std::int32_t status = read();
    if (status == status::kMoreData) {
        status = read();
    }
    setLength(value, status == status::kOk ? size : 0);
    return status;
}

}  // namespace ATL2
