// The frame that encodes and decodes all value classes. A traits class for each schema type T moves data between a
// value and its record:
//
//   using ASN1_T = the record, and ASN1_C = the control class that encodes and decodes it;
//   static void set(ASN1CTXT* ctxt, ASN1_T& record, const Value& value);   memory from `ctxt`
//   static void get(const ASN1_T& record, Value& value);                   the value owns its data afterwards
//   static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);      memory from `ctxt`
//
// RecordTraits provides all but `set` and `get`, which have one line for each member:
//
//   record.m.reasonsPresent = setIf<ReasonFlagsTraits>(ctxt, record.reasons, value.get_reasons());
//   value.put_reasons(valueIf<ReasonFlagsTraits, CReasonFlags>(record.m.reasonsPresent, record.reasons).get());
//
// A value class encodes and decodes itself with asn1Encode<Traits>(*this) and asn1Decode<Traits>(data, *this). Every
// encoding or decoding failure is reported as kAsn1Error; exhausted memory, and messages over the memory limit, as
// kAsn1Memory.
#pragma once

#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "asn1/codec/context_memory.h"
#include "asn1rt/context.h"
#include "asn1rt/message_buffer.h"
#include "foundation/blob.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

/// The part of a traits class that follows from the schema type: its control class and its copy function.
template <class Control, auto copyRecord>
struct RecordTraits;

template <class Control, class Record, void (*copyRecord)(ASN1CTXT*, const Record*, Record*)>
struct RecordTraits<Control, copyRecord> {
    using ASN1_T = Record;
    using ASN1_C = Control;

    static void copy(ASN1CTXT* ctxt, const Record& from, Record& to) { copyRecord(ctxt, &from, &to); }
};

/// Sets an optional member unless `value` is null. Returns whether the member is present.
template <class Traits, class Record, class Value>
bool setIf(ASN1CTXT* ctxt, Record& member, const Value* value) {
    if (value != nullptr) {
        Traits::set(ctxt, member, *value);
    }
    return value != nullptr;
}

/// The value of a member. `value` is what it starts from, for types without a default constructor.
template <class Traits, class Value, class Record>
Value valueOf(const Record& member, Value value = Value()) {
    Traits::get(member, value);
    return value;
}

/// The value of an optional member; null when absent.
template <class Traits, class Value, class Record>
std::unique_ptr<Value> valueIf(bool present, const Record& member, Value value = Value()) {
    return present ? std::make_unique<Value>(valueOf<Traits>(member, std::move(value))) : nullptr;
}

/// Throws the status that callers see for a negative status of the runtime.
[[noreturn]] inline void throwFailure(int result) {
    ATL::AtlThrowImpl(result == STATUS_NO_MEMORY ? status::kAsn1Memory : status::kAsn1Error);
}

/// Runs a part of the frame and converts the failures below it: exhausted memory appears there as a status, as the
/// runtime's own exception or as std::bad_alloc.
template <class Work>
decltype(auto) withinFrame(Work&& work) {
    try {
        return work();
    } catch (const ASN1RTLException& exception) {
        throwFailure(exception.getStatus());
    } catch (const std::bad_alloc&) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
}

/// Encodes a filled record into `buffer`, and copies the message out.
template <class Traits>
CBlob encodeRecord(ASN1BEREncodeBuffer& buffer, typename Traits::ASN1_T& record) {
    return withinFrame([&] {
        typename Traits::ASN1_C control(buffer, record);
        const int length = control.EncodeTo(buffer);
        // A copy that ran out of memory is incomplete, and only the heap records it.
        if (buffer.getCtxtPtr()->pTypeMemHeap->numRefused != 0) {
            throwFailure(STATUS_NO_MEMORY);
        }
        if (length < 0) {
            throwFailure(length);
        }
        return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
    });
}

/// Decodes the input of `buffer` into a record whose memory belongs to the buffer's context. Bytes after the first
/// element are ignored.
template <class Traits>
void decodeRecord(ASN1BERDecodeBuffer& buffer, typename Traits::ASN1_T& record) {
    const int result = withinFrame([&] {
        typename Traits::ASN1_C control(buffer, record);
        return control.DecodeFrom(buffer);
    });
    if (result < 0) {
        throwFailure(result);
    }
}

