// Fills a value of any type with random contents that its table allows. The codecs use the same table and must be able
// to encode, decode, copy and free the value. Half of the open values with a table constraint have a type of the set.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "schema/record.h"
#include "tests/schema/catalogue.h"

namespace schematest {

class RandomValue {
public:
    /// Memory comes from the type heap of `ctxt`.
    RandomValue(ASN1CTXT* ctxt, std::uint32_t seed) : ctxt_(ctxt), engine_(seed) {}

    /// `value` points to a zeroed record, or variable, of the type.
    void fill(const schema::TypeInfo& type, void* value);

private:
    void fillRecord(const schema::TypeInfo& type, void* record);
    void fillChoice(const schema::TypeInfo& type, void* record);
    void fillList(const schema::TypeInfo& type, void* record);
    void fillArray(const schema::TypeInfo& type, void* record);
    void fillMember(const schema::MemberInfo& member, void* record);
    void fillTable(const schema::TypeInfo& type, void* record);
    void fillObject(const ObjectRow& object, Asn1TObject& value, ASN1TOpenType& raw);
    const ObjectRow* chooseObject(const schema::ObjectSetAccess* set);
    void fillContents(const schema::MemberInfo& member, void* slot);
    void fillPrimitive(const schema::MemberInfo& member, void* slot);
    void fillString(const schema::MemberInfo& member, void* slot);
    std::uint8_t* octets(std::uint32_t size);
    std::uint8_t* bits(std::uint32_t size);
    const char* text(std::uint32_t size);
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
    std::uint32_t size(const schema::MemberInfo& member);
    std::uint32_t count(const schema::TypeInfo& type);

    /// Limits recursive and wide types: once true, optional members stay absent.
    [[nodiscard]] bool isLargeEnough() const;

    ASN1CTXT* ctxt_;
    std::mt19937 engine_;
    unsigned depth_ = 0;
    unsigned numValues_ = 0;
};

}  // namespace schematest
