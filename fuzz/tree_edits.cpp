#include "fuzz/tree_edits.h"

#include <openssl/asn1.h>
#include <openssl/err.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace fuzz {

namespace {

constexpr std::size_t kMostOctets = 16384;
constexpr int kMostLevels = 40;
constexpr std::uint8_t kConstructed = 0x20;
constexpr std::uint8_t kOctetString = 0x04;
constexpr std::uint8_t kObjectIdentifier = 0x06;

struct Element {
    std::uint8_t identifier = 0;
    Bytes content;  // empty when there are elements in it
    std::vector<Element> children;
};
using Elements = std::vector<Element>;

std::optional<Elements> elementsIn(std::span<const std::uint8_t> octets, int level);

// Takes one element from the front.
std::optional<Element> takeElement(std::span<const std::uint8_t>& octets, int level) {
    if (octets.size() < 2 || (octets[0] & 0x1F) == 0x1F) {
        return std::nullopt;
    }
    std::size_t size = octets[1];
    std::size_t header = 2;
    if (size >= 0x80) {
        const std::size_t numOctets = size & 0x7F;
        if (numOctets == 0 || numOctets > 3 || octets.size() < 2 + numOctets) {
            return std::nullopt;
        }
        size = 0;
        for (; header < 2 + numOctets; ++header) {
            size = size << 8 | octets[header];
        }
    }
    if (size > octets.size() - header) {
        return std::nullopt;
    }
    Element element;
    element.identifier = octets[0];
    const std::span<const std::uint8_t> content = octets.subspan(header, size);
    std::optional<Elements> children;
    if (size != 0 && ((element.identifier & kConstructed) != 0 || element.identifier == kOctetString)) {
        children = elementsIn(content, level + 1);
    }
    if (children) {
        element.children = std::move(*children);
    } else {
        element.content.assign(content.begin(), content.end());
    }
    octets = octets.subspan(header + size);
    return element;
}

std::optional<Elements> elementsIn(std::span<const std::uint8_t> octets, int level) {
    Elements elements;
    while (!octets.empty()) {
        std::optional<Element> element = level > kMostLevels ? std::nullopt : takeElement(octets, level);
        if (!element) {
            return std::nullopt;
        }
        elements.push_back(std::move(*element));
    }
    return elements;
}

Bytes encodingOf(const Element& element) {
    Bytes content = element.content;
    for (const Element& child : element.children) {
        const Bytes octets = encodingOf(child);
        content.insert(content.end(), octets.begin(), octets.end());
    }
    return testkit::tlv::raw(element.identifier, content);
}

struct Place {
    Elements* siblings;
    std::size_t index;
    Element& element() const { return (*siblings)[index]; }
};

void listPlaces(Elements& siblings, std::vector<Place>& places) {
    for (std::size_t i = 0; i < siblings.size(); ++i) {
        places.push_back({&siblings, i});
        listPlaces(siblings[i].children, places);
    }
}

// Contents that matter to some type: times, numbers, flags, and sizes at which a length needs another octet.
Bytes contentFor(std::uint8_t value) {
    static const std::vector<Bytes> contents{
        {},
        {0x00},
        {0xFF},
        {0x01, 0x01},
        {0x80},
        {0x00, 0xFF},
        Bytes(20, 0x7F),
        Bytes(127, 0x01),
        Bytes(128, 0x01),
        Bytes(256, 0x01),
        testkit::bytesOf("20200101000000Z"),
        testkit::bytesOf("20991231235959Z"),
        testkit::bytesOf("99991231235959Z"),
        testkit::bytesOf("700101000000Z"),
        testkit::bytesOf("491231235959Z"),
        testkit::bytesOf("http://127.0.0.1:9/"),
        testkit::fromHex("2B06010505070309"),    // OCSPSigning
        testkit::fromHex("2B0601050507300105"),  // no-check
        testkit::fromHex("2B0601050507300102"),  // nonce
        testkit::fromHex("551D13"),              // basicConstraints
        testkit::fromHex("551D1C"),              // issuingDistributionPoint
        testkit::fromHex("551D1B"),              // deltaCRLIndicator
        testkit::fromHex("551D1E"),              // nameConstraints
        testkit::fromHex("551D1F"),              // cRLDistributionPoints
        testkit::fromHex("551D15"),              // reasonCode
        testkit::fromHex("2B0E03021A"),          // SHA-1
        testkit::fromHex("608648016503040201"),  // SHA-256
        // Extensions with an unknown one that is critical.
        testkit::fromHex("300F300D06042A0304050101FF04020500"),
    };
    return contents[value % contents.size()];
}

void insert(const Place& place, std::size_t after, Element element) {
    place.siblings->insert(place.siblings->begin() + static_cast<std::ptrdiff_t>(place.index + after),
                           std::move(element));
}

void applyEdit(const Edit& edit, const std::vector<Place>& places) {
    const Place& place = places[edit.element % places.size()];
    Element& element = place.element();
    Bytes& content = element.content;
    const auto at =
        content.begin() + (content.empty() ? 0 : static_cast<std::ptrdiff_t>(edit.argument % content.size()));
    switch ((edit.operation & 15U) % 11) {  // the upper half says what is edited
        case 0:
            if (!content.empty()) {
                *at = edit.value;
            }
            break;
        case 1:
            content.insert(at, edit.value);
            break;
        case 2:
            if (!content.empty()) {
                content.erase(at);
            }
            break;
        case 3:
            element.identifier = edit.value;
            break;
        case 4:
            place.siblings->erase(place.siblings->begin() + static_cast<std::ptrdiff_t>(place.index));
            break;
        case 5:
            insert(place, 1, Element(element));
            break;
        case 6:
            std::swap(element, (*place.siblings)[(place.index + 1) % place.siblings->size()]);
            break;
        case 7:
            insert(place, 1, Element(places[(std::size_t{edit.argument} << 8 | edit.value) % places.size()].element()));
            break;
        case 8:
            element.children.clear();
            content = contentFor(edit.value);
            break;
        case 9: {
            Element around;
            around.identifier = edit.value;
            around.children.push_back(std::move(element));
            element = std::move(around);
            break;
        }
        default:
            insert(place, 1, Element{edit.argument, contentFor(edit.value), {}});
            break;
    }
}

bool isLooseInteger(const Bytes& content) {
    const bool isPadded =
        content.size() > 1 && ((content[0] == 0x00 && content[1] < 0x80) || (content[0] == 0xFF && content[1] >= 0x80));
    return content.empty() || isPadded;
}

bool isLooseObjectIdentifier(const Bytes& content) {
    bool isFirstOfArc = true;
    bool isLoose = content.empty() || content.back() >= 0x80;
    for (const std::uint8_t octet : content) {
        isLoose = isLoose || (isFirstOfArc && octet == 0x80);
        isFirstOfArc = octet < 0x80;
    }
    return isLoose;
}

// SEQUENCE, SET and a tag around another element are always constructed (X.690, 8.9, 8.11 and 8.14).
bool hasWrongForm(const Element& element) {
    constexpr std::uint8_t kPrimitiveSequence = 0x10;
    constexpr std::uint8_t kPrimitiveSet = 0x11;
    constexpr std::uint8_t kClassAndForm = 0xE0;
    constexpr std::uint8_t kPrimitiveContext = 0x80;
    const bool isPrimitiveTag = (element.identifier & kClassAndForm) == kPrimitiveContext && !element.content.empty() &&
                                elementsIn(element.content, 0).has_value();
    return isPrimitiveTag || element.identifier == kPrimitiveSequence || element.identifier == kPrimitiveSet;
}

// The parameters of an algorithm, such as an empty BOOLEAN, which OpenSSL reads although they can be of any type.
bool hasUnreadableParameters(const Element& element) {
    if (element.children.size() != 2 || element.children[0].identifier != kObjectIdentifier) {
        return false;
    }
    const Bytes parameters = encodingOf(element.children[1]);
    const unsigned char* at = parameters.data();
    const std::unique_ptr<ASN1_TYPE, testkit::FreeWith<ASN1_TYPE_free>> read(
        d2i_ASN1_TYPE(nullptr, &at, static_cast<long>(parameters.size())));
    ERR_clear_error();
    return !read;
}

bool isLoose(const Element& element) {
    constexpr std::uint8_t kInteger = 0x02;
    return hasWrongForm(element) || hasUnreadableParameters(element) ||
           (element.identifier == kInteger && isLooseInteger(element.content)) ||
           (element.identifier == kObjectIdentifier && isLooseObjectIdentifier(element.content)) ||
           std::any_of(element.children.begin(), element.children.end(), isLoose);
}

bool isLooseTag(const Element& element) {
    constexpr std::uint8_t kConstructedContext = 0xA0;
    constexpr std::uint8_t kContextMask = 0xE0;
    constexpr std::uint8_t kGeneralizedTime = 0x18;
    const Elements& children = element.children;
    const bool isRevokedInfo = !children.empty() && children[0].identifier == kGeneralizedTime &&
                               element.identifier == (kConstructedContext | 1);
    return ((element.identifier & kContextMask) == kConstructedContext && children.size() != 1 && !isRevokedInfo) ||
           std::any_of(children.begin(), children.end(), isLooseTag);
}

}  // namespace

