#include "platform/crypto/certificates/crl_entries.h"

#include <algorithm>

#include "platform/crypto/certificates/crl_extensions.h"

namespace tallow::platform {

namespace {

struct EntryFields {
    ByteView serial;
    DerElement date;
    std::optional<ByteView> extensions;
};

// False when malformed.
bool split(ByteView entry, EntryFields& into) {
    DerReader fields(entry);
    const ByteView serial = fields.expect(V_ASN1_INTEGER).content;
    into.date = fields.next();
    if (fields.failed() || serial.empty() || !isTime(into.date)) {
        return false;
    }
    into.serial = integerContent(serial);
    into.extensions = fields.atEnd() ? std::nullopt : std::optional(fields.expect(V_ASN1_SEQUENCE).content);
    return !fields.failed() && fields.atEnd();
}

// Rank of a reason: a hold can be lifted, and an entry that lifts one ranks lowest.
int finality(int reason) {
    return reason == kReasonRemoveFromCrl ? 0 : reason == kReasonCertificateHold ? 1 : 2;
}

// A number in the order of isLess(), as far as it tells serial numbers apart: the size, then the first seven octets.
std::uint64_t prefixOf(ByteView serial) {
    constexpr std::size_t kLargest = 0xFF;
    std::uint64_t prefix = std::min(serial.size(), kLargest);
    for (std::size_t i = 0; i < 7; ++i) {
        prefix = prefix << 8 | (i < serial.size() && serial.size() < kLargest ? serial[i] : 0U);
    }
    return prefix;
}

}  // namespace

bool CrlEntries::read(ByteView content, const char*& defect) {
    content_ = content;
    DerReader list(content);
    EntryFields fields;
    std::vector<CrlExtension> extensions;
    ByteView last;
    bool isSorted = true;
    while (!list.atEnd()) {
        const DerElement entry = list.expect(V_ASN1_SEQUENCE);
        if (list.failed() || !split(entry.content, fields)) {
            return false;
        }
        const auto begin = static_cast<std::uint32_t>(entry.whole.data() - content.data());
        if (fields.extensions) {
            haveExtensions_ = true;
            extensions.clear();
            if (!readCrlExtensions(*fields.extensions, extensions, defect)) {
                return false;
            }
            if (const ByteView issuer = readEntryExtensions(extensions, defect).issuer; !issuer.empty()) {
                issuers_.push_back({begin, issuer});
            }
        }
        isSorted = isSorted && !isLess(fields.serial, last);
        last = fields.serial;
        begins_.push_back(begin);
    }
    if (!isSorted) {
        sort();
    }
    begins_.shrink_to_fit();
    return true;
}

// Most comparisons are decided by numbers in a row, without a look at the list.
void CrlEntries::sort() {
    struct Place {
        std::uint64_t prefix;
        std::uint32_t begin;
    };
    std::vector<Place> places;
    places.reserve(begins_.size());
    for (const std::uint32_t begin : begins_) {
        places.push_back({prefixOf(serialAt(begin)), begin});
    }
    std::sort(places.begin(), places.end(), [this](const Place& left, const Place& right) {
        if (left.prefix != right.prefix) {
            return left.prefix < right.prefix;
        }
        const int order = compareNumbers(serialAt(left.begin), serialAt(right.begin));
        return order != 0 ? order < 0 : left.begin < right.begin;
    });
    std::transform(places.begin(), places.end(), begins_.begin(), [](const Place& place) { return place.begin; });
}

ByteView CrlEntries::serialAt(std::uint32_t begin) const {
    return integerContent(DerReader(content_.subspan(begin)).sequence().expect(V_ASN1_INTEGER).content);
}

// The list was read before, so nothing in it is malformed here.
CrlEntry CrlEntries::entryAt(std::uint32_t begin) const {
    EntryFields fields;
    split(DerReader(content_.subspan(begin)).expect(V_ASN1_SEQUENCE).content, fields);
    CrlEntry entry;
    entry.serial = fields.serial;
    entry.date = secondsOf(fields.date);
    if (fields.extensions) {
        const char* known = nullptr;
        std::vector<CrlExtension> extensions;
        readCrlExtensions(*fields.extensions, extensions, known);
        entry.reason = readEntryExtensions(extensions, known).reason;
    }
    const auto after =
        std::upper_bound(issuers_.begin(), issuers_.end(), begin,
                         [](std::uint32_t wanted, const IssuerFrom& from) { return wanted < from.begin; });
    entry.issuer = after == issuers_.begin() ? ByteView() : std::prev(after)->names;
    return entry;
}

std::optional<CrlEntry> CrlEntries::mostFinal(ByteView serial, const std::function<bool(const CrlEntry&)>& fits) const {
    const auto isBefore = [this](std::uint32_t begin, ByteView wanted) { return isLess(serialAt(begin), wanted); };
    auto begin = std::lower_bound(begins_.begin(), begins_.end(), serial, isBefore);
    std::optional<CrlEntry> found;
    for (; begin != begins_.end() && std::ranges::equal(serialAt(*begin), serial); ++begin) {
        const CrlEntry entry = entryAt(*begin);
        if (fits(entry) && (!found || finality(entry.reason) > finality(found->reason))) {
            found = entry;
        }
    }
    return found;
}

std::size_t CrlEntries::sizeAllocated() const noexcept {
    return begins_.capacity() * sizeof(begins_[0]) + issuers_.capacity() * sizeof(issuers_[0]);
}

}  // namespace tallow::platform
