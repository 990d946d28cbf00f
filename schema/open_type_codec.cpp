// Open types with a table constraint: the record holds the raw octets and, when the key is known, the decoded value.
// Encoding and decoding the value rebinds the context to the raw octets temporarily.
#include <cstring>
#include <new>

#include "asn1rt/copy_values.h"
#include "asn1rt/decode_core.h"
#include "asn1rt/encode.h"
#include "schema/codec_steps.h"
#include "schema/value_codec.h"

namespace schema {

namespace {

const ASN1OBJID& keyOf(const TypeInfo& type, const void* record) {
    return at<ASN1TObjId>(record, type.table->keyOffset);
}

void* lookup(const TypeInfo& type, const void* record) {
    return type.table->set->lookup(keyOf(type, record));
}

/// Calls `visit` for each open value of a list until it returns a failure.
template <class Visit>
int forEachValue(ASN1TSeqOfList& list, Visit visit) {
    for (_Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
        const int status = visit(*static_cast<Asn1TObject*>(node->data));
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

/// The buffer size for encoding a value that was decoded from `numocts` octets, including the unused octet of the
/// buffer; 0 (the default size) for a value that was not decoded. The encoding can be longer than the input, since some
/// encoders omit octets: an empty BIT STRING gains its count of unused bits.
int roomToEncode(std::uint32_t numocts) {
    constexpr std::uint32_t kLargest = 1 << 20;
    constexpr std::uint32_t kSlack = 16;
    return numocts == 0 || numocts > kLargest ? 0 : static_cast<int>(numocts + numocts / 2 + kSlack);
}

/// Encodes the decoded value into a new buffer, and makes `raw` point into it. The buffer lives as long as the context.
/// It is sized to fit, since a message may contain a hundred thousand small values.
int encodeValueAside(ASN1CTXT* ctxt, const TypeInfo& type, void* object, Asn1TObject& value, ASN1TOpenType& raw) {
    int length = xe_setp(ctxt, nullptr, roomToEncode(value.encoded.numocts));
    if (length == 0) {
        length = type.table->set->encode(object, ctxt, value);
    }
    if (length < 0) {
        return length;
    }
    raw = {static_cast<std::uint32_t>(length), xe_getp(ctxt)};
    return 0;
}

/// The same for an element of a list. Its raw octets get their own block, so that they can be freed later.
int encodeListedValue(ASN1CTXT* ctxt, const TypeInfo& type, void* object, Asn1TObject& value) {
    ASN1TOpenType raw = {};
    const int status = encodeValueAside(ctxt, type, object, value, raw);
    if (status != 0) {
        return status;
    }
    auto* block = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctxt->pTypeMemHeap, raw.numocts));
    if (block == nullptr) {
        return STATUS_NO_MEMORY;
    }
    std::memcpy(block, raw.data, raw.numocts);
    value.encoded = {raw.numocts, block};
    return 0;
}

/// Whether these octets are a primitive string of a universal type.
bool isString(const ASN1TOpenType& raw) {
    constexpr std::uint32_t kStrings = 1U << kTagUtf8String | 1U << kTagNumericString | 1U << kTagPrintableString |
                                       1U << kTagTeletexString | 1U << kTagIa5String | 1U << kTagVisibleString |
                                       1U << kTagUniversalString | 1U << kTagBmpString;
    return raw.numocts != 0 && raw.data[0] < 32 && (kStrings >> raw.data[0] & 1U) != 0;
}

/// Whether a value that does not match its type stays raw instead of failing the message.
bool staysRaw(const TableInfo& table, const ASN1TOpenType& raw, int status) {
    return table.anyString && (status == STATUS_TAG_MISMATCH || status == STATUS_BAD_CHOICE) && isString(raw);
}

int decodeValueAside(ASN1CTXT* ctxt, const TypeInfo& type, void* object, Asn1TObject& value) {
    value.decoded = nullptr;
    value.object = object;
    if (object == nullptr || value.encoded.numocts == 0) {
        return 0;
    }
    int status = decoding::bind(ctxt, value.encoded.data, static_cast<int>(value.encoded.numocts), nullptr, nullptr);
    if (status != 0) {
        return status;
    }
    status = type.table->set->decode(object, ctxt, value);
    if (status != 0 && staysRaw(*type.table, value.encoded, status)) {
        value.decoded = nullptr;
        return rtErrReset(&ctxt->errInfo);
    }
    return status;
}

}  // namespace

int encodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    void* object = lookup(type, record);
    if (object == nullptr) {
        return 0;
    }
    int status = 0;
    if (type.table->isList) {
        status = forEachValue(at<ASN1TSeqOfList>(record, type.table->rawOffset), [&](Asn1TObject& value) {
            return value.decoded == nullptr ? 0 : encodeListedValue(ctxt, type, object, value);
        });
    } else {
        auto& value = at<Asn1TObject>(record, type.table->objectOffset);
        if (value.decoded != nullptr) {
            status = encodeValueAside(ctxt, type, object, value, at<ASN1TOpenType>(record, type.table->rawOffset));
        }
    }
    return status != 0 ? fail(ctxt, status) : 0;
}

int decodeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    void* object = (ctxt->flags & CTX_FLAG_RAW_VALUES) != 0 ? nullptr : lookup(type, record);
    int status = 0;
    if (type.table->isList) {
        status = forEachValue(at<ASN1TSeqOfList>(record, type.table->rawOffset),
                              [&](Asn1TObject& value) { return decodeValueAside(ctxt, type, object, value); });
    } else {
        auto& value = at<Asn1TObject>(record, type.table->objectOffset);
        value.encoded = at<ASN1TOpenType>(record, type.table->rawOffset);
        status = decodeValueAside(ctxt, type, object, value);
    }
    return status != 0 ? fail(ctxt, status) : 0;
}

int encodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    ASN1CTXT saved;
    rtCopyContext(&saved, ctxt);
    const int status = encodeTable(ctxt, type, record);
    rtCopyContext(ctxt, &saved);
    return status;
}

int decodeTableAside(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    ASN1CTXT saved;
    rtCopyContext(&saved, ctxt);
    const int status = decodeTable(ctxt, type, record);
    rtCopyContext(ctxt, &saved);
    return status;
}

namespace {

/// `to.encoded` is already set.
void copyDecoded(ASN1CTXT* ctxt, const TypeInfo& type, const Asn1TObject& from, Asn1TObject& to, void* object) {
    to.decoded = nullptr;
    to.object = object;
    if (from.decoded != nullptr && object != nullptr) {
        type.table->set->copy(object, ctxt, from, to);
    }
}

void freeDecoded(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& value, void* object) {
    if (value.decoded != nullptr && object != nullptr) {
        type.table->set->free(object, ctxt, value);
    }
    value.decoded = nullptr;
    value.object = nullptr;
}

}  // namespace

void copyTable(ASN1CTXT* ctxt, const TypeInfo& type, const void* from, void* to) {
    void* object = lookup(type, from);
    if (!type.table->isList) {
        const auto& source = at<Asn1TObject>(from, type.table->objectOffset);
        auto& target = at<Asn1TObject>(to, type.table->objectOffset);
        target.encoded = at<ASN1TOpenType>(to, type.table->rawOffset);
        copyDecoded(ctxt, type, source, target, object);
        return;
    }
    // The list and the raw octets have been copied with the members; the copy is shorter if memory ran out.
    const _Asn1RTDListNode* source = at<ASN1TSeqOfList>(from, type.table->rawOffset).pHead;
    const _Asn1RTDListNode* target = at<ASN1TSeqOfList>(to, type.table->rawOffset).pHead;
    for (; source != nullptr && target != nullptr; source = source->pNext, target = target->pNext) {
        copyDecoded(ctxt, type, *static_cast<const Asn1TObject*>(source->data),
                    *static_cast<Asn1TObject*>(target->data), object);
    }
}

void freeTable(ASN1CTXT* ctxt, const TypeInfo& type, void* record) {
    void* object = lookup(type, record);
    if (type.table->isList) {
        forEachValue(at<ASN1TSeqOfList>(record, type.table->rawOffset), [&](Asn1TObject& value) {
            freeDecoded(ctxt, type, value, object);
            return 0;
        });
        return;
    }
    auto& value = at<Asn1TObject>(record, type.table->objectOffset);
    auto& raw = at<ASN1TOpenType>(record, type.table->rawOffset);
    if (value.decoded != nullptr && raw.data != value.encoded.data) {
        // The encoder made these octets: they are part of its buffer, not a block. `encoded` holds what was decoded.
        raw = value.encoded;
    }
    freeDecoded(ctxt, type, value, object);
    value.encoded = {};
}

}  // namespace schema
