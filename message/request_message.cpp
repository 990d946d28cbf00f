#include "message/request_message.h"

#include <optional>
#include <string>
#include <utility>

#include "asn1/codec/element.h"
#include "asn1/names/general_name.h"
#include "asn1/names/general_name_traits.h"
#include "handles/exception.h"
#include "handles/last_error.h"
#include "message/cert_id_traits.h"
#include "message/certificate_key.h"
#include "message/extension_lists.h"

namespace Orvane::PKI::OCSP {

struct TALLOW_HIDDEN CRequestMessage::Impl {
    bool writeVersion = false;
    CSingleRequestList requestList;
    std::optional<ASN1::CExtensions> requestExtensions;
    std::optional<CBlob> requestorName;

    CBlob noName;  // always empty

    // Of a signed message; the bytes of the TBSRequest are those that were signed.
    std::optional<ASN1::CAlgorithmIdentifier> signatureAlgorithm;
    CBlob signature;
    bool hasUnusedBits = false;  // a BIT STRING that does not end with an octet is no signature
    std::optional<CBlobList> signatureCerts;
    CBlob signedBytes;

    // The whole message when it was decoded or signed; empty once the content was changed.
    CBlob encoded;

    static std::unique_ptr<Impl> read(const CBlob& data);
    void fill(ASN1CTXT* ctxt, asn1data::ASN1T_TBSRequest& record) const;
    void sign(unsigned long long hProv, unsigned int keySpec, const ASN1::CAlgorithmIdentifierEx& signatureAlgorithm,
              const CBlobList* certs);

    // What was signed or read does not apply to changed content.
    void contentChanges() {
        signatureAlgorithm.reset();
        signature.clear();
        hasUnusedBits = false;
        signatureCerts.reset();
        signedBytes.clear();
        encoded.clear();
    }
};

namespace {

using TbsRequestTraits = ASN1::RecordTraits<asn1data::ASN1C_TBSRequest, asn1data::asn1Copy_TBSRequest>;

using OcspRequestTraits = ASN1::RecordTraits<asn1data::ASN1C_OCSPRequest, asn1data::asn1Copy_OCSPRequest>;

constexpr std::uint32_t kSignature = 0;
constexpr std::uint32_t kCerts = 0;

struct RequestTraits {
    using ASN1_T = asn1data::ASN1T_Request;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CSingleRequest& value) {
        ReqCertTraits::set(ctxt, record.reqCert, value.get_reqCert());
        record.m.singleRequestExtensionsPresent = ASN1::setIf<ASN1::ASN1T_Extensions_traits>(
            ctxt, record.singleRequestExtensions, value.get_singleRequestExtensions());
    }
};

using RequestListTraits =
    ASN1::ASN1TSeqOfList_traits<asn1data::ASN1T_Request, RequestTraits, CSingleRequest, CSingleRequestList>;

CSingleRequest singleRequestOf(const asn1data::ASN1T_Request& record) {
    CSingleRequest request(ReqCertTraits::get(record.reqCert));
    const std::optional<ASN1::CExtensions> extensions =
        extensionsOf(record.m.singleRequestExtensionsPresent, record.singleRequestExtensions);
    request.put_singleRequestExtensions(extensions ? &*extensions : nullptr);
    return request;
}

// A BIT STRING of whole octets.
CBlob composeBitString(const CBlob& octets) {
    constexpr unsigned char kNoUnusedBits = 0;
    const CBlob unused(&kNoUnusedBits, 1);
    return ASN1::composeElement(0x00000003, {&unused, &octets});
}

// The OCSPSignature in its wrapper. The certificates are inserted unchanged: encoding them again could break their
// signatures.
CBlob composeSignature(const ASN1::CAlgorithmIdentifier& algorithm, const CBlob& signature, const CBlobList* certs) {
    const CBlob algorithmBytes = algorithm.encode();
    const CBlob signatureBytes = composeBitString(signature);
    CBlob certsBytes;
    if (certs != nullptr && !certs->empty()) {
        CBlob all;
        for (const CBlob& cert : *certs) {
            all += cert;
        }
        const CBlob sequence = ASN1::composeElement(ASN1::kTagSequenceWord, {&all});
        certsBytes = ASN1::composeElement(ASN1::contextTag(kCerts), {&sequence});
    }
    const CBlob sequence =
        ASN1::composeElement(ASN1::kTagSequenceWord, {&algorithmBytes, &signatureBytes, &certsBytes});
    return ASN1::composeElement(ASN1::contextTag(kSignature), {&sequence});
}

// The content of an element that must be the wrapper [number]: the decoder does not compare the length of a
// wrapper with its contents, and here that length decides where to look.
ASN1::CElementReader inside(const ASN1::CElement& wrapper, std::uint32_t number) {
    if (!ASN1::hasContextTag(wrapper, number)) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return ASN1::CElementReader(ASN1::CElementReader(wrapper).next());
}

CBlobList certificatesOf(const ASN1::CElement& signatureWrapper) {
    ASN1::CElementReader signature = inside(signatureWrapper, kSignature);
    signature.next();  // signatureAlgorithm
    signature.next();  // signature
    CBlobList certs;
    for (ASN1::CElementReader elements = inside(signature.next(), kCerts); !elements.atEnd();) {
        certs.push_back(elements.next().whole());
    }
    return certs;
}

}  // namespace

