#include "client/response/entry_index.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

// Most callers look up one or two entries, and then a scan is cheaper than sorting.
constexpr unsigned long kScansBeforeSorting = 8;

std::string_view textOf(const CBlob& blob) {
    return {reinterpret_cast<const char*>(blob.pbData()), blob.cbData()};
}

// Two encodings of one number differ only in redundant sign octets.
std::string_view shortestForm(const CBlob& number) {
    std::string_view text = textOf(number);
    while (text.size() > 1) {
        const bool negative = (static_cast<unsigned char>(text[1]) & 0x80) != 0;
        if (text[0] != (negative ? '\xFF' : '\0')) {
            break;
        }
        text.remove_prefix(1);
    }
    return text;
}

void append(std::string& key, std::string_view part) {
    const auto size = static_cast<std::uint64_t>(part.size());
    key.append(reinterpret_cast<const char*>(&size), sizeof size);
    key.append(part);
}

// Equal exactly for identifiers that name the same certificate.
std::string keyOf(const CCertID& id) {
    std::string key;
    append(key, textOf(id.get_issuerKeyHash()));
    append(key, textOf(id.get_issuerNameHash()));
    append(key, shortestForm(id.get_serialNumber()));
    return key;
}

}  // namespace

void EntryIndex::reset(const CSingleResponseList& responses) {
    clear();
    entries_.reserve(responses.size());
    for (const CSingleResponse& entry : responses) {
        entries_.push_back(&entry);
    }
}

void EntryIndex::clear() {
    entries_.clear();
    byKey_.clear();
    scans_ = 0;
}

const CSingleResponse& EntryIndex::at(unsigned long index) const {
    if (index >= entries_.size()) {
        ATL::AtlThrowImpl(status::kInvalidIndex);
    }
    return *entries_[index];
}

unsigned long EntryIndex::find(const CCertID& certID) {
    if (scans_ < kScansBeforeSorting) {
        ++scans_;
        const auto found = std::find_if(entries_.begin(), entries_.end(), [&certID](const CSingleResponse* entry) {
            return namesSameCertificate(*entry->get_reqCert().get_certID(), certID);
        });
        return found == entries_.end() ? kNone : static_cast<unsigned long>(found - entries_.begin());
    }
    if (byKey_.empty()) {
        std::vector<Key> keys;
        keys.reserve(entries_.size());
        for (const CSingleResponse* entry : entries_) {
            keys.emplace_back(keyOf(*entry->get_reqCert().get_certID()), keys.size());
        }
        std::sort(keys.begin(), keys.end());
        byKey_ = std::move(keys);
    }
    // Of entries with equal keys the lowest position is found.
    const Key wanted(keyOf(certID), 0);
    const auto found = std::lower_bound(byKey_.begin(), byKey_.end(), wanted);
    return found == byKey_.end() || found->first != wanted.first ? kNone : found->second;
}

}  // namespace Orvane::PKI::OCSP::Client
