#include "platform/crypto/certificates/crl_extensions.h"

#include <algorithm>
#include <array>

#include "platform/crypto/base/decode_whole.h"
#include "platform/crypto/base/der_reader.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kMaxExtensions = 32;  // compared with each other; real lists have fewer than ten

constexpr const char* kMalformed = "an extension is malformed";
constexpr const char* kMalformedOfEntry = "an extension of an entry is malformed";

// Identifiers of the certificate extensions arc, 2.5.29.n, differ in their last octet.
enum ArcNumber {
    kIssuerAltName = 18,
    kCrlNumber = 20,
    kReasonCode = 21,
    kHoldInstruction = 23,
    kInvalidityDate = 24,
    kDeltaIndicator = 27,
    kIssuingPoint = 28,
    kCertificateIssuer = 29,
    kAuthorityKeyIdentifier = 35,
    kFreshestCrl = 46,
    kOther = -1
};

int arcNumber(ByteView oid) {
    return oid.size() == 3 && oid[0] == 0x55 && oid[1] == 0x1D ? int{oid[2]} : int{kOther};
}

bool isInformationAccess(ByteView oid) {
    constexpr std::array<BYTE, 8> kAuthorityInfoAccess{0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x01, 0x01};
    return std::ranges::equal(oid, kAuthorityInfoAccess);
}

void demand(bool met, const char* text, const char*& defect) {
    if (!met && defect == nullptr) {
        defect = text;
    }
}

bool readExtension(DerReader& list, CrlExtension& extension) {
    DerReader fields = list.sequence();
    extension.oid = fields.expect(V_ASN1_OBJECT).content;
    DerElement value = fields.next();
    extension.critical = false;
    if (value.tag == V_ASN1_BOOLEAN && value.tagClass == V_ASN1_UNIVERSAL) {
        if (value.content.size() != 1 || value.constructed) {
            return false;
        }
        extension.critical = value.content[0] != 0;
        value = fields.next();
    }
    extension.value = value.content;
    return !list.failed() && !fields.failed() && fields.atEnd() && value.tag == V_ASN1_OCTET_STRING &&
           value.tagClass == V_ASN1_UNIVERSAL && !value.constructed;
}

// The number in a whole INTEGER that is not negative.
std::optional<ByteView> readNumber(ByteView value) {
    DerReader reader(value);
    const ByteView content = reader.expect(V_ASN1_INTEGER).content;
    if (reader.failed() || !reader.atEnd() || content.empty() || content[0] >= 0x80) {
        return std::nullopt;
    }
    return integerContent(content);
}

bool isScopeSound(const ISSUING_DIST_POINT& scope) {
    const int kinds = (scope.onlyuser > 0 ? 1 : 0) + (scope.onlyCA > 0 ? 1 : 0) + (scope.onlyattr > 0 ? 1 : 0);
    const bool saysSomething =
        kinds != 0 || scope.distpoint != nullptr || scope.onlysomereasons != nullptr || scope.indirectCRL > 0;
    return saysSomething && kinds <= 1;
}

bool applyScope(ByteView value, Crl& crl) {
    crl.scopeDer = value;
    crl.scope = decodeWhole<d2i_ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>(value);
    if (crl.scope != nullptr && isScopeSound(*crl.scope) && completePointName(crl.scope->distpoint, crl.issuer.get())) {
        return true;
    }
    crl.scope.reset();  // it may be about any certificate
    return false;
}

