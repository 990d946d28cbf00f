// Validates the single responses of an import and sorts their extensions into the tables.
#include <cstring>

#include "client/response/response_impl.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

void CResponse::Impl::MakeSingleResponseList() {
    unsigned long index = 0;
    for (const CSingleResponse& entry : BasicResponse.get_responses()) {
        if (entry.get_reqCert().get_certID() == nullptr) {
            ATL::AtlThrowImpl(status::kCryptNotFound);
        }
        if (entry.get_nextUpdate() != nullptr && *entry.get_nextUpdate() <= entry.get_thisUpdate()) {
            ATL::AtlThrowImpl(status::kNextBeforeThis);
        }
        if (const ASN1::CExtensions* extensions = entry.get_singleExtensions(); extensions != nullptr) {
            for (const ASN1::CExtension& extension : *extensions) {
                sortExtension(index, entry, extension);
            }
        }
        ++index;
    }
}

void CResponse::Impl::sortExtension(unsigned long index, const CSingleResponse& entry,
                                    const ASN1::CExtension& extension) {
    const auto is = [&extension](const char* oid) { return std::strcmp(extension.get_extnID(), oid) == 0; };
    const auto refuseDuplicate = [index](const auto& table) {
        if (table.contains(index)) {
            ATL::AtlThrowImpl(status::kDuplicateExtension);
        }
    };
    if (is(kOidHistoricalRequest)) {
        refuseDuplicate(SRHistoricalRequests);
        takeHistoricalRequest(index, entry, extension);
        return;
    }
    if (is(kOidArchiveCutoff)) {
        refuseDuplicate(SRArchiveCutoffs);
        SRArchiveCutoffs.emplace(index, CExtArchiveCutoff(extension.get_extnValue()));
        // No return: get_SRAdditionalExtensions shows the archive cutoff as well, unlike the other two.
    }
    if (is(kOidCrlReference)) {
        refuseDuplicate(SRCRLReferences);
        SRCRLReferences.emplace(index, CExtCrlID(extension.get_extnValue()));
        return;
    }
    SRAdditionalExtensions[index].push_back(extension);
}

// An answer about an earlier time must not be based on data that is older than that time by more than policy allows.
void CResponse::Impl::takeHistoricalRequest(unsigned long index, const CSingleResponse& entry,
                                            const ASN1::CExtension& extension) {
    const CExtHistoricalRequest request(extension.get_extnValue());
    SRHistoricalRequests.emplace(index, request);
    if (const CDateTime* crlTime = request.get_crlTime(); crlTime != nullptr) {
        if (entry.get_thisUpdate() <
            thisUpdateLimit(Policy->ThisUpdateAccuracy, Policy->ThisUpdateAccuracyUnits, *crlTime)) {
            ATL::AtlThrowImpl(status::kThisUpdateTooOld);
        }
    }
}

}  // namespace Orvane::PKI::OCSP::Client
