// The single responses of a message by position and by the certificate they name. A message may contain very many
// entries, and callers walk them by position or look up one for each entry of a request: neither may scan the whole
// list every time.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "client/response/response.h"
#include "message/cert_id.h"
#include "message/single_response.h"

namespace Orvane::PKI::OCSP::Client {

class EntryIndex {
public:
    /// What find returns when nothing matches.
    static constexpr unsigned long kNone = CResponse::kNoIndex;

    /// Points into `responses`, which must stay as it is for as long as the index is used.
    void reset(const CSingleResponseList& responses);
    void clear();

    unsigned long size() const { return entries_.size(); }
    /// Throws kInvalidIndex past the end.
    const CSingleResponse& at(unsigned long index) const;
    /// The first entry that names the same certificate, or kNone. Each entry must hold a CertID.
    unsigned long find(const CCertID& certID);

private:
    using Key = std::pair<std::string, unsigned long>;  // what is compared of a CertID, position

    std::vector<const CSingleResponse*> entries_;
    std::vector<Key> byKey_;  // sorted; built only after several scans
    unsigned long scans_ = 0;
};

}  // namespace Orvane::PKI::OCSP::Client
