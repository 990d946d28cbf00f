#include "message/extensions.h"

#include <string>
#include <string_view>

#include "asn1/codec/codec.h"
#include "asn1/extensions/access_description_traits.h"
#include "asn1/extensions/distribution_point_traits.h"
#include "asn1/names/name_traits.h"
#include "asn1/text/primitive_traits.h"
#include "asn1/text/time_text.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

namespace {

struct AcceptableResponsesTraits
    : ASN1::RecordTraits<asn1data::ASN1C_AcceptableResponses, asn1data::asn1Copy_AcceptableResponses> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CStringList& value) {
        record.n = static_cast<std::uint32_t>(value.size());
        record.elem = ASN1::allocateRecords<ASN1TObjId>(ctxt, value.size());
        ASN1TObjId* element = record.elem;
        for (const CStringProxy& oid : value) {
            ASN1::ASN1TObjId_traits::set(ctxt, *element++, oid.c_str());
        }
    }
    static void get(const ASN1_T& record, CStringList& value) {
        value.clear();
        for (std::uint32_t i = 0; i < record.n; ++i) {
            CStringProxy oid("");
            ASN1::ASN1TObjId_traits::get(record.elem[i], oid);
            value.push_back(oid);
        }
    }
};

struct ServiceLocatorTraits : ASN1::RecordTraits<asn1data::ASN1C_ServiceLocator, asn1data::asn1Copy_ServiceLocator> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CExtServiceLocator& value) {
        ASN1::ASN1T_Name_traits::set(ctxt, record.issuer, value.get_issuer());
        record.m.locatorPresent =
            ASN1::setIf<ASN1::ASN1T_AuthorityInfoAccessSyntax_traits>(ctxt, record.locator, value.get_locator());
    }
};

struct ArchiveCutoffTraits {
    using ASN1_T = const char*;
    using ASN1_C = ASN1::ASN1GeneralizedTime_traits::ASN1_C;

    static void set(ASN1CTXT* ctxt, const char*& record, const CDateTime& value) {
        ASN1::ASN1GeneralizedTime_traits::set(ctxt, record, value);
    }
    static void get(const char* record, CDateTime& value) { value = ASN1::decodedUtcTime(record); }
};

using CrlIdTraits = ASN1::RecordTraits<asn1data::ASN1C_CrlID, asn1data::asn1Copy_CrlID>;

// The address that the decoder has read, in which a NUL must not hide the octets after it.
std::string decodedUrl(const char* text) {
    std::string url;
    for (const char c : std::string_view(text, rtMemHeapBlockSize(text) - 1)) {
        if (c == '\0') {
            url += "%00";
        } else {
            url += c;
        }
    }
    return url;
}

// For a number that CrlID has no room for.
using CrlReferenceTraits = ASN1::RecordTraits<asn1data::ASN1C_CrlReference, asn1data::asn1Copy_CrlReference>;

}  // namespace

// ---- Nonce ----------------------------------------------------------------------------------------------------------

CExtNonce::CExtNonce() : CExtValue(kOidNonce) {}
CExtNonce::CExtNonce(const CBlob& extnValue) : CExtValue(kOidNonce, extnValue) {}

void CExtNonce::put_nonce(const CBlob& nonce) {
    ASN1::withinFrame([&] { value() = nonce; });
}

// ---- Acceptable responses -------------------------------------------------------------------------------------------

CExtAcceptableResponses::CExtAcceptableResponses() : CExtValue(kOidAcceptableResponses) {}

CExtAcceptableResponses::CExtAcceptableResponses(const CBlob& extnValue)
    : CExtValue(kOidAcceptableResponses, extnValue) {
    ASN1::asn1Decode<AcceptableResponsesTraits>(extnValue, responses_);
}

void CExtAcceptableResponses::put_acceptableResponses(const CStringList& responses) {
    ASN1::withinFrame([&] {
        CStringList copy(responses);
        value() = ASN1::asn1Encode<AcceptableResponsesTraits>(responses);
        responses_.swap(copy);
    });
}

// ---- Service locator ------------------------------------------------------------------------------------------------

CExtServiceLocator::CExtServiceLocator() : CExtValue(kOidServiceLocator) {}
CExtServiceLocator::CExtServiceLocator(const CExtServiceLocator&) = default;
CExtServiceLocator& CExtServiceLocator::operator=(const CExtServiceLocator&) = default;

CExtServiceLocator::CExtServiceLocator(const CBlob& extnValue) : CExtValue(kOidServiceLocator, extnValue) {
    ASN1::withinFrame([&] {
        ASN1BERDecodeBuffer buffer(extnValue.pbData(), ASN1::messageSize(extnValue));
        asn1data::ASN1T_ServiceLocator record{};
        ASN1::decodeRecord<ServiceLocatorTraits>(buffer, record);
        ASN1::ASN1T_Name_traits::get(record.issuer, issuer_);
        if (record.m.locatorPresent) {
            ASN1::ASN1T_AuthorityInfoAccessSyntax_traits::get(record.locator, locator_.emplace());
        }
    });
}

void CExtServiceLocator::put_issuer(const CBlob& name) {
    ASN1::withinFrame([&] { issuer_ = name; });
    encodeValue();
}

void CExtServiceLocator::put_locator(const ASN1::CAuthorityInfoAccessSyntax* locator) {
    ASN1::withinFrame([&] { locator_ = locator == nullptr ? std::nullopt : std::optional(*locator); });
    encodeValue();
}

