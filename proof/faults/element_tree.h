// A message as a tree of BER elements, for changing one of them while the lengths around it stay right. It shares no
// code with the library.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace proof {

using testkit::Bytes;

struct Element {
    std::size_t begin = 0;       // of the identifier octet
    std::size_t content = 0;     // of the first content octet
    std::size_t contentEnd = 0;  // behind the last one
    std::size_t end = 0;         // behind the whole element: after the end-of-contents octets of an indefinite length
    std::size_t parent = kNone;  // index in the tree
    std::size_t nextTo = kNone;  // the next sibling
    std::vector<std::size_t> children;  // also those in a primitive OCTET STRING

    static constexpr std::size_t kNone = ~std::size_t{0};
    bool isIndefinite() const { return end != contentEnd; }
};

class ElementTree {
public:
    /// Throws std::runtime_error for octets that are not one element.
    explicit ElementTree(Bytes message);

    const std::vector<Element>& elements() const { return elements_; }
    const Bytes& message() const { return message_; }
    Bytes octetsOf(const Element& element) const { return slice(element.begin, element.end); }
    Bytes contentOf(const Element& element) const { return slice(element.content, element.contentEnd); }

    /// The message with `replacement` in place of the octets from `begin` to `end`, which are whole children of
    /// `parent`, or its whole content. Definite lengths around them are adapted, in their own form where it suffices.
    Bytes replaced(std::size_t parent, std::size_t begin, std::size_t end, const Bytes& replacement) const;

    /// Which part of a response the octet at `offset` belongs to; kInParts where this is not known, because the basic
    /// response is cut into several octet strings.
    std::string regionOf(std::size_t offset) const;
    static constexpr const char* kInParts = "basic response in parts";

private:
    Bytes slice(std::size_t begin, std::size_t end) const;
    // Elements from `begin` to exactly `end`; false when there are none, or they do not fit.
    bool read(std::size_t begin, std::size_t end, std::size_t parent, int depth);
    bool readOne(std::size_t begin, std::size_t end, std::size_t parent, int depth);

    Bytes message_;
    std::vector<Element> elements_;
    // Of a response: where its parts begin and end.
    struct Region {
        std::size_t begin, end;
        const char* name;
    };
    std::vector<Region> regions_;
};

}  // namespace proof
