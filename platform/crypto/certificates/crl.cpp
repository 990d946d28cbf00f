#include "platform/crypto/certificates/crl.h"

#include <algorithm>
#include <chrono>
#include <cstring>

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

bool isTime(const DerElement& element) {
    return isUniversal(element, V_ASN1_UTCTIME) || isUniversal(element, V_ASN1_GENERALIZEDTIME);
}

// In the one form that RFC 5280 allows: YYMMDDHHMMSSZ, or YYYYMMDDHHMMSSZ.
std::optional<long long> secondsOf(const DerElement& time) {
    const bool isShort = time.tag == V_ASN1_UTCTIME;
    const std::size_t digits = isShort ? 12 : 14;
    if (time.content.size() != digits + 1 || time.content.back() != 'Z' ||
        !std::all_of(time.content.begin(), time.content.end() - 1, [](BYTE c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    const auto pair = [&](std::size_t fromEnd) {
        const BYTE* const at = &time.content[digits - fromEnd];
        return (at[0] - '0') * 10 + (at[1] - '0');
    };
    const int century = !isShort ? pair(14) * 100 : pair(12) >= 50 ? 1900 : 2000;
    const std::chrono::year_month_day date{std::chrono::year(century + pair(12)),
                                           std::chrono::month(static_cast<unsigned>(pair(10))),
                                           std::chrono::day(static_cast<unsigned>(pair(8)))};
    if (!date.ok() || pair(6) > 23 || pair(4) > 59 || pair(2) > 59) {
        return std::nullopt;
    }
    const long long days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * 86400 + pair(6) * 3600 + pair(4) * 60 + pair(2);
}

// The revocation date follows the serial number, so it need not be stored for each of a million entries.
std::optional<long long> dateOf(const CrlEntry& entry, ByteView crl) {
    const ByteView rest(entry.serial.data() + entry.serial.size(), crl.data() + crl.size());
    return secondsOf(DerReader(rest).next());
}

bool isDatedAfter(const CrlEntry& entry, ByteView crl, long long latest) {
    const std::optional<long long> date = dateOf(entry, crl);
    return date && *date > latest;
}

// Rank of a reason: a hold can be lifted, and an entry that lifts one ranks lowest.
int finality(int reason) {
    return reason == kReasonRemoveFromCrl ? 0 : reason == kReasonCertificateHold ? 1 : 2;
}

bool isBefore(ByteView left, ByteView right) {
    return left.size() != right.size() ? left.size() < right.size()
                                       : std::memcmp(left.data(), right.data(), left.size()) < 0;
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
        if (!parseToBeSigned(tbs.content, algorithm.whole)) {
            return false;
        }
        std::sort(crl_.entries.begin(), crl_.entries.end(),
                  [](const CrlEntry& left, const CrlEntry& right) { return isBefore(left.serial, right.serial); });
        crl_.entries.shrink_to_fit();
        return true;
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
            if (!parseEntries(element.content)) {
                return false;
            }
            element = nextIn(fields);
        }
        demand(isSecondVersion || !entriesHaveExtensions_, "version 1 has no entry extensions");
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
        demand(crl_.entryIssuers.empty() || (crl_.scope != nullptr && crl_.scope->indirectCRL > 0),
               "it names other issuers and is not an indirect CRL");
        return !fields.failed() && fields.atEnd() && element.tag == -1;
    }

    bool parseEntries(ByteView content) {
        DerReader list(content);
        CrlEntry entry;
        while (!list.atEnd()) {
            DerReader fields = list.sequence();
            const DerElement serial = fields.expect(V_ASN1_INTEGER);
            const DerElement date = nextIn(fields);
            if (list.failed() || fields.failed() || serial.content.empty() || !isTime(date)) {
                return false;
            }
            entry.serial = integerContent(serial.content);
            entry.reason = 0;
            if (!fields.atEnd() && !parseEntryExtensions(fields, entry)) {
                return false;
            }
            crl_.entries.push_back(entry);
        }
        return true;
    }

    // An entry without certificateIssuer has that of the entry before it, so `entry` keeps its position.
    bool parseEntryExtensions(DerReader& fields, CrlEntry& entry) {
        entriesHaveExtensions_ = true;
        extensions_.clear();
        const ByteView list = fields.expect(V_ASN1_SEQUENCE).content;
        if (fields.failed() || !fields.atEnd() || !readCrlExtensions(list, extensions_, crl_.defect)) {
            return false;
        }
        const EntryExtensions read = readEntryExtensions(extensions_, crl_.defect);
        entry.reason = read.reason;
        if (!read.issuer.empty()) {
            crl_.entryIssuers.push_back(read.issuer);
            entry.issuerPosition = static_cast<std::uint32_t>(crl_.entryIssuers.size());
        }
        return true;
    }

    Crl& crl_;
    std::vector<CrlExtension> extensions_;
    bool entriesHaveExtensions_ = false;
};

}  // namespace

ByteView integerContent(ByteView content) noexcept {
    while (content.size() > 1 &&
           ((content[0] == 0x00 && content[1] < 0x80) || (content[0] == 0xFF && content[1] >= 0x80))) {
        content = content.subspan(1);
    }
    return content;
}

bool isLess(ByteView left, ByteView right) noexcept {
    // Of two numbers that are not negative the one with more octets is larger, a leading zero octet included.
    return isBefore(left, right);
}

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
    const OpenSslErrors errors;
    if (der.empty() || der.size() > INT32_MAX) {
        return nullptr;
    }
    auto crl = std::make_shared<Crl>();
    crl->der.assign(der.begin(), der.end());
    return CrlParser(*crl).parse() ? crl : nullptr;
}

const CrlEntry* Crl::entryFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const {
    const auto bySerial = [](const CrlEntry& entry, ByteView wanted) { return isBefore(entry.serial, wanted); };
    auto entry = std::lower_bound(entries.begin(), entries.end(), serial, bySerial);
    const CrlEntry* found = nullptr;
    for (; entry != entries.end() && std::ranges::equal(entry->serial, serial); ++entry) {
        const bool isOwn = entry->issuerPosition == 0;
        const GeneralNamesPtr names =
            isOwn ? nullptr
                  : decodeWhole<d2i_GENERAL_NAMES, GENERAL_NAMES_free>(entryIssuers[entry->issuerPosition - 1]);
        const bool fits =
            isOwn ? X509_NAME_cmp(issuer.get(), certificateIssuer) == 0 : containsName(names.get(), certificateIssuer);
        if (fits && !isDatedAfter(*entry, der, latest) &&
            (found == nullptr || finality(entry->reason) > finality(found->reason))) {
            found = &*entry;
        }
    }
    return found;
}

std::optional<int> Crl::reasonFor(const X509_NAME* certificateIssuer, ByteView serial, long long latest) const {
    const CrlEntry* const entry = entryFor(certificateIssuer, serial, latest);
    return entry == nullptr ? std::nullopt : std::optional<int>(entry->reason);
}

std::optional<long long> Crl::dateFor(const X509_NAME* certificateIssuer, ByteView serial) const {
    const CrlEntry* const entry = entryFor(certificateIssuer, serial, kMalformedTime);
    return entry == nullptr ? std::nullopt : dateOf(*entry, der);
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
