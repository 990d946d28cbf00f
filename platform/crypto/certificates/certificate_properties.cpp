#include "platform/crypto/certificates/certificate_properties.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <optional>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/base/wide_text.h"
#include "platform/crypto/keys/algorithms.h"

namespace tallow::platform {

namespace {

constexpr const char* kSubjectKeyIdentifier = "2.5.29.14";
constexpr const char* kExtendedKeyUsage = "2.5.29.37";
constexpr const char* kAuthorityInfoAccess = "1.3.6.1.5.5.7.1.1";

bool extensionValue(const CertificateBody& body, const char* oid, Bytes& value) {
    const CERT_EXTENSION* const extension = body.extension(oid);
    if (extension == nullptr) {
        return false;
    }
    const ByteView bytes = view(extension->Value);
    value.assign(bytes.begin(), bytes.end());
    return true;
}

// The content of the subject key identifier, or else the hash of the whole public key information.
bool keyIdentifier(const CertificateBody& body, Bytes& value) {
    if (const CERT_EXTENSION* const extension = body.extension(kSubjectKeyIdentifier)) {
        DerReader reader(view(extension->Value));
        const DerElement element = reader.expect(V_ASN1_OCTET_STRING);
        value.assign(element.content.begin(), element.content.end());
        return !reader.failed();
    }
    return hashBytes("SHA1", body.publicKeyInfo(), value);
}

// The signed bytes, hashed as for the signature.
bool signatureHash(const CertificateBody& body, Bytes& value) {
    const Algorithm* const signature =
        findAlgorithm(body.info().SignatureAlgorithm.pszObjId, CRYPT_SIGN_ALG_OID_GROUP_ID);
    return signature != nullptr && signature->digest != nullptr && !signature->engine &&
           hashBytes(signature->digest, body.tbs(), value);
}

}  // namespace

bool hashBytes(const char* digest, ByteView bytes, Bytes& value) {
    const OpenSslErrors errors;
    value.resize(EVP_MAX_MD_SIZE);
    size_t size = 0;
    if (EVP_Q_digest(nullptr, digest, nullptr, bytes.data(), bytes.size(), value.data(), &size) != 1) {
        value.clear();
        return false;
    }
    value.resize(size);
    return true;
}

bool computeProperty(const CertificateBody& body, DWORD id, Bytes& value) {
    switch (id) {
        case CERT_SHA1_HASH_PROP_ID:
            return hashBytes("SHA1", body.der(), value);
        case CERT_MD5_HASH_PROP_ID:
            return hashBytes("MD5", body.der(), value);
        case CERT_SHA256_HASH_PROP_ID:
            return hashBytes("SHA256", body.der(), value);
        case CERT_SIGNATURE_HASH_PROP_ID:
            return signatureHash(body, value);
        case CERT_KEY_IDENTIFIER_PROP_ID:
            return keyIdentifier(body, value);
        case CERT_SUBJECT_NAME_MD5_HASH_PROP_ID:
            return hashBytes("MD5", view(body.info().Subject), value);
        case CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID:
            return hashBytes("MD5", body.publicKeyBits(), value);
        case CERT_ENHKEY_USAGE_PROP_ID:
            return extensionValue(body, kExtendedKeyUsage, value);
        case CERT_AUTHORITY_INFO_ACCESS_PROP_ID:
            return extensionValue(body, kAuthorityInfoAccess, value);
        default:
            return false;
    }
}

namespace {

// Appends to a block whose pointers are offsets.
class Packer {
public:
    explicit Packer(size_t sizeHead) : block_(sizeHead) {}

    uintptr_t append(const void* bytes, size_t size) {
        if (bytes == nullptr) {
            return 0;
        }
        const size_t offset = (block_.size() + alignof(void*) - 1) / alignof(void*) * alignof(void*);
        block_.resize(offset + size);
        if (size != 0) {
            std::memcpy(block_.data() + offset, bytes, size);
        }
        return offset;
    }
    uintptr_t append(const wchar_t* text) {
        return append(text, text == nullptr ? 0 : (std::wcslen(text) + 1) * sizeof *text);
    }
    template <typename Record>
    void put(size_t offset, const Record& record) {
        std::memcpy(block_.data() + offset, &record, sizeof record);
    }
    Bytes take() { return std::move(block_); }

private:
    Bytes block_;
};

// The pointer fields contain offsets; 0 stays null, since the head is at offset 0.
template <typename T>
void setOffset(T*& pointer, uintptr_t offset) {
    pointer = reinterpret_cast<T*>(offset);  // NOLINT(performance-no-int-to-ptr)
}

template <typename T>
void relocate(T*& pointer, BYTE* base) {
    if (pointer != nullptr) {
        pointer = reinterpret_cast<T*>(base + reinterpret_cast<uintptr_t>(pointer));
    }
}

}  // namespace

Bytes packKeyProvInfo(const CRYPT_KEY_PROV_INFO& info) {
    Packer packer(sizeof info);
    CRYPT_KEY_PROV_INFO head = info;
    const DWORD count = info.rgProvParam == nullptr ? 0 : info.cProvParam;
    head.cProvParam = count;
    const uintptr_t parameters = packer.append(info.rgProvParam, count * sizeof(CRYPT_KEY_PROV_PARAM));
    for (DWORD i = 0; i < count; ++i) {
        CRYPT_KEY_PROV_PARAM parameter = info.rgProvParam[i];
        setOffset(parameter.pbData, packer.append(parameter.pbData, parameter.cbData));
        packer.put(parameters + i * sizeof parameter, parameter);
    }
    setOffset(head.rgProvParam, parameters);
    setOffset(head.pwszContainerName, packer.append(info.pwszContainerName));
    setOffset(head.pwszProvName, packer.append(info.pwszProvName));
    packer.put(0, head);
    return packer.take();
}

void unpackKeyProvInfo(ByteView packed, void* buffer) {
    BYTE* const base = static_cast<BYTE*>(buffer);
    std::memcpy(base, packed.data(), packed.size());
    CRYPT_KEY_PROV_INFO head{};
    std::memcpy(&head, base, sizeof head);
    relocate(head.pwszContainerName, base);
    relocate(head.pwszProvName, base);
    relocate(head.rgProvParam, base);
    for (DWORD i = 0; i < head.cProvParam; ++i) {
        BYTE* const place = reinterpret_cast<BYTE*>(head.rgProvParam) + i * sizeof(CRYPT_KEY_PROV_PARAM);
        CRYPT_KEY_PROV_PARAM parameter{};
        std::memcpy(&parameter, place, sizeof parameter);
        relocate(parameter.pbData, base);
        std::memcpy(place, &parameter, sizeof parameter);
    }
    std::memcpy(base, &head, sizeof head);
}

bool nameKey(const Certificate& certificate, const std::string& uri) {
    std::optional<std::wstring> container = widen(uri, MB_ERR_INVALID_CHARS);
    if (!container) {
        return false;
    }
    CRYPT_KEY_PROV_INFO info{};
    info.pwszContainerName = container->data();
    info.dwKeySpec = AT_SIGNATURE;
    certificate.setProperty(CERT_KEY_PROV_INFO_PROP_ID, packKeyProvInfo(info));
    return true;
}

}  // namespace tallow::platform
