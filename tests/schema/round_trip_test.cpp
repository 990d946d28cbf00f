// Encodes, decodes, copies and frees random values of every generated type, and the values of vectors.txt.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "asn1rt/memory_heap.h"
#include "tests/schema/catalogue.h"
#include "tests/schema/codec_fixture.h"

namespace {

using schema::at;
using schema::Kind;
using schema::MemberInfo;
using schema::TypeInfo;
using schematest::ObjectRow;
using schematest::TypeRow;

constexpr std::uint32_t kNumSeeds = 20;
constexpr unsigned kDeep = 12;
constexpr unsigned kManyValues = 150;
constexpr std::uint32_t kLongString = 300;  // needs more than one length octet
constexpr std::uint8_t kElement[] = {0x04, 0x02, 0x12, 0x34};
constexpr std::uint8_t kNull[] = {0x05, 0x00};

/// Fills a value of any type with random contents that its table allows. The codecs use the same table and must be able
/// to encode, decode, copy and free the value. Half of the open values with a table constraint have a type of the set.
class RandomValue {
public:
    /// Memory comes from the type heap of `ctxt`.
    RandomValue(ASN1CTXT* ctxt, std::uint32_t seed) : ctxt_(ctxt), engine_(seed) {}

    /// `value` points to a zeroed record, or variable, of the type.
    void fill(const TypeInfo& type, void* value) {
        ++depth_;
        switch (type.kind) {
            case Kind::Sequence:
            case Kind::Set:
                fillRecord(type, value);
                break;
            case Kind::Choice:
                fillChoice(type, value);
                break;
            case Kind::SequenceOf:
            case Kind::SetOf:
                fillList(type, value);
                break;
            case Kind::Array:
                fillArray(type, value);
                break;
            case Kind::Tagged:
                fill(*type.members->type, value);
                break;
            default:
                fillPrimitive(*type.members, value);
                break;
        }
        --depth_;
    }

private:
    /// Limits recursive and wide types: once true, optional members stay absent.
    [[nodiscard]] bool isLargeEnough() const { return depth_ > kDeep || numValues_ > kManyValues; }

