#include "schema/object_set.h"

#include "asn1rt/decode_values.h"
#include "asn1rt/encode_values.h"
#include "schema/codec_steps.h"

namespace schema {

void* constructValue(ASN1CTXT* ctxt, std::size_t size) {
    void* value = rtMemHeapAllocZ(&ctxt->pTypeMemHeap, size);
    if (value == nullptr) {
        throw std::bad_alloc();
    }
    return value;
}

int decodeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object) {
    object.decoded = constructValue(ctxt, type.size);
    const int status = decodeValue(ctxt, type, object.decoded, TAG_EXPLICIT, 0);
    if (status == STATUS_TOO_BIG && type.rawIfTooBig) {
        object.decoded = nullptr;
        return rtErrReset(&ctxt->errInfo);
    }
    return status;
}

void copyObject(ASN1CTXT* ctxt, const TypeInfo& type, const Asn1TObject& from, Asn1TObject& to) {
    void* value = constructValue(ctxt, type.size);
    copyValue(ctxt, type, from.decoded, value);
    to.decoded = value;
}

void freeObject(ASN1CTXT* ctxt, const TypeInfo& type, Asn1TObject& object) {
    if (object.decoded != nullptr) {
        freeValue(ctxt, type, object.decoded);
        freeBlock(ctxt, object.decoded);
    }
}

int NullValue::encode(ASN1CTXT* ctxt, Asn1TObject& /*object*/) {
    return xe_null(ctxt, TAG_EXPLICIT);
}

int NullValue::decode(ASN1CTXT* ctxt, Asn1TObject& /*object*/) {
    return xd_null(ctxt, TAG_EXPLICIT);
}

}  // namespace schema
