#include "message/entry_reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "asn1/codec/codec.h"
#include "asn1/text/time_text.h"
#include "message/cert_id_traits.h"
#include "message/extension_lists.h"

namespace Orvane::PKI::OCSP {

namespace {

using ASN1::Octets;
using ASN1::TlvElement;
using ASN1::TlvReader;

// Identifier octets. The codec ignores the constructed bit of many of them; here it must be right.
constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kEnumerated = 0x0A;
constexpr unsigned char kGeneralizedTime = 0x18;
constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kGood = 0x80;
constexpr unsigned char kRevoked = 0xA1;
constexpr unsigned char kUnknown = 0x82;
constexpr unsigned char kContext0 = 0xA0;

constexpr unsigned char kLargestReason = 10;

// Open levels of the schema when the codec comes to an entry, and to the algorithm in it.
constexpr std::uint32_t kLevelsAroundEntry = 3;
constexpr std::uint32_t kLevelsAroundAlgorithm = 6;

// What the codec allocates for an entry in the plain form, at least: the records and three times, each in a block, and
// the serial number with two digits an octet.
constexpr std::uint64_t kSizeBlockHeader = 64;
constexpr std::uint64_t kSizePlainRecords = sizeof(asn1data::ASN1T_SingleResponse) + sizeof(asn1data::ASN1T_CertID) +
                                            sizeof(asn1data::ASN1T_RevokedInfo) + 8 * kSizeBlockHeader;

bool isAt(const std::optional<TlvElement>& element, unsigned char identifier) {
    return element && element->whole.front() == identifier;
}

// The contents of the next element; empty when it has another identifier octet.
std::optional<Octets> take(TlvReader& reader, unsigned char identifier) {
    const std::optional<TlvElement> element = reader.next();
    return isAt(element, identifier) ? std::optional<Octets>(element->content) : std::nullopt;
}

std::optional<CDateTime> takeTime(TlvReader& reader) {
    const std::optional<Octets> text = take(reader, kGeneralizedTime);
    return text ? ASN1::plainUtcTime(*text) : std::nullopt;
}

// The same for a time that is likely to be the one in `last`, which is replaced.
bool takeTime(TlvReader& reader, EntryReader::ReadTime& last) {
    const std::optional<Octets> text = take(reader, kGeneralizedTime);
    if (!text) {
        return false;
    }
    if (!std::ranges::equal(*text, last.text)) {
        const std::optional<CDateTime> time = ASN1::plainUtcTime(*text);
        if (!time) {
            return false;
        }
        last = {*text, *time};
    }
    return !text->empty();
}

// The codec drops leading zeros that say nothing, and reads an empty number as 0.
bool isShortest(Octets number) {
    return number.size() == 1 || (number.size() > 1 && (number[0] != 0 || number[1] >= 0x80));
}

std::optional<CCertStatus> revokedStatus(Octets info) {
    TlvReader members(info);
    const std::optional<CDateTime> time = takeTime(members);
    if (!time) {
        return std::nullopt;
    }
    if (members.rest().empty()) {
        return CCertStatus(*time, nullptr);
    }
    const std::optional<Octets> wrapper = take(members, kContext0);
    if (!wrapper || !members.rest().empty()) {
        return std::nullopt;
    }
    TlvReader wrapped(*wrapper);
    const std::optional<Octets> number = take(wrapped, kEnumerated);
    if (!number || !wrapped.rest().empty() || number->size() != 1 || number->front() > kLargestReason) {
        return std::nullopt;
    }
    const auto reason = static_cast<ASN1::CrlReason>(number->front());
    return CCertStatus(*time, &reason);
}

std::optional<CCertStatus> takeStatus(TlvReader& reader) {
    const std::optional<TlvElement> element = reader.next();
    if (isAt(element, kRevoked)) {
        return revokedStatus(element->content);
    }
    if (isAt(element, kGood) && element->content.empty()) {
        return CCertStatus(CCertStatus::kGood);
    }
    if (isAt(element, kUnknown) && element->content.empty()) {
        return CCertStatus(CCertStatus::kUnknown);
    }
    return std::nullopt;
}

// The members of a CertID.
struct CertIdParts {
    TlvElement algorithm;
    Octets nameHash;
    Octets keyHash;
    Octets serialNumber;
};

std::optional<CertIdParts> takeCertId(TlvReader& reader) {
    const std::optional<Octets> certId = take(reader, kSequence);
    if (!certId) {
        return std::nullopt;
    }
    TlvReader members(*certId);
    const std::optional<TlvElement> algorithm = members.next();
    const std::optional<Octets> nameHash = take(members, kOctetString);
    const std::optional<Octets> keyHash = take(members, kOctetString);
    const std::optional<Octets> serialNumber = take(members, kInteger);
    if (!isAt(algorithm, kSequence) || !nameHash || !keyHash || !serialNumber || !isShortest(*serialNumber) ||
        !members.rest().empty()) {
        return std::nullopt;
    }
    return CertIdParts{*algorithm, *nameHash, *keyHash, *serialNumber};
}

// Lets the codec decode an element where it is in the message, under as many open levels as it would have there. False
// if it fails or does not end where the element ends.
template <class Record>
bool decodeInPlace(ASN1CTXT* ctxt, const TlvElement& element, std::uint32_t levels,
                   int (*decode)(ASN1CTXT*, Record*, ASN1TagType, int), Record& record) {
    const auto start = static_cast<std::uint32_t>(element.whole.data() - ctxt->buffer.data);
    ctxt->buffer.byteIndex = start;
    ctxt->levelDepth = levels;
    return decode(ctxt, &record, TAG_EXPLICIT, 0) == 0 && ctxt->buffer.byteIndex == start + element.whole.size();
}

// The hash algorithms of nearly all entries, as they are written.
struct HashAlgorithm {
    const char* oid;
    std::array<unsigned char, 15> encoding;
    unsigned char size;
};

constexpr std::array<HashAlgorithm, 4> kHashAlgorithms = {{
    {"1.3.14.3.2.26", {0x30, 9, 0x06, 5, 0x2B, 0x0E, 3, 2, 0x1A, 0x05, 0}, 11},
    {"1.3.14.3.2.26", {0x30, 7, 0x06, 5, 0x2B, 0x0E, 3, 2, 0x1A}, 9},
    {"2.16.840.1.101.3.4.2.1", {0x30, 13, 0x06, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 1, 0x05, 0}, 15},
    {"2.16.840.1.101.3.4.2.1", {0x30, 11, 0x06, 9, 0x60, 0x86, 0x48, 1, 0x65, 3, 4, 2, 1}, 13},
}};

// What the codec allocates for the parameters of one of them, at least.
constexpr std::uint64_t kSizeKnownAlgorithm = 2 * kSizeBlockHeader;

const HashAlgorithm* knownAlgorithm(Octets octets) {
    const auto found = std::ranges::find_if(kHashAlgorithms, [octets](const HashAlgorithm& known) {
        return octets.size() == known.size && std::equal(octets.begin(), octets.end(), known.encoding.begin());
    });
    return found == kHashAlgorithms.end() ? nullptr : &*found;
}

}  // namespace

CSingleResponse singleResponseOf(const asn1data::ASN1T_SingleResponse& record) {
    const auto statusOf = [](const asn1data::ASN1T_CertStatus& choice) -> CCertStatus {
        switch (choice.t) {
            case asn1data::ASN1T_CertStatus::T_good:
                return CCertStatus(CCertStatus::kGood);
            case asn1data::ASN1T_CertStatus::T_revoked: {
                const asn1data::ASN1T_RevokedInfo& info = *choice.u.revoked;
                const auto reason = static_cast<ASN1::CrlReason>(info.revocationReason);
                return {ASN1::decodedUtcTime(info.revocationTime), info.m.revocationReasonPresent ? &reason : nullptr};
            }
            default:
                return CCertStatus(CCertStatus::kUnknown);
        }
    };
    std::optional<CDateTime> nextUpdate;
    if (record.m.nextUpdatePresent) {
        nextUpdate = ASN1::decodedUtcTime(record.nextUpdate);
    }
    return {ReqCertTraits::get(record.reqCert), statusOf(record.certStatus), ASN1::decodedUtcTime(record.thisUpdate),
            nextUpdate, extensionsOf(record.m.singleExtensionsPresent, record.singleExtensions)};
}

bool EntryReader::read(Octets responses, CSingleResponseList* values) {
    TlvReader outer(responses);
    const std::optional<Octets> list = take(outer, kSequence);
    if (!list || !outer.rest().empty()) {
        return false;
    }
    TlvReader entries(*list);
    while (!entries.rest().empty()) {
        const std::optional<TlvElement> entry = entries.next();
        if (!entry || (!readPlain(*entry, values) && !readRecord(*entry, values))) {
            return false;
        }
    }
    return true;
}

bool EntryReader::readPlain(const TlvElement& entry, CSingleResponseList* values) {
    if (entry.whole.front() != kSequence) {
        return false;
    }
    TlvReader members(entry.content);
    const std::optional<CertIdParts> certId = takeCertId(members);
    if (!certId) {
        return false;
    }
    const std::optional<CCertStatus> certStatus = takeStatus(members);
    if (!certStatus) {
        return false;
    }
    if (!takeTime(members, thisUpdate_)) {
        return false;
    }
    const bool hasNextUpdate = !members.rest().empty();
    if (hasNextUpdate) {
        TlvReader wrapped(take(members, kContext0).value_or(Octets()));
        if (!takeTime(wrapped, nextUpdate_) || !wrapped.rest().empty()) {
            return false;
        }
    }
    if (!members.rest().empty() || !takeAlgorithm(certId->algorithm)) {
        return false;
    }
    sizeRecords_ += kSizePlainRecords + sizeAlgorithm_ + 2 * certId->serialNumber.size();
    if (values != nullptr) {
        values->emplace_back(
            CReqCert(CertIdTraits::make(algorithm_, certId->nameHash, certId->keyHash, certId->serialNumber)),
            *certStatus, thisUpdate_.time, hasNextUpdate ? std::optional<CDateTime>(nextUpdate_.time) : std::nullopt,
            std::nullopt);
    }
    return true;
}

bool EntryReader::readRecord(const TlvElement& entry, CSingleResponseList* values) {
    // In a heap of its own: if all entries were left in that of the message, they would take the memory of all records.
    ASN1BERDecodeBuffer buffer(ctxt_->buffer.data, static_cast<std::int32_t>(ctxt_->buffer.size));
    ASN1CTXT* ctxt = buffer.getCtxtPtr();
    rtCtxtSetFlag(ctxt, CTX_FLAG_ZERO_COPY);  // all that is read is copied
    asn1data::ASN1T_SingleResponse record{};
    if (buffer.init() != 0 ||
        !decodeInPlace(ctxt, entry, depth_ + kLevelsAroundEntry, asn1data::asn1D_SingleResponse, record)) {
        return false;
    }
    sizeRecords_ += sizeof record + kSizeBlockHeader + ctxt->pTypeMemHeap->used;
    if (values != nullptr) {
        values->push_back(singleResponseOf(record));
    }
    return true;
}

bool EntryReader::takeAlgorithm(const TlvElement& algorithm) {
    if (std::ranges::equal(algorithm.whole, algorithmOctets_)) {
        return true;
    }
    algorithmOctets_ = {};
    if (const HashAlgorithm* known = knownAlgorithm(algorithm.whole); known != nullptr) {
        algorithm_.put_algorithm(known->oid);
        const Octets parameters = algorithm.content.subspan(2 + algorithm.content[1]);
        algorithm_.put_parameters(CBlob(parameters.data(), parameters.size()));
        sizeAlgorithm_ = kSizeKnownAlgorithm;
    } else {
        const std::uint64_t usedBefore = ctxt_->pTypeMemHeap->used;
        asn1data::ASN1T_AlgorithmIdentifier record{};
        if (!decodeInPlace(ctxt_, algorithm, depth_ + kLevelsAroundAlgorithm, asn1data::asn1D_AlgorithmIdentifier,
                           record)) {
            return false;
        }
        ASN1::ASN1T_AlgorithmIdentifier_traits::get(record, algorithm_);
        sizeAlgorithm_ = ctxt_->pTypeMemHeap->used - usedBefore;
    }
    algorithmOctets_ = algorithm.whole;
    return true;
}

}  // namespace Orvane::PKI::OCSP
