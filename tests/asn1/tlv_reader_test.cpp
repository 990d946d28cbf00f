// The walk over elements of untrusted octets: where it ends, and that it never leaves them.
#include "asn1/codec/tlv_reader.h"

#include <gtest/gtest.h>

#include "tests/support/tlv.h"
#include "tests/support/vectors.h"

namespace {

using namespace testkit;
using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

TEST(TlvReader, ReturnsElementsUntilOneIsMalformed) {
    testkit::expectVectors("asn1/elements.txt", {{"sizes", [](const std::string& notation) {
                                                      const Bytes octets = testkit::octets(notation);
                                                      TlvReader reader(octets);
                                                      std::string sizes;
                                                      while (const std::optional<TlvElement> element = reader.next()) {
                                                          sizes += std::to_string(element->whole.size()) + " ";
                                                      }
                                                      EXPECT_TRUE(reader.rest().empty());
                                                      return sizes;
                                                  }}});
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