// False when the extension is not one of those known here.
bool apply(const CrlExtension& extension, Crl& crl, bool& wellFormed) {
    switch (arcNumber(extension.oid)) {
        case kAuthorityKeyIdentifier:
            crl.authorityKeyIdentifier = decodeWhole<d2i_AUTHORITY_KEYID, AUTHORITY_KEYID_free>(extension.value);
            wellFormed = crl.authorityKeyIdentifier != nullptr;
            return true;
        case kIssuerAltName:
            wellFormed = decodeWhole<d2i_GENERAL_NAMES, GENERAL_NAMES_free>(extension.value) != nullptr;
            return true;
        case kCrlNumber:
            crl.number = readNumber(extension.value);
            wellFormed = crl.number.has_value();
            return true;
        case kDeltaIndicator:
            crl.baseNumber = readNumber(extension.value);
            wellFormed = crl.baseNumber.has_value();
            return true;
        case kIssuingPoint:
            wellFormed = applyScope(extension.value, crl);
            return true;
        case kFreshestCrl:
            crl.freshest = decodeWhole<d2i_CRL_DIST_POINTS, CRL_DIST_POINTS_free>(extension.value);
            wellFormed = crl.freshest != nullptr;
            return true;
        default:
            break;
    }
    if (isInformationAccess(extension.oid)) {
        wellFormed = decodeWhole<d2i_AUTHORITY_INFO_ACCESS, AUTHORITY_INFO_ACCESS_free>(extension.value) != nullptr;
        return true;
    }
    return false;
}

bool readReason(ByteView value, std::uint8_t& reason) {
    DerReader reader(value);
    const ByteView content = reader.expect(V_ASN1_ENUMERATED).content;
    if (reader.failed() || !reader.atEnd() || content.size() != 1 || content[0] >= 0x80) {
        return false;
    }
    reason = content[0];
    return true;
}

bool readIssuer(ByteView value, ByteView& issuer) {
    const GeneralNamesPtr names = decodeWhole<d2i_GENERAL_NAMES, GENERAL_NAMES_free>(value);
    issuer = value;
    for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
        if (sk_GENERAL_NAME_value(names.get(), i)->type == GEN_DIRNAME) {
            return true;
        }
    }
    return false;
}

template <int Tag>
bool isOne(ByteView value) {
    DerReader reader(value);
    reader.expect(Tag);
    return !reader.failed() && reader.atEnd();
}

}  // namespace

bool readCrlExtensions(ByteView content, std::vector<CrlExtension>& extensions, const char*& defect) {
    DerReader list(content);
    demand(!list.atEnd(), "it has an empty list of extensions", defect);
    CrlExtension extension;
    while (!list.atEnd()) {
        if (!readExtension(list, extension)) {
            return false;
        }
        if (extensions.size() >= kMaxExtensions) {
            demand(false, "it has more extensions than are looked at", defect);
            return true;
        }
        demand(std::none_of(extensions.begin(), extensions.end(),
                            [&](const CrlExtension& other) { return std::ranges::equal(other.oid, extension.oid); }),
               "it has an extension twice", defect);
        extensions.push_back(extension);
    }
    return true;
}

void applyCrlExtensions(const std::vector<CrlExtension>& extensions, Crl& crl) {
    for (const CrlExtension& extension : extensions) {
        bool wellFormed = true;
        const bool isKnown = apply(extension, crl, wellFormed);
        demand(wellFormed, kMalformed, crl.defect);
        demand(isKnown || !extension.critical, "a critical extension is unknown", crl.defect);
    }
}

EntryExtensions readEntryExtensions(const std::vector<CrlExtension>& extensions, const char*& defect) {
    EntryExtensions read;
    for (const CrlExtension& extension : extensions) {
        bool wellFormed = true;
        switch (arcNumber(extension.oid)) {
            case kReasonCode:
                wellFormed = readReason(extension.value, read.reason);
                break;
            case kCertificateIssuer:
                wellFormed = readIssuer(extension.value, read.issuer);
                break;
            case kInvalidityDate:
                wellFormed = isOne<V_ASN1_GENERALIZEDTIME>(extension.value);
                break;
            case kHoldInstruction:
                wellFormed = isOne<V_ASN1_OBJECT>(extension.value);
                break;
            default:
                demand(!extension.critical, "a critical extension of an entry is unknown", defect);
        }
        demand(wellFormed, kMalformedOfEntry, defect);
    }
    return read;
}

}  // namespace tallow::platform