CRequestMessage::CRequestMessage() : CRequestMessage(false) {}

CRequestMessage::CRequestMessage(bool writeVersion)
    : impl_(ASN1::withinFrame([] { return std::make_unique<Impl>(); })) {
    impl_->writeVersion = writeVersion;
}

CRequestMessage::CRequestMessage(const CRequestMessage& other)
    : impl_(ASN1::withinFrame([&] { return std::make_unique<Impl>(*other.impl_); })) {}

CRequestMessage& CRequestMessage::operator=(const CRequestMessage& other) {
    if (this != &other) {
        impl_ = std::move(CRequestMessage(other).impl_);
    }
    return *this;
}

CRequestMessage::~CRequestMessage() = default;

void CRequestMessage::decode(const CBlob& data) {
    impl_ = ASN1::withinFrame([&] { return Impl::read(data); });
}

std::unique_ptr<CRequestMessage::Impl> CRequestMessage::Impl::read(const CBlob& data) {
    ASN1BERDecodeBuffer buffer(data.pbData(), ASN1::messageSize(data));
    rtCtxtSetFlag(buffer.getCtxtPtr(), CTX_FLAG_ZERO_COPY);  // all that is read is copied below
    asn1data::ASN1T_OCSPRequest record{};
    ASN1::decodeRecord<OcspRequestTraits>(buffer, record);

    auto decoded = std::make_unique<Impl>();
    const ASN1::CElement whole = ASN1::firstElement(data.pbData(), data.cbData());
    ASN1::CElementReader members(whole);
    const asn1data::ASN1T_TBSRequest& tbs = record.tbsRequest;
    decoded->encoded = whole.whole();
    decoded->writeVersion = tbs.m.versionPresent;
    for (const _Asn1RTDListNode* node = tbs.requestList.pHead; node != nullptr; node = node->pNext) {
        decoded->requestList.push_back(singleRequestOf(*static_cast<const asn1data::ASN1T_Request*>(node->data)));
    }
    decoded->requestExtensions = extensionsOf(tbs.m.requestExtensionsPresent, tbs.requestExtensions);
    if (tbs.m.requestorNamePresent && tbs.requestorName.t == asn1data::ASN1T_GeneralName::T_directoryName) {
        ASN1::CGeneralName name;
        ASN1::ASN1T_GeneralName_traits::get(tbs.requestorName, name);
        decoded->requestorName = *name.get_directoryName();
    }
    if (record.m.optionalSignaturePresent) {
        const asn1data::ASN1T_OCSPSignature& signature = record.optionalSignature;
        ASN1::ASN1T_AlgorithmIdentifier_traits::get(signature.signatureAlgorithm,
                                                    decoded->signatureAlgorithm.emplace());
        ASN1::ASN1TDynBitStr_traits::get(signature.signature, decoded->signature);
        decoded->hasUnusedBits = signature.signature.numbits % 8 != 0;
        decoded->signedBytes = members.next().whole();
        if (signature.m.certsPresent) {
            decoded->signatureCerts = certificatesOf(members.next());
        }
    }
    return decoded;
}

void CRequestMessage::Impl::fill(ASN1CTXT* ctxt, asn1data::ASN1T_TBSRequest& record) const {
    record.m.versionPresent = writeVersion ? 1 : 0;
    if (requestorName) {
        ASN1::CGeneralName name;
        name.put_directoryName(*requestorName);
        record.m.requestorNamePresent = 1;
        ASN1::ASN1T_GeneralName_traits::set(ctxt, record.requestorName, name);
    }
    RequestListTraits::set(ctxt, record.requestList, requestList);
    if (requestExtensions) {
        record.m.requestExtensionsPresent = 1;
        ASN1::ASN1T_Extensions_traits::set(ctxt, record.requestExtensions, *requestExtensions);
    }
}

CBlob CRequestMessage::encode() const {
    return ASN1::withinFrame([this] {
        if (impl_->encoded.cbData() != 0) {
            return impl_->encoded;
        }
        ASN1BEREncodeBuffer buffer;
        asn1data::ASN1T_OCSPRequest record{};
        impl_->fill(buffer.getCtxtPtr(), record.tbsRequest);
        return ASN1::encodeRecord<OcspRequestTraits>(buffer, record);
    });
}

const CSingleRequestList& CRequestMessage::get_requestList() const {
    return impl_->requestList;
}

void CRequestMessage::put_requestList(const CSingleRequestList& list) {
    put_requestList(ASN1::withinFrame([&] { return CSingleRequestList(list); }));
}

void CRequestMessage::put_requestList(CSingleRequestList&& list) {
    impl_->contentChanges();
    impl_->requestList = std::move(list);
}