/// The size of `data` as the runtime counts it. An empty blob has no element to decode, and one beyond 31 bits none
/// that the runtime can measure.
inline int messageSize(const CBlob& data) {
    if (data.cbData() == 0 || data.cbData() > std::numeric_limits<std::int32_t>::max()) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    return static_cast<int>(data.cbData());
}

/// Encodes a record that is already filled, and leaves it unchanged.
template <class Traits>
CBlob asn1EncodeT(const typename Traits::ASN1_T& record) {
    // The encoder makes the raw octets of decoded open values point into its own buffer, which is freed with the
    // context here: only a copy may be given to it.
    return withinFrame([&] {
        ASN1BEREncodeBuffer buffer;
        typename Traits::ASN1_T copy{};
        Traits::copy(buffer.getCtxtPtr(), record, copy);
        return encodeRecord<Traits>(buffer, copy);
    });
}

/// Restores the heap's limit; decoding would leave its own limit set.
class KeptMemoryLimit {
public:
    explicit KeptMemoryLimit(ASN1CTXT* ctxt) : heap_(*ctxt->pTypeMemHeap), limit_(heap_.limit) {}
    KeptMemoryLimit(const KeptMemoryLimit&) = delete;
    KeptMemoryLimit& operator=(const KeptMemoryLimit&) = delete;
    ~KeptMemoryLimit() { heap_.limit = limit_; }

private:
    ASN1MEMHEAP& heap_;
    std::uint64_t limit_;
};

/// Decodes into a record whose memory belongs to `ctxt`, which is live.
template <class Traits>
void asn1DecodeT(const CBlob& data, ASN1CTXT* ctxt, typename Traits::ASN1_T& record) {
    withinFrame([&] {
        const KeptMemoryLimit limit(ctxt);
        ASN1BERDecodeBuffer buffer(data.pbData(), messageSize(data));
        rtCtxtSetMemHeap(buffer.getCtxtPtr(), ctxt);
        decodeRecord<Traits>(buffer, record);
    });
}

/// The DER of a value. Throws what Traits::set throws, and kAsn1Error when the record cannot be encoded.
template <class Traits, class V>
CBlob asn1Encode(const V& value) {
    // One context serves the message and the memory of the record: both go together at the end.
    return withinFrame([&] {
        ASN1BEREncodeBuffer buffer;
        typename Traits::ASN1_T record{};
        Traits::set(buffer.getCtxtPtr(), record, value);
        return encodeRecord<Traits>(buffer, record);
    });
}

/// What the members of a decoded value are read into: a copy of the old value, since a record may leave some of them
/// as they were. Lists are replaced as a whole, so they start empty: copying a long one would cost more than decoding.
template <class V>
V startOf(const V& value) {
    if constexpr (requires(V list) {
                      V();
                      list.clear();
                      list.emplace_back();
                  }) {
        return V();
    } else {
        return value;
    }
}

/// Replaces `value` with the decoded `data`, which may belong to `value`. Every failure leaves `value` unchanged: the
/// members are read into a copy, which takes its place at the end.
template <class Traits, class V>
void asn1Decode(const CBlob& data, V& value) {
    withinFrame([&] {
        ASN1BERDecodeBuffer buffer(data.pbData(), messageSize(data));
        // The record may point into `data`: it does not outlive it, and values copy what they keep.
        rtCtxtSetFlag(buffer.getCtxtPtr(), CTX_FLAG_ZERO_COPY);
        typename Traits::ASN1_T record{};
        decodeRecord<Traits>(buffer, record);
        V decoded = startOf(value);
        Traits::get(record, decoded);
        value = std::move(decoded);
    });
}

/// Decodes the open value of a record by the table constraint of its type, with the schema's function `decodeOpenType`,
/// so that a value that does not fit its identifier cannot be encoded. Memory comes from `ctxt`, whose buffer may be in
/// use: it is restored.
template <auto decodeOpenType, class Record>
void resolveOpenType(ASN1CTXT* ctxt, Record& record) {
    ASN1CTXT saved{};
    rtCopyContext(&saved, ctxt);
    const int result = withinFrame([&] { return decodeOpenType(ctxt, &record); });
    rtCopyContext(ctxt, &saved);
    if (result != 0) {
        throwFailure(result);
    }
}

}  // namespace Orvane::ASN1
