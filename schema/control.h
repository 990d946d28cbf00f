// Templates of the control classes. Each type's class ASN1C_T is a short derivation from them.
//
// A control object binds a record to a context: its own, or that of a message buffer. EncodeTo and DecodeFrom work on
// the buffer they are given. Copies are deep; they belong to the context of the control object and live as long as it
// does.
#pragma once

#include <memory>
#include <new>
#include <type_traits>

#include "asn1rt/bit_string_control.h"
#include "asn1rt/control_type.h"
#include "asn1rt/message_buffer.h"
#include "asn1rt/seq_of_list.h"
#include "asn1rt/time_control.h"
#include "schema/value_codec.h"

namespace schema {

/// Control classes of records, arrays and plain values add no behaviour.
class RecordBase : public ASN1CType {
protected:
    template <class Value>
    explicit RecordBase(Value& /*value*/) {}
    template <class Value>
    RecordBase(ASN1MessageBufferIF& buffer, Value& /*value*/) : ASN1CType(buffer) {}
    template <class Value>
    RecordBase(ASN1Context& context, Value& /*value*/) : ASN1CType(context) {}
};

using ListBase = ASN1CSeqOfList;
using BitStringBase = ASN1CBitStr;
using GeneralizedTimeBase = ASN1CGeneralizedTime;
using UtcTimeBase = ASN1CUTCTime;

/// Binds the control object to the buffer and encodes. Returns the number of octets written or a negative status.
[[nodiscard]] int encodeTo(ASN1CType& control, ASN1MessageBufferIF& buffer, const TypeInfo& type, void* value);
/// Binds the control object to the buffer and decodes. Returns a status.
[[nodiscard]] int decodeFrom(ASN1CType& control, ASN1MessageBufferIF& buffer, const TypeInfo& type, void* value);
/// Returns a deep copy on the heap of the context, or null when out of memory.
void* copyToHeap(ASN1CType& control, const TypeInfo& type, const void* value);

/// Copies the record of a control object into `record`, which then keeps the context alive.
template <class Record>
void copyFromControl(Record& record, const TypeInfo& type, ASN1CType& control, const void* value) {
    record.setContext(control.getContext());
    copyValue(control.getCtxtPtr(), type, value, &record);
}

/// Control class over `Base`, whose constructors take the value, or a buffer or context and the value.
template <class Base, class Record, const TypeInfo& type>
class Control : public Base {
public:
    Record& msgData;

    /// Uses a new context.
    explicit Control(Record& value) : Base(value), msgData(value) {}
    /// Uses the context of the buffer, which must outlive this object.
    Control(ASN1MessageBufferIF& buffer, Record& value) : Base(buffer, value), msgData(value) {}
    /// Works on a deep copy of the record, in the same context. Throws std::bad_alloc when out of memory.
    Control(Control& original) : Control(original, original.getCopy(nullptr)) {}
    Control& operator=(const Control&) = delete;

    /// Copies into `target`, or into a new record on the heap when `target` is null. Returns null when out of memory.
    Record* getCopy(Record* target) {
        if (target == nullptr) {
            return static_cast<Record*>(copyToHeap(*this, type, &msgData));
        }
        copyValue(this->getCtxtPtr(), type, &msgData, target);
        return target;
    }

    /// Returns a deep copy that keeps the context alive. The caller deletes it.
    Record* newCopy() requires std::is_base_of_v<ASN1TPDU, Record> {
        auto copy = std::make_unique<Record>();
        copyFromControl(*copy, type, *this, &msgData);
        return copy.release();
    }

    [[nodiscard]] int EncodeTo(ASN1MessageBufferIF& buffer) override { return encodeTo(*this, buffer, type, &msgData); }
    [[nodiscard]] int DecodeFrom(ASN1MessageBufferIF& buffer) override {
        return decodeFrom(*this, buffer, type, &msgData);
    }

private:
    Control(Control& original, Record* copy)
        : Base(*original.getContext(), copy != nullptr ? *copy : throw std::bad_alloc()), msgData(*copy) {}
};

}  // namespace schema