const ASN1::CExtensions* CRequestMessage::get_requestExtensions() const {
    return impl_->requestExtensions ? &*impl_->requestExtensions : nullptr;
}

void CRequestMessage::put_requestExtensions(const ASN1::CExtensions* extensions) {
    ASN1::withinFrame(
        [&] { impl_->requestExtensions = extensions == nullptr ? std::nullopt : std::optional(*extensions); });
    impl_->contentChanges();
}

const CBlob* CRequestMessage::get_requestorName() const {
    if (impl_->requestorName) {
        return &*impl_->requestorName;
    }
    // The signer is looked up by this name without a test for null. An empty name matches no certificate.
    return impl_->signatureAlgorithm ? &impl_->noName : nullptr;
}

void CRequestMessage::put_requestorName(const CBlob* name) {
    ASN1::withinFrame([&] { impl_->requestorName = name == nullptr ? std::nullopt : std::optional(*name); });
    impl_->contentChanges();
}

const ASN1::CAlgorithmIdentifier* CRequestMessage::get_signatureAlgorithm() const {
    return impl_->signatureAlgorithm ? &*impl_->signatureAlgorithm : nullptr;
}

const CBlobList* CRequestMessage::get_signatureCerts() const {
    return impl_->signatureCerts ? &*impl_->signatureCerts : nullptr;
}

void CRequestMessage::sign(unsigned long long hProv, unsigned int keySpec,
                           const ASN1::CAlgorithmIdentifierEx& signatureAlgorithm, const CBlobList* certs) {
    ASN1::withinFrame([&] { impl_->sign(hProv, keySpec, signatureAlgorithm, certs); });
}

void CRequestMessage::Impl::sign(unsigned long long hProv, unsigned int keySpec,
                                 const ASN1::CAlgorithmIdentifierEx& chosen, const CBlobList* certs) {
    ASN1BEREncodeBuffer buffer;
    asn1data::ASN1T_TBSRequest record{};
    fill(buffer.getCtxtPtr(), record);
    CBlob tbs = ASN1::encodeRecord<TbsRequestTraits>(buffer, record);
    std::string oid = chosen.get_algorithm();
    const CBlob& parameters = chosen.get_parameters();
    CRYPT_ALGORITHM_IDENTIFIER algorithm{
        oid.data(),
        {static_cast<DWORD>(parameters.cbData()), parameters.cbData() == 0 ? nullptr : parameters.pbData()}};
    const auto tbsSize = static_cast<DWORD>(tbs.cbData());
    DWORD size = 0;
    if (!CryptSignCertificate(hProv, keySpec, X509_ASN_ENCODING, tbs.pbData(), tbsSize, &algorithm, nullptr, nullptr,
                              &size)) {
        ATL2::throwLastErrorOrFail();
    }
    CBlob made(static_cast<unsigned long>(size));
    if (!CryptSignCertificate(hProv, keySpec, X509_ASN_ENCODING, tbs.pbData(), tbsSize, &algorithm, nullptr,
                              made.pbData(), &size)) {
        ATL2::throwLastErrorOrFail();
    }
    made.resize_to(size);
    const CBlob wrapped = composeSignature(chosen, made, certs);
    ASN1::CAlgorithmIdentifier algorithmCopy(chosen);
    std::optional<CBlobList> certsCopy = certs == nullptr || certs->empty() ? std::nullopt : std::optional(*certs);
    encoded = ASN1::composeElement(ASN1::kTagSequenceWord, {&tbs, &wrapped});
    // From here on nothing fails: a message is signed whole or stays what it was.
    signedBytes = std::move(tbs);
    signature = std::move(made);
    hasUnusedBits = false;
    signatureAlgorithm.emplace(std::move(algorithmCopy));
    signatureCerts = std::move(certsCopy);
}

bool CRequestMessage::verify(const CBlob& certificate) const {
    const ATL2::CCertContext context = openCertificate(certificate);
    if (!impl_->signatureAlgorithm || impl_->hasUnusedBits) {
        return false;
    }
    std::string oid = ASN1::withinFrame([this] { return std::string(impl_->signatureAlgorithm->get_algorithm()); });
    const CBlob& parameters = impl_->signatureAlgorithm->get_parameters();
    OCSP_BASIC_SIGNED_RESPONSE_INFO subject{};
    subject.ToBeSigned = {static_cast<DWORD>(impl_->signedBytes.cbData()), impl_->signedBytes.pbData()};
    subject.SignatureInfo.SignatureAlgorithm = {oid.data(),
                                                {static_cast<DWORD>(parameters.cbData()), parameters.pbData()}};
    subject.SignatureInfo.Signature = {static_cast<DWORD>(impl_->signature.cbData()), impl_->signature.pbData(), 0};
    return verifySignature(CRYPT_VERIFY_CERT_SIGN_SUBJECT_OCSP_BASIC_SIGNED_RESPONSE, &subject, context);
}

}  // namespace Orvane::PKI::OCSP
