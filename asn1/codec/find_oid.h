// Looking entries up by their identifier, in lists whose entries have get_oid().
#pragma once

#include <algorithm>
#include <cstring>

namespace Orvane::ASN1 {

/// The first entry with exactly this identifier text, otherwise `last`. Null finds nothing but an empty identifier.
template <class Iterator>
Iterator findOid(Iterator first, Iterator last, const char* oid) {
    const char* wanted = oid != nullptr ? oid : "";
    return std::find_if(first, last, [wanted](const auto& entry) { return std::strcmp(entry.get_oid(), wanted) == 0; });
}

}  // namespace Orvane::ASN1
