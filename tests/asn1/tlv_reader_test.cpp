// The walk over elements of untrusted octets: where it ends, and that it never leaves them.
#include "asn1/codec/tlv_reader.h"

#include <gtest/gtest.h>

#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

TEST(TlvReader, ReturnsElementsUntilOneIsMalformed) {
    struct Row {
        const char* name;
        Bytes octets;
        std::vector<std::size_t> sizes;  // of the elements that are returned
    };
    const Bytes null = tlv::null();
    for (const Row& row : {
             Row{"nothing", {}, {}},
             Row{"two", concat({null, tlv::integer(7)}), {2, 3}},
             Row{"long length", tlv::rawLongLength(0x30, null, 4), {8}},
             Row{"tag number 31", {0x5F, 0x1F, 0x01, 0x00}, {4}},
             Row{"padded tag number", {0x5F, 0x80, 0x1F, 0x01, 0x00}, {}},
             Row{"low tag number in the long form", {0x1F, 0x04, 0x01, 0x00}, {}},
             Row{"identifier only", concat({null, {0x30}}), {2}},
             Row{"more contents than octets", {0x04, 0x02, 0x00}, {}},
             Row{"length octets cut", {0x04, 0x82, 0x01}, {}},
             Row{"length of 4 GiB", {0x04, 0x84, 0xFF, 0xFF, 0xFF, 0xFF, 0x00}, {}},
             Row{"indefinite", {0x30, 0x80, 0x05, 0x00, 0x00, 0x00}, {}},
         }) {
        SCOPED_TRACE(row.name);
        TlvReader reader(row.octets);
        std::vector<std::size_t> sizes;
        while (const std::optional<TlvElement> element = reader.next()) {
            sizes.push_back(element->whole.size());
        }
        EXPECT_EQ(sizes, row.sizes);
        EXPECT_TRUE(reader.rest().empty());
    }
}

TEST(TlvReader, LooksForATagWithoutTheConstructedBit) {
    const Bytes octets = concat({tlv::context(1, tlv::null()), tlv::integer(7)});
    TlvReader reader(octets);
    EXPECT_FALSE(reader.nextIf(TlvElement::context(0)));
    EXPECT_EQ(reader.rest().size(), octets.size());
    const std::optional<TlvElement> tagged = reader.nextIf(TlvElement::context(1));
    ASSERT_TRUE(tagged);
    EXPECT_TRUE(tagged->isConstructed);
    EXPECT_EQ(tagged->content.size(), 2U);
    EXPECT_TRUE(reader.nextIf(TlvElement::kInteger));
}

}  // namespace
