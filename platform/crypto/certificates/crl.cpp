#include "platform/crypto/certificates/crl.h"

#include <algorithm>

#include "platform/crypto/base/decode_whole.h"
#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/crl_extensions.h"

namespace tallow::platform {

namespace {

bool isUniversal(const DerElement& element, int tag) {
    return element.tagClass == V_ASN1_UNIVERSAL && element.tag == tag &&
           element.constructed == (tag == V_ASN1_SEQUENCE);
}

class CrlParser {
public:
    explicit CrlParser(Crl& crl) : crl_(crl) {}

    // False when the structure is not a CRL.
    bool parse() {
        DerReader outer{ByteView(crl_.der)};
        DerReader parts = outer.sequence();
        const DerElement tbs = parts.expect(V_ASN1_SEQUENCE);
        const DerElement algorithm = parts.expect(V_ASN1_SEQUENCE);
        const DerElement signature = parts.expect(V_ASN1_BIT_STRING);
        DWORD unusedBits = 0;
        if (outer.failed() || !outer.atEnd() || parts.failed() || !parts.atEnd() ||
            !readBitString(signature, crl_.signature, unusedBits) || !parseAlgorithm(algorithm)) {
            return false;
        }
        demand(unusedBits == 0, "its signature is not a whole number of octets");
        crl_.tbs = tbs.whole;
        return parseToBeSigned(tbs.content, algorithm.whole);
    }

private:
    void demand(bool met, const char* defect) {
        if (!met && crl_.defect == nullptr) {
            crl_.defect = defect;
        }
    }

    bool parseAlgorithm(const DerElement& element) {
        DerReader parts(element.content);
        crl_.algorithmOid = oidText(parts.expect(V_ASN1_OBJECT));
        crl_.algorithmParameters = parts.failed() || parts.atEnd() ? ByteView() : parts.next().whole;
        crl_.algorithm = decodeWhole<d2i_X509_ALGOR, X509_ALGOR_free>(element.whole);
        return !parts.failed() && parts.atEnd() && crl_.algorithm != nullptr;
    }

    // The next element, or one with tag -1 at the end.
    static DerElement nextIn(DerReader& fields) { return fields.atEnd() ? DerElement() : fields.next(); }

    bool parseToBeSigned(ByteView content, ByteView outerAlgorithm) {
        DerReader fields(content);
        DerElement element = nextIn(fields);
        const bool isSecondVersion = isUniversal(element, V_ASN1_INTEGER);
        if (isSecondVersion) {
            demand(element.content.size() == 1 && element.content[0] == X509_CRL_VERSION_2, "its version is unknown");
            element = nextIn(fields);
        }
        if (!isUniversal(element, V_ASN1_SEQUENCE)) {
            return false;
        }
        demand(std::ranges::equal(element.whole, outerAlgorithm), "its two signature algorithms differ");
        crl_.issuerDer = fields.expect(V_ASN1_SEQUENCE).whole;
        crl_.issuer = decodeWhole<d2i_X509_NAME, X509_NAME_free>(crl_.issuerDer);
        const DerElement thisUpdate = nextIn(fields);
        if (crl_.issuer == nullptr || !isTime(thisUpdate)) {
            return false;
        }
        const std::optional<long long> issued = secondsOf(thisUpdate);
        demand(issued.has_value(), "its thisUpdate is malformed");
        crl_.thisUpdate = issued.value_or(kMalformedTime);
        return parseRest(fields, isSecondVersion);
    }

