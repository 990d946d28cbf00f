#include "tests/schema/random_value.h"

#include <algorithm>
#include <cstring>

#include "asn1rt/memory_heap.h"
#include "schema/codec_steps.h"

namespace schematest {

using schema::at;
using schema::Kind;
using schema::MemberInfo;
using schema::TypeInfo;

namespace {

constexpr unsigned kDeep = 12;
constexpr unsigned kManyValues = 150;
constexpr std::uint32_t kLongString = 300;  // needs more than one length octet
constexpr std::uint8_t kElement[] = {0x04, 0x02, 0x12, 0x34};
constexpr std::uint8_t kNull[] = {0x05, 0x00};

}  // namespace

bool RandomValue::isLargeEnough() const {
    return depth_ > kDeep || numValues_ > kManyValues;
}

std::uint8_t* RandomValue::octets(std::uint32_t size) {
    auto* data = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctxt_->pTypeMemHeap, size + 1));
    for (std::uint32_t i = 0; i <= size; ++i) {
        data[i] = static_cast<std::uint8_t>(engine_());
    }
    return data;
}

/// Unused bits are zero, since they are encoded unchanged.
std::uint8_t* RandomValue::bits(std::uint32_t size) {
    std::uint8_t* data = octets(size / 8);
    data[size / 8] &= static_cast<std::uint8_t>(0xFF00U >> size % 8);
    return data;
}

const char* RandomValue::text(std::uint32_t size) {
    std::uint8_t* data = octets(size);
    for (std::uint32_t i = 0; i < size; ++i) {
        data[i] = static_cast<std::uint8_t>('0' + data[i] % 10);
    }
    data[size] = 0;
    return reinterpret_cast<const char*>(data);
}

std::uint32_t RandomValue::size(const MemberInfo& member) {
    if ((member.flags & schema::kBounded) == 0) {
        return below(kLongString);
    }
    const std::uint32_t most = std::min(member.upper, member.lower + kLongString);
    return member.lower + below(most - member.lower + 1);
}

std::uint32_t RandomValue::count(const TypeInfo& type) {
    const std::uint32_t most = std::min(type.upper, type.lower + (isLargeEnough() ? 0 : 3));
    return type.lower + below(most - type.lower + 1);
}

void RandomValue::fillString(const MemberInfo& member, void* slot) {
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

void RandomValue::fillPrimitive(const MemberInfo& member, void* slot) {
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

void RandomValue::fillContents(const MemberInfo& member, void* slot) {
    if (member.type == nullptr) {
        fillPrimitive(member, slot);
    } else {
        fill(*member.type, slot);
    }
}

void RandomValue::fillMember(const MemberInfo& member, void* record) {
    void* slot = &at<std::uint8_t>(record, member.offset);
    if ((member.flags & schema::kPointer) != 0) {
        slot = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, schema::storageSize(member));
        at<void*>(record, member.offset) = slot;
    }
    fillContents(member, slot);
}

/// Returns an object of the set, or null for a value of unknown type.
const ObjectRow* RandomValue::chooseObject(const schema::ObjectSetAccess* set) {
    for (const SetRow& row : catalogue().sets) {
        if (row.access == set && !row.objects.empty() && !isLargeEnough() && below(2) == 0) {
            return &row.objects[below(static_cast<std::uint32_t>(row.objects.size()))];
        }
    }
    return nullptr;
}

/// Sets a value of the object's type, or `raw` if the object has no value type.
void RandomValue::fillObject(const ObjectRow& object, Asn1TObject& value, ASN1TOpenType& raw) {
    if (object.value != nullptr) {
        value.decoded = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, object.value->size);
        fill(*object.value, value.decoded);
    } else {
        raw = object.isNull ? ASN1TOpenType{sizeof kNull, kNull} : ASN1TOpenType{sizeof kElement, kElement};
    }
}

/// Sets the key of an object and a value of its type in a filled record.
void RandomValue::fillTable(const TypeInfo& type, void* record) {
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

void RandomValue::fillRecord(const TypeInfo& type, void* record) {
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

void RandomValue::fillChoice(const TypeInfo& type, void* record) {
    const std::uint32_t t = 1 + below(type.numMembers);
    schema::alternativeOf(record) = t;
    fillMember(type.members[t - 1], record);
}

void RandomValue::fillList(const TypeInfo& type, void* record) {
    auto& list = at<ASN1TSeqOfList>(record, type.listOffset);
    rtDListInit(&list);
    for (std::uint32_t i = count(type); i-- > 0;) {
        void* element = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, schema::storageSize(*type.members));
        fillContents(*type.members, element);
        rtDListAppend(ctxt_, &list, element);
    }
}

void RandomValue::fillArray(const TypeInfo& type, void* record) {
    auto& array = at<schema::ArrayRecord>(record, type.listOffset);
    const std::size_t size = schema::storageSize(*type.members);
    array.n = count(type);
    array.elem = rtMemHeapAllocZ(&ctxt_->pTypeMemHeap, array.n * size);
    for (std::uint32_t i = 0; i < array.n; ++i) {
        fillContents(*type.members, static_cast<std::uint8_t*>(array.elem) + i * size);
    }
}

void RandomValue::fill(const TypeInfo& type, void* value) {
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

}  // namespace schematest