std::vector<Edit> editsIn(std::span<const std::uint8_t> input, std::size_t most) {
    std::vector<Edit> edits;
    for (; input.size() >= kEditSize && edits.size() < most; input = input.subspan(kEditSize)) {
        edits.push_back({input[0], std::size_t{input[1]} << 8 | input[2], input[3], input[4]});
    }
    return edits;
}

Bytes edited(const Bytes& der, std::span<const Edit> edits) {
    std::span<const std::uint8_t> octets(der);
    const std::optional<Element> whole = takeElement(octets, 0);
    if (!whole || !octets.empty()) {
        return der;
    }
    Elements tree{*whole};
    Bytes result = der;
    for (const Edit& edit : edits) {
        std::vector<Place> places;
        listPlaces(tree[0].children, places);
        if (places.empty() || result.size() > kMostOctets) {
            break;
        }
        applyEdit(edit, places);
        result = encodingOf(tree[0]);
    }
    return result;
}

bool hasLooseValue(const Bytes& der) {
    std::span<const std::uint8_t> octets(der);
    const std::optional<Element> whole = takeElement(octets, 0);
    return whole && isLoose(*whole);
}

bool hasLooseTag(const Bytes& der) {
    std::span<const std::uint8_t> octets(der);
    const std::optional<Element> whole = takeElement(octets, 0);
    return whole && isLooseTag(*whole);
}

Bytes firstElementOf(const Bytes& der) {
    std::span<const std::uint8_t> octets(der);
    const std::optional<Element> whole = takeElement(octets, 0);
    return whole && !whole->children.empty() ? encodingOf(whole->children.front()) : Bytes();
}

}  // namespace fuzz
