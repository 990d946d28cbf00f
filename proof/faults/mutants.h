// All single faults of one message, by number: of each octet, of each element, and of the identifier and length octets
// of each element.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "proof/faults/element_tree.h"

namespace proof {

struct Mutant {
    Bytes octets;
    std::string kind;        // "bit flipped", ...
    std::size_t offset = 0;  // of the first octet that the fault is about
};

class Mutants {
public:
    explicit Mutants(const Bytes& message);

    std::uint64_t count() const { return tree_.message().size() * kFaultsOfOctet + ofElements_.size(); }
    /// May equal the message: a repeated octet that is deleted leaves what duplicating it does not.
    Mutant mutant(std::uint64_t number) const;
    std::string regionOf(std::size_t offset) const { return tree_.regionOf(offset); }

private:
    // Faults of an octet: 8 bits flipped; deleted; duplicated; an octet before it; set to an extreme value; one more or
    // less; and of it with the next one: exchanged, both deleted, both duplicated, both set to an extreme value.
    static constexpr std::uint64_t kFaultsOfOctet = 8 + 1 + 1 + 1 + 5 + 2 + 3 + 5;
    enum class Fault {
        kDrop,
        kDuplicate,
        kSwap,
        kLengthen,
        kTruncate,
        kRetag,
        kLength,
        kWrap,
        kReplace,
    };
    struct OfElement {
        std::size_t element;
        Fault fault;
        unsigned variant;
    };
    Mutant ofOctet(std::size_t offset, unsigned fault) const;
    Mutant ofTwoOctets(std::size_t offset, unsigned fault) const;
    Mutant ofElement(const OfElement& choice) const;
    Bytes withContent(const Element& element, std::size_t index, const Bytes& content) const;

    ElementTree tree_;
    std::vector<OfElement> ofElements_;
};

}  // namespace proof
