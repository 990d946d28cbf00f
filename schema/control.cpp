#include "schema/control.h"

#include "schema/codec_steps.h"

namespace schema {

int encodeTo(ASN1CType& control, ASN1MessageBufferIF& buffer, const TypeInfo& type, void* value) {
    control.setMsgBuf(buffer);
    const int status = buffer.init();
    return status != 0 ? status : encodeValue(buffer.getCtxtPtr(), type, value, TAG_EXPLICIT);
}

int decodeFrom(ASN1CType& control, ASN1MessageBufferIF& buffer, const TypeInfo& type, void* value) {
    control.setMsgBuf(buffer);
    const int status = buffer.init();
    return status != 0 ? status : decodeValue(buffer.getCtxtPtr(), type, value, TAG_EXPLICIT, 0);
}

void* copyToHeap(ASN1CType& control, const TypeInfo& type, const void* value) {
    ASN1CTXT* ctxt = control.getCtxtPtr();
    void* copy = rtMemHeapAllocZ(&ctxt->pTypeMemHeap, type.size);
    if (copy != nullptr) {
        copyValue(ctxt, type, value, copy);
    }
    return copy;
}

}  // namespace schema
