#include "message/basic_response_content.h"

#include <utility>

#include "asn1/codec/codec.h"
#include "asn1/codec/element.h"
#include "asn1/text/time_text.h"
#include "message/cert_id_traits.h"
#include "message/entry_reader.h"
#include "message/extension_lists.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

namespace {

using RecordTraits = ASN1::RecordTraits<asn1data::ASN1C_BasicOCSPResponse, asn1data::asn1Copy_BasicOCSPResponse>;
using RawTraits = ASN1::RecordTraits<asn1data::ASN1C_BasicOCSPResponseRaw, asn1data::asn1Copy_BasicOCSPResponseRaw>;

// The names and certificates are cut out of the message instead of being encoded again from the records: a certificate
// whose encoding is not canonical would lose its signature that way, and a name would no longer be the one that its
// owner's certificate shows.

constexpr std::uint32_t kVersion = 0;
constexpr std::uint32_t kCerts = 0;

CResponderID responderIdOf(const asn1data::ASN1T_ResponderID& record, const ASN1::CElement& responseData) {
    if (record.t == asn1data::ASN1T_ResponderID::T_byKey) {
        return {CResponderID::kByKey, CBlob(record.u.byKey->data, record.u.byKey->numocts)};
    }
    ASN1::CElementReader members(responseData);
    ASN1::CElement member = members.next();
    if (ASN1::hasContextTag(member, kVersion)) {
        member = members.next();
    }
    return {CResponderID::kByName, ASN1::CElementReader(member).next().whole()};
}

CBlobList certificatesOf(const ASN1::CElement& wrapper) {
    // The decoder does not compare the length of a wrapper with its contents; here that length decides where to look.
    if (!ASN1::hasContextTag(wrapper, kCerts)) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    CBlobList certs;
    ASN1::CElementReader elements(ASN1::CElementReader(wrapper).next());
    while (!elements.atEnd()) {
        certs.push_back(elements.next().whole());
    }
    return certs;
}

// What both forms of the record have in common: all but the entries.
template <class Record>
BasicResponseContent contentAround(const Record& record, const CBlob& data) {
    BasicResponseContent content;
    const ASN1::CElement whole = ASN1::firstElement(data.pbData(), data.cbData());
    ASN1::CElementReader members(whole);
    content.version = record.tbsResponseData.version;
    content.trailingSize = data.cbData() - whole.headerSize - whole.contentSize;
    content.responderID = responderIdOf(record.tbsResponseData.responderID, members.next());
    content.producedAt = ASN1::decodedUtcTime(record.tbsResponseData.producedAt);
    content.responseExtensions =
        extensionsOf(record.tbsResponseData.m.responseExtensionsPresent, record.tbsResponseData.responseExtensions);
    ASN1::ASN1T_AlgorithmIdentifier_traits::get(record.signatureAlgorithm, content.signatureAlgorithm);
    if (record.m.certsPresent) {
        members.next();  // signatureAlgorithm
        members.next();  // signature
        content.certs = certificatesOf(members.next());
    }
    return content;
}

// A message in `data` whose entries are still raw.
class RawResponse {
public:
    // Throws as decodeRecord does.
    RawResponse(const CBlob& data, std::uint32_t depth)
        : data_(data), depth_(depth), buffer_(data.pbData(), ASN1::messageSize(data)) {
        rtCtxtSetFlag(buffer_.getCtxtPtr(), CTX_FLAG_ZERO_COPY);  // all that is read is copied
        buffer_.getCtxtPtr()->levelDepth = depth;
        ASN1::decodeRecord<RawTraits>(buffer_, record_);
    }

    const asn1data::ASN1T_BasicOCSPResponseRaw& record() const { return record_; }

    // Appends the entries to `values` unless that is null. False where the record codec must decide; it may then also
    // be that this response takes more memory than the codec may use.
    bool readEntries(CSingleResponseList* values) {
        const ASN1TOpenType& raw = record_.tbsResponseData.responses;
        EntryReader reader(buffer_.getCtxtPtr(), depth_);
        if (!reader.read({raw.data, raw.numocts}, values)) {
            return false;
        }
        // The rest is for the record itself, and for strings in segments: the codec copies them, and claims more for
        // them at first.
        constexpr std::uint64_t kSizeAround = 4096;
        const ASN1MEMHEAP& heap = *buffer_.getCtxtPtr()->pTypeMemHeap;
        return heap.used + reader.sizeRecords() + 2 * data_.cbData() + kSizeAround <= heap.limit;
    }

private:
    const CBlob& data_;
    std::uint32_t depth_;
    ASN1BERDecodeBuffer buffer_;
    asn1data::ASN1T_BasicOCSPResponseRaw record_{};
};

std::optional<BasicResponseContent> readDirectly(const CBlob& data) {
    RawResponse raw(data, 0);
    CSingleResponseList responses;
    if (!raw.readEntries(&responses)) {
        return std::nullopt;
    }
    BasicResponseContent content = contentAround(raw.record(), data);
    content.responses = std::move(responses);
    return content;
}

}  // namespace

BasicResponseContent readBasicResponse(const CBlob& data) {
    return directlyOr([&] { return readDirectly(data); }, [&] { return readBasicResponseByRecords(data); });
}

BasicResponseContent readBasicResponseByRecords(const CBlob& data) {
    ASN1BERDecodeBuffer buffer(data.pbData(), ASN1::messageSize(data));
    rtCtxtSetFlag(buffer.getCtxtPtr(), CTX_FLAG_ZERO_COPY);  // all that is read is copied below
    asn1data::ASN1T_BasicOCSPResponse record{};
    ASN1::decodeRecord<RecordTraits>(buffer, record);
    BasicResponseContent content = contentAround(record, data);
    for (const _Asn1RTDListNode* node = record.tbsResponseData.responses.pHead; node != nullptr; node = node->pNext) {
        content.responses.push_back(singleResponseOf(*static_cast<const asn1data::ASN1T_SingleResponse*>(node->data)));
    }
    return content;
}

bool isCertainlyBasicResponse(const CBlob& data, std::uint32_t depth) {
    return RawResponse(data, depth).readEntries(nullptr);
}

}  // namespace Orvane::PKI::OCSP
