// Imports a request made elsewhere. The bytes are hostile: every step takes time linear in their number.
#include <cstring>
#include <utility>

#include "asn1/codec/rethrow_as_status.h"
#include "client/request/request_impl.h"
#include "client/shared/chain_building.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/request_message.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

[[noreturn]] void refuseDuplicate() {
    ATL::AtlThrowImpl(status::kDuplicateExtension);
}

bool names(const ASN1::CExtension& extension, const char* oid) {
    return std::strcmp(extension.get_extnID(), oid) == 0;
}

// Returns false, without a change, when the entry already has such an extension. Entries are read in order, so each
// new key is the last one.
template <typename Value>
bool put(std::map<unsigned long, Value>& map, unsigned long index, const ASN1::CExtension& extension) {
    if (map.contains(index)) {
        return false;
    }
    map.emplace_hint(map.end(), index, Value(extension.get_extnValue()));
    return true;
}

}  // namespace

// A failure is not undone: what was read before it stays, and so do the bytes.
void CRequest::Impl::Import(const unsigned char* data, unsigned long size) {
    // Copied before clearing: the bytes may belong to this object, for example to one of its extensions.
    CBlob input(data, size);
    ClearRequest();
    SRCertIDs.clear();
    SRCertificates.clear();
    Encoded = std::move(input);
    CRequestMessage message;
    message.decode(Encoded);
    // An unsigned message does not clear the algorithm of an earlier signed one: the object stays frozen.
    if (const ASN1::CAlgorithmIdentifier* algorithm = message.get_signatureAlgorithm(); algorithm != nullptr) {
        SignatureAlgorithmOID = algorithm->get_algorithm();
    }
    TALLOW_TRACE("Import", "Processing request extensions...\n");
    if (const ASN1::CExtensions* extensions = message.get_requestExtensions(); extensions != nullptr) {
        for (const ASN1::CExtension& extension : *extensions) {
            importRequestExtension(extension);
        }
    }
    importRequestList(message.get_requestList());
    TALLOW_TRACE("Import", "Processing certificates from request...\n");
    addCertificates(Certificates, message.get_signatureCerts());
}

void CRequest::Impl::importRequestExtension(const ASN1::CExtension& extension) {
    if (names(extension, kOidNonce)) {
        if (UseNonce) {
            TALLOW_TRACE("Import", "Duplicated extension: Nonce\n");
            refuseDuplicate();
        }
        Nonce = CExtNonce(extension.get_extnValue()).get_nonce();
        UseNonce = true;
    } else if (names(extension, kOidAcceptableResponses)) {
        if (UseAcceptableResponses) {
            TALLOW_TRACE("Import", "Duplicated extension: AcceptableResponses\n");
            refuseDuplicate();
        }
        UseAcceptableResponses = true;  // the types are not read: only one is defined
    } else {
        AdditionalExtensions.push_back(extension);
    }
}

void CRequest::Impl::importRequestList(const CSingleRequestList& list) {
    SRCertIDs.reserve(list.size());
    SRCertificates.reserve(list.size());
    for (const CSingleRequest& request : list) {
        const CCertID* certID = request.get_reqCert().get_certID();
        if (certID == nullptr) {
            TALLOW_TRACE("Import", "reqCert is not certID...\n");
            ATL::AtlThrowImpl(status::kCryptNotFound);
        }
        const unsigned long index = SRCertIDs.size();
        SRCertIDs.push_back(*certID);
        SRCertificates.emplace_back();
        if (const ASN1::CExtensions* extensions = request.get_singleRequestExtensions(); extensions != nullptr) {
            for (const ASN1::CExtension& extension : *extensions) {
                importSingleRequestExtension(index, extension);
            }
        }
    }
}

void CRequest::Impl::importSingleRequestExtension(unsigned long index, const ASN1::CExtension& extension) {
    if (names(extension, kOidHistoricalRequest)) {
        if (!put(SRHistoricalRequests, index, extension)) {
            TALLOW_TRACE("Import", "Duplicated extension: Historical request\n");
            refuseDuplicate();
        }
    } else if (names(extension, kOidServiceLocator)) {
        if (!put(SRServiceLocators, index, extension)) {
            TALLOW_TRACE("Import", "Duplicated extension: Service Locator\n");
            refuseDuplicate();
        }
    } else if (names(extension, kOidCrlLocator)) {
        if (!put(SRCRLLocators, index, extension)) {
            TALLOW_TRACE("Import", "Duplicated extension: CRL Locator\n");
            refuseDuplicate();
        }
    } else {
        SRAdditionalExtensions[index].push_back(extension);
    }
}

void CRequest::Import(const unsigned char* data, unsigned long size) try { impl_->Import(data, size); } catch (...) {
    ASN1::rethrowAsStatus();
}

}  // namespace Orvane::PKI::OCSP::Client
