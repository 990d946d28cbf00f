// Tables that keep what some entries of a message have, by position of the entry.
#pragma once

namespace Orvane::PKI::OCSP::Client {

/// The value for entry `index`, null when there is none. Valid until the table changes.
template <typename Map>
auto findEntry(const Map& map, unsigned long index) -> const typename Map::mapped_type* {
    const auto found = map.find(index);
    return found == map.end() ? nullptr : &found->second;
}

}  // namespace Orvane::PKI::OCSP::Client
