#include "platform/crypto/chains/crl_selection.h"

#include <algorithm>

namespace tallow::platform {

namespace {

bool isSameIssuer(const Crl& left, const Crl& right) {
    return X509_NAME_cmp(left.issuer.get(), right.issuer.get()) == 0;
}

bool isSameScope(const Crl& left, const Crl& right) {
    return std::ranges::equal(left.scopeDer, right.scopeDer) && isSameIssuer(left, right);
}

}  // namespace

bool isNewer(const Crl& first, const Crl& second) {
    if (first.thisUpdate != second.thisUpdate) {
        return first.thisUpdate > second.thisUpdate;
    }
    return first.number && second.number ? isLess(*second.number, *first.number)
                                         : first.number.has_value() && !second.number;
}

bool replaces(const Crl& newer, const Crl& older) {
    const bool areNumbered = newer.number && older.number;
    const bool isLower = areNumbered && isLess(*newer.number, *older.number);
    const bool isHigher = areNumbered && isLess(*older.number, *newer.number);
    return newer.thisUpdate >= older.thisUpdate && !isLower && (newer.thisUpdate > older.thisUpdate || isHigher);
}

std::vector<CrlGroup> groupByScope(const CrlCandidates& candidates) {
    std::vector<const CrlCandidate*> sorted;
    for (const CrlCandidate& candidate : candidates) {
        if (candidate.isUsable && !candidate.isLater) {
            sorted.push_back(&candidate);
        }
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const CrlCandidate* left, const CrlCandidate* right) {
        return isNewer(*left->crl, *right->crl);
    });
    std::vector<CrlGroup> groups;
    for (const bool isDelta : {false, true}) {
        for (const CrlCandidate* const candidate : sorted) {
            if (candidate->crl->isDelta() != isDelta) {
                continue;
            }
            const auto group = std::find_if(groups.begin(), groups.end(), [&](const CrlGroup& held) {
                return isSameScope(*held.completes.front()->crl, *candidate->crl);
            });
            if (group != groups.end()) {
                (isDelta ? group->deltas : group->completes).push_back(candidate);
            } else if (!isDelta) {
                groups.push_back({{candidate}, {}, {}});
            }
        }
    }
    for (const CrlCandidate& candidate : candidates) {
        for (CrlGroup& group : groups) {
            if (!candidate.isUsable && !candidate.isLater &&
                isSameIssuer(*group.completes.front()->crl, *candidate.crl)) {
                group.unusable.push_back(&candidate);
            }
        }
    }
    return groups;
}

bool canUpdate(const Crl& delta, const Crl& complete) {
    return delta.number && complete.number && isLess(*complete.number, *delta.number) &&
           !isLess(*complete.number, *delta.baseNumber);
}

}  // namespace tallow::platform