    bool parseRest(DerReader& fields, bool isSecondVersion) {
        DerElement element = nextIn(fields);
        if (isTime(element)) {
            crl_.nextUpdate = secondsOf(element);
            element = nextIn(fields);
        }
        // Without nextUpdate the CRL would stay valid forever, even after a newer one was issued.
        demand(crl_.nextUpdate.has_value(), "it has no nextUpdate, or a malformed one");
        if (isUniversal(element, V_ASN1_SEQUENCE)) {
            demand(!element.content.empty(), "its list of revoked certificates is empty instead of absent");
            if (!crl_.entries.read(element.content, crl_.defect)) {
                return false;
            }
            element = nextIn(fields);
        }
        demand(isSecondVersion || !crl_.entries.haveExtensions(), "version 1 has no entry extensions");
        if (element.tagClass == V_ASN1_CONTEXT_SPECIFIC && element.tag == 0 && element.constructed) {
            demand(isSecondVersion, "version 1 has no extensions");
            DerReader extensions(element.content);
            const ByteView list = extensions.expect(V_ASN1_SEQUENCE).content;
            std::vector<CrlExtension> read;
            if (extensions.failed() || !extensions.atEnd() || !readCrlExtensions(list, read, crl_.defect)) {
                return false;
            }
            applyCrlExtensions(read, crl_);
            element = nextIn(fields);
        }
        demand(!crl_.entries.nameIssuers() || (crl_.scope != nullptr && crl_.scope->indirectCRL > 0),
               "it names other issuers and is not an indirect CRL");
        return !fields.failed() && fields.atEnd() && element.tag == -1;
    }

    Crl& crl_;
};

}  // namespace

bool containsName(const GENERAL_NAMES* names, const X509_NAME* name) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* const candidate = sk_GENERAL_NAME_value(names, i);
        if (candidate->type == GEN_DIRNAME && X509_NAME_cmp(candidate->d.directoryName, name) == 0) {
            return true;
        }
    }
    return false;
}

bool isShort(const GENERAL_NAMES* names) {
    constexpr int kMaxNames = 32;
    return sk_GENERAL_NAME_num(names) <= kMaxNames;
}

bool completePointName(DIST_POINT_NAME* name, const X509_NAME* base) {
    if (name == nullptr) {
        return true;
    }
    if (name->type == 0) {
        return sk_GENERAL_NAME_num(name->name.fullname) > 0 && isShort(name->name.fullname);
    }
    if (DIST_POINT_set_dpname(name, base) != 1) {
        throwIfOutOfMemory();
        return false;
    }
    return true;
}

std::shared_ptr<const Crl> Crl::parse(ByteView der) {
    return parse(Bytes(der.begin(), der.end()));
}

std::shared_ptr<const Crl> Crl::parse(Bytes&& der) {
    const OpenSslErrors errors;
    if (der.empty() || der.size() > INT32_MAX) {
        return nullptr;
    }
    auto crl = std::make_shared<Crl>();
    crl->der = std::move(der);
    crl->der.shrink_to_fit();  // a download has room to spare
    return CrlParser(*crl).parse() ? crl : nullptr;
}

std::optional<CrlEntry> Crl::entryFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const {
    return entries.mostFinal(serial, [&](const CrlEntry& entry) {
        if (entry.date && *entry.date > latest) {
            return false;
        }
        return entry.issuer.empty()
                   ? X509_NAME_cmp(issuer.get(), certificateIssuer) == 0
                   : containsName(decodeWhole<d2i_GENERAL_NAMES, GENERAL_NAMES_free>(entry.issuer).get(),
                                  certificateIssuer);
    });
}

std::optional<int> Crl::reasonFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const {
    const std::optional<CrlEntry> entry = entryFor(certificateIssuer, serial, latest);
    return entry ? std::optional<int>(entry->reason) : std::nullopt;
}

std::optional<long long> Crl::dateFor(const X509_NAME* certificateIssuer, ByteView serial) const {
    const std::optional<CrlEntry> entry = entryFor(certificateIssuer, serial, kMalformedTime);
    return entry ? entry->date : std::nullopt;
}

std::size_t Crl::maximumMemory() const noexcept {
    constexpr std::size_t kFactor = 64;
    return sizeof(Crl) + der.capacity() + entries.sizeAllocated() + (der.size() - entries.sizeContent()) * kFactor;
}

SignedBytes Crl::signedBytes() const {
    SignedBytes parts;
    parts.message = tbs;
    parts.signature = signature;
    // The records of the service have no const, and nothing writes through them.
    parts.algorithm.pszObjId = const_cast<char*>(algorithmOid.c_str());
    parts.algorithm.Parameters = {static_cast<DWORD>(algorithmParameters.size()),
                                  const_cast<BYTE*>(algorithmParameters.data())};
    return parts;
}

}  // namespace tallow::platform
