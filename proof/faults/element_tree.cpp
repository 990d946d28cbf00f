#include "proof/faults/element_tree.h"

#include <algorithm>
#include <stdexcept>

namespace proof {

namespace {

constexpr int kDeepest = 40;

// The length octets for `size`, at least `least` octets long.
Bytes lengthOctets(std::size_t size, std::size_t least) {
    Bytes octets;
    for (std::size_t rest = size; rest > 0; rest >>= 8) {
        octets.insert(octets.begin(), static_cast<std::uint8_t>(rest));
    }
    if (size < 0x80 && least <= 1) {
        return {static_cast<std::uint8_t>(size)};
    }
    while (octets.size() + 1 < least) {
        octets.insert(octets.begin(), 0);
    }
    octets.insert(octets.begin(), static_cast<std::uint8_t>(0x80 | octets.size()));
    return octets;
}

}  // namespace

ElementTree::ElementTree(Bytes message) : message_(std::move(message)) {
    if (!readOne(0, message_.size(), Element::kNone, 0) || elements_.front().end != message_.size()) {
        throw std::runtime_error("the message is not one element");
    }
    // OCSPResponse { responseStatus, [0] { SEQUENCE { responseType, OCTET STRING { BasicOCSPResponse } } } }, or only
    // the BasicOCSPResponse { tbsResponseData, signatureAlgorithm, signature, [0] certs }.
    std::size_t basic = 0;
    if (message_[elements_[0].content] == 0x0A) {
        const auto child = [this](std::size_t of, std::size_t number) { return elements_[of].children.at(number); };
        std::size_t octets = child(child(child(0, 1), 0), 1);
        while (message_[elements_[octets].begin] != 0x30) {
            if (elements_[octets].children.empty()) {  // in parts, which are no elements
                regions_.push_back({elements_[octets].begin, elements_[octets].end, kInParts});
                return;
            }
            octets = elements_[octets].children[0];
        }
        basic = octets;
    }
    const std::vector<std::size_t>& parts = elements_[basic].children;
    static constexpr const char* kNames[] = {"signed data", "signature algorithm", "signature", "certificates"};
    for (std::size_t i = 0; i < parts.size() && i < std::size(kNames); ++i) {
        regions_.push_back({elements_[parts[i]].begin, elements_[parts[i]].end, kNames[i]});
    }
}

std::string ElementTree::regionOf(std::size_t offset) const {
    for (const Region& region : regions_) {
        if (offset >= region.begin && offset < region.end) {
            return region.name;
        }
    }
    return "envelope";
}

Bytes ElementTree::slice(std::size_t begin, std::size_t end) const {
    return {message_.begin() + static_cast<std::ptrdiff_t>(begin), message_.begin() + static_cast<std::ptrdiff_t>(end)};
}

bool ElementTree::readOne(std::size_t begin, std::size_t end, std::size_t parent, int depth) {
    if (end - begin < 2 || (message_[begin] & 0x1F) == 0x1F || depth > kDeepest) {
        return false;
    }
    Element element;
    element.begin = begin;
    element.parent = parent;
    const std::uint8_t first = message_[begin + 1];
    std::size_t size = first;
    element.content = begin + 2;
    if (first > 0x80) {
        const std::size_t count = first & 0x7F;
        if (count > sizeof size || element.content + count > end) {
            return false;
        }
        size = 0;
        for (std::size_t i = 0; i < count; ++i) {
            size = size << 8 | message_[element.content++];
        }
    }
    const std::size_t index = elements_.size();
    const bool isConstructed = (message_[begin] & 0x20) != 0;
    if (first == 0x80) {
        if (!isConstructed) {
            return false;
        }
        elements_.push_back(element);
        std::size_t at = element.content;
        while (at + 2 <= end && !(message_[at] == 0 && message_[at + 1] == 0)) {
            const std::size_t child = elements_.size();
            if (!readOne(at, end, index, depth + 1)) {
                elements_.resize(index);
                return false;
            }
            at = elements_[child].end;
        }
        elements_[index].contentEnd = at;
        elements_[index].end = at + 2;
    } else {
        if (size > end - element.content) {
            return false;
        }
        element.contentEnd = element.end = element.content + size;
        elements_.push_back(element);
        const bool mayContain = isConstructed || message_[begin] == 0x04;
        if (mayContain && !read(element.content, element.end, index, depth + 1)) {
            elements_.resize(index + 1);
            elements_[index].children.clear();
            if (isConstructed && size != 0) {
                elements_.resize(index);
                return false;
            }
        }
    }
    if (parent != Element::kNone) {
        std::vector<std::size_t>& siblings = elements_[parent].children;
        if (!siblings.empty()) {
            elements_[siblings.back()].nextTo = index;
        }
        siblings.push_back(index);
    }
    return true;
}

bool ElementTree::read(std::size_t begin, std::size_t end, std::size_t parent, int depth) {
    const std::size_t start = elements_.size();
    while (begin < end) {
        const std::size_t child = elements_.size();
        if (!readOne(begin, end, parent, depth)) {
            elements_.resize(start);
            return false;
        }
        begin = elements_[child].end;
    }
    return elements_.size() > start;
}

Bytes ElementTree::replaced(std::size_t parent, std::size_t begin, std::size_t end, const Bytes& replacement) const {
    Bytes content = replacement;
    for (std::size_t at = parent; at != Element::kNone; at = elements_[at].parent) {
        const Element& around = elements_[at];
        const Bytes before = slice(around.content, begin);
        const Bytes after = slice(end, around.contentEnd);
        content = testkit::concat({before, content, after});
        const Bytes length =
            around.isIndefinite() ? Bytes{0x80} : lengthOctets(content.size(), around.content - around.begin - 1);
        const Bytes tail = around.isIndefinite() ? Bytes{0, 0} : Bytes();
        content = testkit::concat({Bytes{message_[around.begin]}, length, content, tail});
        begin = around.begin;
        end = around.end;
    }
    return content;
}

}  // namespace proof
