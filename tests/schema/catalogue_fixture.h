// For tests that name a type of the catalogue and have its octets.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"

namespace schematest {

class CatalogueTest : public CodecTest {
protected:
    /// Reads, copies, frees and writes the octets by the type of this name.
    void comesBack(const std::string& typeName, const Octets& der) {
        SCOPED_TRACE(typeName + " " + testkit::toHex(der).substr(0, 100));
        const auto& types = schematest::catalogue().types;
        const auto type =
            std::find_if(types.begin(), types.end(), [&](const TypeRow& row) { return row.name == typeName; });
        ASSERT_NE(type, types.end());
        ASSERT_FALSE(der.empty());
        std::vector<std::uint64_t> read(type->sizeRecord / sizeof(std::uint64_t) + 1);
        std::vector<std::uint64_t> copied(read.size());
        input_ = der;
        ASSERT_EQ(xd_setp(&ctxt_, input_.data(), static_cast<int>(input_.size()), nullptr, nullptr), 0);
        ASSERT_EQ(type->decode(&ctxt_, read.data(), TAG_EXPLICIT, 0), 0);
        EXPECT_EQ(ctxt_.buffer.byteIndex, der.size());
        type->copy(&ctxt_, read.data(), copied.data());
        type->free(&ctxt_, read.data());
        ASSERT_EQ(xe_setp(&ctxt_, nullptr, 0), 0);
        const int length = type->encode(&ctxt_, copied.data(), TAG_EXPLICIT);
        ASSERT_GT(length, 0);
        EXPECT_EQ(testkit::toHex(Octets(xe_getp(&ctxt_), xe_getp(&ctxt_) + length)), testkit::toHex(der));
    }
};

}  // namespace schematest