void CExtServiceLocator::encodeValue() {
    // Without an issuer there is nothing to encode yet; the setters may be called in any order.
    if (issuer_.cbData() != 0) {
        value() = ASN1::asn1Encode<ServiceLocatorTraits>(*this);
    }
}

// ---- CRL locator ----------------------------------------------------------------------------------------------------

CExtCRLLocator::CExtCRLLocator() : CExtValue(kOidCrlLocator) {}
CExtCRLLocator::CExtCRLLocator(const CExtCRLLocator&) = default;
CExtCRLLocator& CExtCRLLocator::operator=(const CExtCRLLocator&) = default;

CExtCRLLocator::CExtCRLLocator(const CBlob& extnValue) : CExtValue(kOidCrlLocator, extnValue) {
    ASN1::asn1Decode<ASN1::ASN1T_CRLDistPointsSyntax_traits>(extnValue, locator_);
}

void CExtCRLLocator::put_locator(const ASN1::CCRLDistPointsSyntax& locator) {
    ASN1::withinFrame([&] {
        ASN1::CCRLDistPointsSyntax copy(locator);
        value() = ASN1::asn1Encode<ASN1::ASN1T_CRLDistPointsSyntax_traits>(locator);
        locator_.swap(copy);
    });
}

// ---- CrlID ----------------------------------------------------------------------------------------------------------

CExtCrlIDBase::CExtCrlIDBase(const char* oid) : CExtValue(oid) {}

CExtCrlIDBase::CExtCrlIDBase(const char* oid, const CBlob& extnValue) : CExtValue(oid, extnValue) {
    decodeValue();
}

void CExtCrlIDBase::put_crlUrl(const char* url) {
    ASN1::withinFrame([&] { crlUrl_ = url == nullptr ? std::nullopt : std::optional<CStringProxy>(url); });
    encodeValue();
}

void CExtCrlIDBase::put_crlNum(const int* number) {
    crlNum_ = number == nullptr ? std::nullopt : std::optional(*number);
    encodeValue();
}

void CExtCrlIDBase::put_crlTime(const CDateTime* time) {
    crlTime_ = time == nullptr ? std::nullopt : std::optional(*time);
    encodeValue();
}

void CExtCrlIDBase::encodeValue() {
    value() = ASN1::withinFrame([this] { return encoded(); });
}

CBlob CExtCrlIDBase::encoded() const {
    ASN1BEREncodeBuffer buffer;
    ASN1CTXT* ctxt = buffer.getCtxtPtr();
    asn1data::ASN1T_CrlID record{};
    if (crlUrl_) {
        record.m.crlUrlPresent = 1;
        ASN1::ASN1IA5String_traits::set(ctxt, record.crlUrl, crlUrl_->c_str());
    }
    if (crlNum_) {
        record.m.crlNumPresent = 1;
        record.crlNum = *crlNum_;
    }
    if (crlTime_) {
        record.m.crlTimePresent = 1;
        ASN1::ASN1GeneralizedTime_traits::set(ctxt, record.crlTime, *crlTime_);
    }
    return ASN1::encodeRecord<CrlIdTraits>(buffer, record);
}

void CExtCrlIDBase::decodeValue() {
    ASN1::withinFrame([this] {
        ASN1BERDecodeBuffer buffer(get_value().pbData(), ASN1::messageSize(get_value()));
        asn1data::ASN1T_CrlID record{};
        const int result = asn1data::ASN1C_CrlID(buffer, record).DecodeFrom(buffer);
        if (result == 0) {
            if (record.m.crlNumPresent) {
                crlNum_ = record.crlNum;
            }
            take(record);
            return;
        }
        if (result != STATUS_TOO_BIG) {
            ASN1::throwFailure(result);
        }
        ASN1BERDecodeBuffer again(get_value().pbData(), ASN1::messageSize(get_value()));
        asn1data::ASN1T_CrlReference reference{};
        ASN1::decodeRecord<CrlReferenceTraits>(again, reference);
        take(reference);
    });
}

template <class Record>
void CExtCrlIDBase::take(const Record& record) {
    if (record.m.crlUrlPresent) {
        crlUrl_ = CStringProxy(decodedUrl(record.crlUrl).c_str());
    }
    if (record.m.crlTimePresent) {
        crlTime_ = ASN1::decodedUtcTime(record.crlTime);
    }
}

CExtHistoricalRequest::CExtHistoricalRequest() : CExtCrlIDBase(kOidHistoricalRequest) {}
CExtHistoricalRequest::CExtHistoricalRequest(const CBlob& extnValue)
    : CExtCrlIDBase(kOidHistoricalRequest, extnValue) {}

CExtCrlID::CExtCrlID() : CExtCrlIDBase(kOidCrlReference) {}
CExtCrlID::CExtCrlID(const CBlob& extnValue) : CExtCrlIDBase(kOidCrlReference, extnValue) {}

// ---- Archive cutoff -------------------------------------------------------------------------------------------------

CExtArchiveCutoff::CExtArchiveCutoff() : CExtValue(kOidArchiveCutoff) {}

CExtArchiveCutoff::CExtArchiveCutoff(const CBlob& extnValue) : CExtValue(kOidArchiveCutoff, extnValue) {
    ASN1::asn1Decode<ArchiveCutoffTraits>(extnValue, archiveCutoff_);
}

void CExtArchiveCutoff::put_archiveCutoff(const CDateTime& time) {
    value() = ASN1::asn1Encode<ASN1::ASN1GeneralizedTime_traits>(time);
    archiveCutoff_ = time;
}

}  // namespace Orvane::PKI::OCSP
