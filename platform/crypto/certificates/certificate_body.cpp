// The fields of a certificate. The outer structure is parsed here, with OpenSSL's header reader: building OpenSSL's
// whole object costs ten times as much, mostly for the public key, and a response may carry certificates that are never
// used.
#include <openssl/asn1.h>

#include <algorithm>
#include <cstring>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/certificate.h"
#include "platform/crypto/certificates/certificate_object.h"
#include "platform/crypto/keys/algorithms.h"
#include "platform/crypto/keys/public_key.h"

namespace tallow::platform {

namespace {

constexpr int kFirstVersionWithExtensions = 2;

CRYPT_DATA_BLOB blob(ByteView bytes) {
    // The records have no const; nothing here writes through them.
    return {static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
}

// The number of `count` digits at `position`; a value out of every range when they are not digits.
WORD digitsAt(ByteView text, size_t position, size_t count) {
    WORD number = 0;
    for (size_t i = position; i < position + count; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return UINT16_MAX;
        }
        number = static_cast<WORD>(number * 10 + (text[i] - '0'));
    }
    return number;
}

// A time of a validity in the two forms that certificates may have (RFC 5280, section 4.1.2.5): to the second, in UTC.
// False for other forms, for dates that do not exist, and for years that the service's clock cannot express.
bool readTime(const DerElement& element, FILETIME& fileTime) {
    constexpr WORD kFirstYearOfUtcTime = 1950;
    const bool isShort = element.tag == V_ASN1_UTCTIME;
    const size_t sizeYear = isShort ? 2 : 4;
    const ByteView text = element.content;
    if (text.size() != sizeYear + 11 || text.back() != 'Z') {
        return false;
    }
    WORD year = digitsAt(text, 0, sizeYear);
    if (isShort && year < 100) {
        year = static_cast<WORD>(year + (year < kFirstYearOfUtcTime % 100 ? 2000 : 1900));
    }
    const SYSTEMTIME moment{year,
                            digitsAt(text, sizeYear, 2),
                            0,
                            digitsAt(text, sizeYear + 2, 2),
                            digitsAt(text, sizeYear + 4, 2),
                            digitsAt(text, sizeYear + 6, 2),
                            digitsAt(text, sizeYear + 8, 2),
                            0};
    return SystemTimeToFileTime(&moment, &fileTime) != FALSE;
}

bool isTime(const DerElement& element) {
    return element.tagClass == V_ASN1_UNIVERSAL && !element.constructed &&
           (element.tag == V_ASN1_UTCTIME || element.tag == V_ASN1_GENERALIZEDTIME);
}

// Of an AlgorithmIdentifier. Its parameters are compared with those in the signed structure when it is verified.
bool hasShortestHeaders(const DerElement& algorithm) {
    DerReader parts(algorithm.content);
    bool isShortest = algorithm.isShortest();
    while (isShortest && !parts.failed() && !parts.atEnd()) {
        isShortest = parts.next().isShortest();
    }
    return isShortest;
}

}  // namespace

CertificateBody::CertificateBody(ByteView der) : der_(der.begin(), der.end()) {}

CertificateBody::~CertificateBody() = default;

std::shared_ptr<const CertificateBody> CertificateBody::parse(ByteView der) {
    const OpenSslErrors errors;
    if (der.empty() || der.size() > UINT32_MAX) {
        return nullptr;
    }
    struct Parsed : CertificateBody {
        explicit Parsed(ByteView bytes) : CertificateBody(bytes) {}
    };
    auto body = std::make_shared<Parsed>(der);
    if (!body->parseOuter()) {
        return nullptr;
    }
    return body;
}

bool CertificateBody::parseOuter() {
    DerReader outer{ByteView(der_)};
    const DerElement whole = outer.expect(V_ASN1_SEQUENCE);
    DerReader parts(whole.content);
    const DerElement tbs = parts.expect(V_ASN1_SEQUENCE);
    DerReader ahead = parts;
    const bool isAlgorithmShortest = hasShortestHeaders(ahead.next());
    CRYPT_ALGORITHM_IDENTIFIER outerAlgorithm{};
    const bool algorithmRead = readAlgorithm(parts, outerAlgorithm);
    const DerElement signature = parts.expect(V_ASN1_BIT_STRING);
    DWORD unusedBits = 0;
    if (outer.failed() || parts.failed() || !outer.atEnd() || !parts.atEnd() || !algorithmRead ||
        !readBitString(signature, signature_, unusedBits)) {
        return false;
    }
    tbs_ = tbs.whole;
    // The signature does not cover what is around the signed structure: in another form an attacker could give the same
    // certificate another thumbprint.
    return whole.isShortest() && isAlgorithmShortest && signature.isShortest() && parseToBeSigned() &&
           std::strcmp(outerAlgorithm.pszObjId, info_.SignatureAlgorithm.pszObjId) == 0;
}

bool CertificateBody::parseToBeSigned() {
    DerReader outer(tbs_);
    DerReader fields = outer.sequence();
    if (const DerElement version = fields.optionalContext(0); version.tag == 0) {
        DerReader inner(version.content);
        const DerElement number = inner.expect(V_ASN1_INTEGER);
        if (inner.failed() || number.content.size() != 1 || number.content[0] > kFirstVersionWithExtensions) {
            return false;
        }
        info_.dwVersion = number.content[0];
    }
    const DerElement serial = fields.expect(V_ASN1_INTEGER);
    serialReversed_.assign(serial.content.rbegin(), serial.content.rend());
    info_.SerialNumber = blob(serialReversed_);
    if (!readAlgorithm(fields, info_.SignatureAlgorithm)) {
        return false;
    }
    info_.Issuer = blob(fields.expect(V_ASN1_SEQUENCE).whole);
    DerReader validity = fields.sequence();
    const bool timesRead = readValidity(validity);
    info_.Subject = blob(fields.expect(V_ASN1_SEQUENCE).whole);
    return timesRead && !serialReversed_.empty() && readPublicKeyInfo(fields) && parseTail(fields);
}

// False when there is no pair of times. Times that cannot be read make the certificate never valid and are no failure:
// the message may carry another certificate that matters.
bool CertificateBody::readValidity(DerReader& validity) {
    const DerElement notBefore = validity.next();
    const DerElement notAfter = validity.next();
    if (validity.failed() || !isTime(notBefore) || !isTime(notAfter)) {
        return false;
    }
    hasTimes_ = readTime(notBefore, info_.NotBefore) && readTime(notAfter, info_.NotAfter);
    if (!hasTimes_) {
        info_.NotBefore = {UINT32_MAX, INT32_MAX};  // the last moment of the clock
        info_.NotAfter = {};
    }
    return true;
}

bool CertificateBody::readPublicKeyInfo(DerReader& fields) {
    const DerElement element = fields.expect(V_ASN1_SEQUENCE);
    spki_ = element.whole;
    DerReader parts(element.content);
    CERT_PUBLIC_KEY_INFO& key = info_.SubjectPublicKeyInfo;
    if (!readAlgorithm(parts, key.Algorithm)) {
        return false;
    }
    ByteView octets;
    if (!readBitString(parts.expect(V_ASN1_BIT_STRING), octets, key.PublicKey.cUnusedBits) || parts.failed()) {
        return false;
    }
    key.PublicKey.cbData = static_cast<DWORD>(octets.size());
    key.PublicKey.pbData = const_cast<BYTE*>(octets.data());
    return true;
}

bool CertificateBody::parseTail(DerReader& fields) {
    for (int tag : {1, 2}) {
        const DerElement element = fields.optionalContext(tag);
        if (element.tag != tag) {
            continue;
        }
        CRYPT_BIT_BLOB& identifier = tag == 1 ? info_.IssuerUniqueId : info_.SubjectUniqueId;
        ByteView octets;
        if (!readBitString(element, octets, identifier.cUnusedBits)) {
            return false;
        }
        identifier.cbData = static_cast<DWORD>(octets.size());
        identifier.pbData = const_cast<BYTE*>(octets.data());
    }
    const DerElement extensions = fields.optionalContext(3);
    const bool read = extensions.tag != 3 || parseExtensions(extensions.content);
    return read && !fields.failed() && fields.atEnd();
}

bool CertificateBody::parseExtensions(ByteView explicitTag) {
    DerReader outer(explicitTag);
    DerReader list = outer.sequence();
    while (!list.failed() && !list.atEnd()) {
        if (!parseExtension(list)) {
            return false;
        }
    }
    info_.cExtension = static_cast<DWORD>(extensions_.size());
    info_.rgExtension = extensions_.empty() ? nullptr : extensions_.data();
    return !outer.failed() && outer.atEnd() && !list.failed();
}

bool CertificateBody::parseExtension(DerReader& list) {
    DerReader fields = list.sequence();
    CERT_EXTENSION extension{};
    extension.pszObjId = keepText(oidText(fields.expect(V_ASN1_OBJECT)));
    DerElement value = fields.next();
    if (value.tag == V_ASN1_BOOLEAN && value.tagClass == V_ASN1_UNIVERSAL) {
        if (value.content.size() != 1) {
            return false;
        }
        extension.fCritical = value.content[0] != 0 ? TRUE : FALSE;
        value = fields.next();
    }
    if (fields.failed() || !fields.atEnd() || value.tag != V_ASN1_OCTET_STRING || value.tagClass != V_ASN1_UNIVERSAL ||
        value.constructed || extension.pszObjId[0] == '\0') {
        return false;
    }
    extension.Value = blob(value.content);
    extensions_.push_back(extension);
    return true;
}

bool CertificateBody::readAlgorithm(DerReader& from, CRYPT_ALGORITHM_IDENTIFIER& algorithm) {
    DerReader parts = from.sequence();
    algorithm.pszObjId = keepText(oidText(parts.expect(V_ASN1_OBJECT)));
    if (!parts.failed() && !parts.atEnd()) {
        algorithm.Parameters = blob(parts.next().whole);
    }
    return !parts.failed() && parts.atEnd() && algorithm.pszObjId[0] != '\0';
}

LPSTR CertificateBody::keepText(std::string text) {
    return texts_.emplace_back(std::move(text)).data();
}

const CERT_EXTENSION* CertificateBody::extension(const char* oid) const noexcept {
    const auto found = std::find_if(extensions_.begin(), extensions_.end(), [oid](const CERT_EXTENSION& extension) {
        return std::strcmp(extension.pszObjId, oid) == 0;
    });
    return found == extensions_.end() ? nullptr : &*found;
}

X509* CertificateBody::x509() const noexcept {
    if (!hasTimes_) {
        return nullptr;
    }
    return x509_.get([this] {
        const OpenSslErrors errors;
        X509Ptr withoutKey = hasSimpleKey() && publicKey() != nullptr ? parseWithoutKey(der_) : nullptr;
        return withoutKey != nullptr ? std::move(withoutKey) : parseWithKey(der_);
    });
}

// Whether publicKey() reads the key from its numbers, and at least as strictly as OpenSSL.
bool CertificateBody::hasSimpleKey() const noexcept {
    const Algorithm* const algorithm =
        findAlgorithm(info_.SubjectPublicKeyInfo.Algorithm.pszObjId, CRYPT_PUBKEY_ALG_OID_GROUP_ID);
    return algorithm != nullptr && (algorithm->kind == KeyKind::kRsa || algorithm->kind == KeyKind::kEllipticCurve);
}

EVP_PKEY* CertificateBody::publicKey() const noexcept {
    return key_.get([this] {
        const OpenSslErrors errors;
        return loadPublicKey(info_.SubjectPublicKeyInfo, spki_);
    });
}

}  // namespace tallow::platform