    std::uint8_t* octets(std::uint32_t size) {
        auto* data = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctxt_->pTypeMemHeap, size + 1));
        for (std::uint32_t i = 0; i <= size; ++i) {
            data[i] = static_cast<std::uint8_t>(engine_());
        }
        return data;
    }

    /// Unused bits are zero, since they are encoded unchanged.
    std::uint8_t* bits(std::uint32_t size) {
        std::uint8_t* data = octets(size / 8);
        data[size / 8] &= static_cast<std::uint8_t>(0xFF00U >> size % 8);
        return data;
    }

    const char* text(std::uint32_t size) {
        std::uint8_t* data = octets(size);
        for (std::uint32_t i = 0; i < size; ++i) {
            data[i] = static_cast<std::uint8_t>('0' + data[i] % 10);
        }
        data[size] = 0;
        return reinterpret_cast<const char*>(data);
    }

    std::uint32_t size(const MemberInfo& member) {
        if ((member.flags & schema::kBounded) == 0) {
            return below(kLongString);
        }
        const std::uint32_t most = std::min(member.upper, member.lower + kLongString);
        return member.lower + below(most - member.lower + 1);
    }

    std::uint32_t count(const TypeInfo& type) {
        const std::uint32_t most = std::min(type.upper, type.lower + (isLargeEnough() ? 0 : 3));
        return type.lower + below(most - type.lower + 1);
    }

    void fillString(const MemberInfo& member, void* slot) {
        const std::uint32_t length = size(member);
        switch (member.kind) {
            case Kind::OctetString:
                *static_cast<ASN1TDynOctStr*>(slot) = {length, octets(length)};
                break;
            case Kind::FixedOctetString: {
                auto* value = static_cast<std::uint8_t*>(slot);
                std::memcpy(value, &length, sizeof length);
                std::memcpy(value + sizeof length, octets(length), length);
                break;
            }
            case Kind::BitString:
                *static_cast<ASN1TDynBitStr*>(slot) = {length, bits(length)};
                break;
            case Kind::BmpString:
                *static_cast<ASN1T16BitCharStr*>(slot) = {length, reinterpret_cast<std::uint16_t*>(octets(2 * length))};
                break;
            case Kind::UniversalString:
                *static_cast<ASN1T32BitCharStr*>(slot) = {length, reinterpret_cast<std::uint32_t*>(octets(4 * length))};
                break;
            default:
                *static_cast<const char**>(slot) = text(length);
                break;
        }
    }

    void fillPrimitive(const MemberInfo& member, void* slot) {
        ++numValues_;
        switch (member.kind) {
            case Kind::Boolean:
                *static_cast<std::uint8_t*>(slot) = below(2) != 0 ? 0xFF : 0;
                break;
            case Kind::Null:
                break;
            case Kind::Integer:  // bounds are signed; unsigned arithmetic wraps correctly
            case Kind::Unsigned:
            case Kind::Enumerated:
                *static_cast<std::uint32_t*>(slot) =
                    (member.flags & schema::kBounded) == 0 || member.upper - member.lower == schema::kUnbounded
                        ? static_cast<std::uint32_t>(engine_())
                        : member.lower + below(member.upper - member.lower + 1);
                break;
            case Kind::BigInteger: {
                static const char* const kNumbers[] = {"0x0", "0x7f", "0x080", "0xff",
                                                       "0x123456789abcdef0123456789abcdef0"};
                *static_cast<const char**>(slot) = kNumbers[below(5)];
                break;
            }
            case Kind::ObjectId: {
                auto& value = *static_cast<ASN1TObjId*>(slot);
                value.numids = 3 + below(5);
                value.subid[0] = 2;
                value.subid[1] = 999;  // not registered: open values stay raw
                for (std::uint32_t i = 2; i < value.numids; ++i) {
                    value.subid[i] = static_cast<std::uint32_t>(engine_());
                }
                break;
            }
            case Kind::OpenType:
            case Kind::TypedValue: {
                std::uint8_t* element = octets(sizeof kElement);
                std::memcpy(element, kElement, sizeof kElement);
                if (member.tag != 0 && (member.flags & schema::kOwnTag) == 0) {
                    // identified by the tag of the type that stays raw
                    element[0] = static_cast<std::uint8_t>(member.tag >> 24 | (member.tag & 0x1FU));
                }
                *static_cast<ASN1TOpenType*>(slot) = {sizeof kElement, element};
                break;
            }
            default:
                fillString(member, slot);
                break;
        }
    }

    void fillContents(const MemberInfo& member, void* slot) {
        if (member.type == nullptr) {
            fillPrimitive(member, slot);
        } else {
            fill(*member.type, slot);
        }
    }

    void fillMember(const MemberInfo& member, void* record) {
        void* slot = &at<std::uint8_t>(record, member.offset);
        if ((member.flags & schema::kPointer) != 0) {
            slot = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, schema::storageSize(member));
            at<void*>(record, member.offset) = slot;
        }
        fillContents(member, slot);
    }

    /// Returns an object of the set, or null for a value of unknown type.
    const ObjectRow* chooseObject(const schema::ObjectSetAccess* set) {
        for (const schematest::SetRow& row : schematest::catalogue().sets) {
            if (row.access == set && !row.objects.empty() && !isLargeEnough() && below(2) == 0) {
                return &row.objects[below(static_cast<std::uint32_t>(row.objects.size()))];
            }
        }
        return nullptr;
    }

    /// Sets a value of the object's type, or `raw` if the object has no value type.
    void fillObject(const ObjectRow& object, Asn1TObject& value, ASN1TOpenType& raw) {
        if (object.value != nullptr) {
            value.decoded = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, object.value->size);
            fill(*object.value, value.decoded);
        } else {
            raw = object.isNull ? ASN1TOpenType{sizeof kNull, kNull} : ASN1TOpenType{sizeof kElement, kElement};
        }
    }

    /// Sets the key of an object and a value of its type in a filled record.
    void fillTable(const TypeInfo& type, void* record) {
        const schema::TableInfo& table = *type.table;
        const ObjectRow* object = chooseObject(table.set);
        if (object == nullptr) {
            return;
        }
        at<ASN1TObjId>(record, table.keyOffset) = object->key;
        if (table.isList) {
            const auto& list = at<ASN1TSeqOfList>(record, table.rawOffset);
            for (auto* node = list.pHead; node != nullptr; node = node->pNext) {
                auto& value = *static_cast<Asn1TObject*>(node->data);
                fillObject(*object, value, value.encoded);
            }
            return;
        }
        fillObject(*object, at<Asn1TObject>(record, table.objectOffset), at<ASN1TOpenType>(record, table.rawOffset));
    }

    void fillRecord(const TypeInfo& type, void* record) {
        std::uint32_t present = 0;
        for (unsigned i = 0; i < type.numMembers; ++i) {
            const MemberInfo& member = type.members[i];
            const bool isOptional = (member.flags & schema::kOptional) != 0;
            if (isOptional && (isLargeEnough() || below(2) == 0)) {
                continue;
            }
            present |= isOptional ? 1U << member.bit : 0;
            fillMember(member, record);
        }
        if (type.presenceOffset != 0) {
            at<std::uint32_t>(record, type.presenceOffset) = present;
        }
        if (type.table != nullptr) {
            fillTable(type, record);
        }
    }

    void fillChoice(const TypeInfo& type, void* record) {
        const std::uint32_t t = 1 + below(type.numMembers);
        schema::alternativeOf(record) = t;
        fillMember(type.members[t - 1], record);
    }

    void fillList(const TypeInfo& type, void* record) {
        auto& list = at<ASN1TSeqOfList>(record, type.listOffset);
        rtDListInit(&list);
        for (std::uint32_t i = count(type); i-- > 0;) {
            void* element = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, schema::storageSize(*type.members));
            fillContents(*type.members, element);
            rtDListAppend(ctxt_, &list, element);
        }
    }

    void fillArray(const TypeInfo& type, void* record) {
        auto& array = at<schema::ArrayRecord>(record, type.listOffset);
        const std::size_t size = schema::storageSize(*type.members);
        array.n = count(type);
        array.elem = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, array.n * size);
        for (std::uint32_t i = 0; i < array.n; ++i) {
            fillContents(*type.members, static_cast<std::uint8_t*>(array.elem) + i * size);
        }
    }

    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }

    ASN1CTXT* ctxt_;
    std::mt19937 engine_;
    unsigned depth_ = 0;
    unsigned numValues_ = 0;
};

using ValueCodec = schematest::CodecTest;

TEST_F(ValueCodec, RandomValuesRoundTrip) {
    for (const TypeRow& type : schematest::catalogue().types) {
        EXPECT_EQ(type.info->size, type.sizeRecord) << type.name;
        for (std::uint32_t seed = 1; seed <= kNumSeeds; ++seed) {
            SCOPED_TRACE(std::string(type.name) + ", seed " + std::to_string(seed));
            std::vector<std::uint64_t> value(type.sizeRecord / sizeof(std::uint64_t) + 1);
            RandomValue(&writer_, seed).fill(*type.info, value.data());
            const schematest::Octets octets = write(type, value.data());
            ASSERT_EQ(again(type, octets), "same");
            ASSERT_TRUE(isHeapEmpty());
            EXPECT_EQ(ctxt_.buffer.byteIndex, octets.size());
            renew(writer_);
        }
    }
}

TEST_F(ValueCodec, GivesTheResultsOfTheVectors) {
    runVectors("vectors.txt", schematest::catalogue().types);
}

}  // namespace
