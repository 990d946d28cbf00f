#include "proof/faults/mutants.h"

#include "tests/support/tlv.h"

namespace proof {

namespace {

namespace tlv = testkit::tlv;

constexpr std::uint8_t kExtremes[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
// 16 universal tags, 16 context tags and a high tag number, primitive and constructed.
constexpr unsigned kOtherTags = 2 * (16 + 16 + 1);
std::uint8_t otherTag(unsigned variant) {
    static constexpr std::uint8_t kUniversal[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x08, 0x09,
                                                  0x0A, 0x0C, 0x10, 0x11, 0x13, 0x16, 0x17, 0x18};
    const unsigned number = variant / 2;
    const unsigned tag = number < 16 ? kUniversal[number] : number < 32 ? 0x80 | (number - 16) : 0x1F;
    return static_cast<std::uint8_t>(variant % 2 == 0 ? tag : 0x20 | tag);
}
constexpr unsigned kFlippedTags = 3;  // the constructed bit, and those of the class

const Bytes& longer(unsigned variant) {
    static const Bytes kOctets[] = {{0x00}, {0xFF}, {0x05, 0x00}, Bytes(128, 0x00)};
    return kOctets[variant / 2];
}
constexpr unsigned kLonger = 8;    // each at the beginning and at the end
constexpr unsigned kShorter = 4;   // without the last octet, the first one, the second half, all
constexpr unsigned kLengths = 8;   // the length octets alone
constexpr unsigned kWrappers = 4;  // SEQUENCE, [0], OCTET STRING, twice SEQUENCE
constexpr unsigned kReplaced = 5;  // NULL, an empty SEQUENCE, a long string, end-of-contents, high tag number

}  // namespace

Mutants::Mutants(const Bytes& message) : tree_(message) {
    const struct {
        Fault fault;
        unsigned variants;
    } kFaults[] = {
        {Fault::kDrop, 1},           {Fault::kDuplicate, 2},       {Fault::kSwap, 1},
        {Fault::kLengthen, kLonger}, {Fault::kTruncate, kShorter}, {Fault::kRetag, kFlippedTags + kOtherTags},
        {Fault::kLength, kLengths},  {Fault::kWrap, kWrappers},    {Fault::kReplace, kReplaced}};
    for (std::size_t i = 0; i < tree_.elements().size(); ++i) {
        for (const auto& [fault, variants] : kFaults) {
            for (unsigned variant = 0; variant < variants; ++variant) {
                if (fault != Fault::kSwap || tree_.elements()[i].nextTo != Element::kNone) {
                    ofElements_.push_back({i, fault, variant});
                }
            }
        }
    }
}

Mutant Mutants::mutant(std::uint64_t number) const {
    const std::uint64_t ofOctets = tree_.message().size() * kFaultsOfOctet;
    if (number < ofOctets) {
        return ofOctet(number / kFaultsOfOctet, static_cast<unsigned>(number % kFaultsOfOctet));
    }
    return ofElement(ofElements_.at(number - ofOctets));
}

Mutant Mutants::ofOctet(std::size_t offset, unsigned fault) const {
    Mutant mutant{tree_.message(), "", offset};
    const auto at = mutant.octets.begin() + static_cast<std::ptrdiff_t>(offset);
    if (fault < 8) {
        *at ^= static_cast<std::uint8_t>(1U << fault);
        mutant.kind = "bit flipped";
    } else if (fault == 8) {
        mutant.octets.erase(at);
        mutant.kind = "octet deleted";
    } else if (fault == 9) {
        mutant.octets.insert(at, *at);
        mutant.kind = "octet duplicated";
    } else if (fault == 10) {
        mutant.octets.insert(at, 0);
        mutant.kind = "octet inserted";
    } else if (fault < 16) {
        *at = kExtremes[fault - 11];
        mutant.kind = "octet set to an extreme";
    } else if (fault < 18) {
        *at = static_cast<std::uint8_t>(fault == 16 ? *at + 1 : *at - 1);
        mutant.kind = "octet one more or less";
    } else {
        return ofTwoOctets(offset, fault - 18);
    }
    return mutant;
}

Mutant Mutants::ofTwoOctets(std::size_t offset, unsigned fault) const {
    Mutant mutant{tree_.message(), "two octets changed", offset};
    const auto at = mutant.octets.begin() + static_cast<std::ptrdiff_t>(offset);
    if (offset + 1 == mutant.octets.size()) {
        return mutant;
    }
    if (fault == 0) {
        std::swap(at[0], at[1]);
    } else if (fault == 1) {
        mutant.octets.erase(at, at + 2);
    } else if (fault == 2) {
        const Bytes both(at, at + 2);
        mutant.octets.insert(at, both.begin(), both.end());
    } else {
        at[0] = at[1] = kExtremes[fault - 3];
    }
    return mutant;
}

Bytes Mutants::withContent(const Element& element, std::size_t index, const Bytes& content) const {
    return tree_.replaced(index, element.content, element.contentEnd, content);
}

Mutant Mutants::ofElement(const OfElement& choice) const {
    const Element& element = tree_.elements()[choice.element];
    const Bytes octets = tree_.octetsOf(element);
    const Bytes content = tree_.contentOf(element);
    const auto with = [&](const Bytes& replacement) {
        return tree_.replaced(element.parent, element.begin, element.end, replacement);
    };
    const auto middle = content.begin() + static_cast<std::ptrdiff_t>(content.size() / 2);
    const unsigned variant = choice.variant;
    Mutant mutant{{}, "", element.begin};
    switch (choice.fault) {
        case Fault::kDrop:
            return {with({}), "element dropped", element.begin};
        case Fault::kDuplicate:
            return {with(variant == 0 ? testkit::concat({octets, octets}) : testkit::concat({octets, octets, octets})),
                    "element duplicated", element.begin};
        case Fault::kSwap: {
            const Element& next = tree_.elements()[element.nextTo];
            return {tree_.replaced(element.parent, element.begin, next.end,
                                   testkit::concat({tree_.octetsOf(next), octets})),
                    "element swapped", element.begin};
        }
        case Fault::kLengthen:
            mutant.kind = "element lengthened";
            mutant.octets = withContent(element, choice.element,
                                        variant % 2 == 0 ? testkit::concat({content, longer(variant)})
                                                         : testkit::concat({longer(variant), content}));
            return mutant;
        case Fault::kTruncate:
            mutant.kind = "element truncated";
            mutant.octets = withContent(element, choice.element,
                                        content.empty() || variant == 3 ? Bytes()
                                        : variant == 0                  ? Bytes(content.begin(), content.end() - 1)
                                        : variant == 1                  ? Bytes(content.begin() + 1, content.end())
                                                                        : Bytes(content.begin(), middle));
            return mutant;
        case Fault::kRetag:
            mutant.kind = "element retagged";
            mutant.octets = tree_.message();
            mutant.octets[element.begin] = variant < kFlippedTags
                                               ? static_cast<std::uint8_t>(octets[0] ^ (0x20U << variant))
                                               : otherTag(variant - kFlippedTags);
            return mutant;
        case Fault::kLength: {
            const auto size = content.size();
            const auto header = [&](const Bytes& length) {
                return with(testkit::concat({Bytes{octets[0]}, length, content}));
            };
            const auto inOctets = [size](unsigned count, std::size_t change) {
                Bytes length{static_cast<std::uint8_t>(0x80 | count)};
                for (unsigned i = count; i > 0; --i) {
                    length.push_back(i > sizeof size ? 0 : static_cast<std::uint8_t>((size + change) >> (8 * (i - 1))));
                }
                return length;
            };
            mutant.kind = "length changed";
            mutant.octets = variant == 0   ? header(inOctets(4, 1))
                            : variant == 1 ? header(inOctets(4, ~std::size_t{0}))
                            : variant == 2 ? header(inOctets(2, 0))
                            : variant == 3 ? header(inOctets(4, 0))
                            : variant == 4 ? header(inOctets(8, 0))
                            : variant == 5 ? header(inOctets(20, 0))
                            : variant == 6 ? header({0x84, 0xFF, 0xFF, 0xFF, 0xFF})
                                           : with(testkit::concat({Bytes{octets[0], 0x80}, content, Bytes{0, 0}}));
            return mutant;
        }
        case Fault::kWrap:
            return {with(variant == 0   ? tlv::sequence({octets})
                         : variant == 1 ? tlv::context(0, octets)
                         : variant == 2 ? tlv::octetString(octets)
                                        : tlv::sequence({tlv::sequence({octets})})),
                    "element wrapped", element.begin};
        case Fault::kReplace:
            break;
    }
    return {with(variant == 0   ? tlv::null()
                 : variant == 1 ? tlv::sequence({Bytes()})
                 : variant == 2 ? tlv::octetString(Bytes(1000, 0x30))
                 : variant == 3 ? Bytes{0, 0}
                                : Bytes{0x3F, 0x85, 0x01, 0x01, 0x00}),
            "element replaced", element.begin};
}

}  // namespace proof
