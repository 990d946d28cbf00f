#include "asn1rt/context.h"

#include <type_traits>

#include "asn1rt/stream.h"

static_assert(std::is_trivial_v<ASN1CTXT> && std::is_standard_layout_v<ASN1CTXT>);

namespace {

/// Makes `field` refer to the heap of `other`.
void shareHeap(ASN1MEMHEAP** field, ASN1MEMHEAP** other) {
    if (*field == *other) {
        return;
    }
    rtMemHeapAddRef(other);
    rtMemHeapRelease(field);
    *field = *other;
}

}  // namespace

extern "C" {

int rtInitContext(ASN1CTXT* ctx, void* allocUser) noexcept {
    *ctx = ASN1CTXT{};
    ctx->initCode = ASN1_INIT_CODE;
    const int status = rtMemHeapCreate(&ctx->pTypeMemHeap, allocUser);
    if (status != 0) {
        return status;
    }
    ctx->pAllocUser = allocUser;
    ctx->pMsgMemHeap = ctx->pTypeMemHeap;
    rtMemHeapAddRef(&ctx->pMsgMemHeap);
    rtSListInitEx(ctx, &ctx->contextListB);
    rtSListInitEx(ctx, &ctx->contextListA);
    return 0;
}

int rtInitContextBuffer(ASN1CTXT* ctx, const std::uint8_t* data, std::uint32_t size) noexcept {
    if (ctx->initCode != ASN1_INIT_CODE) {
        return STATUS_NOT_INITIALIZED;
    }
    ASN1Buffer& buffer = ctx->buffer;
    if (data != nullptr) {
        buffer.data = const_cast<std::uint8_t*>(data);
        buffer.dynamic = 0;
    } else {
        if (size == 0) {
            size = ASN1_DEFAULT_BUFFER_SIZE;
        }
        void* memory = rtMemHeapAlloc(&ctx->pMsgMemHeap, size);
        if (memory == nullptr) {
            return STATUS_NO_MEMORY;
        }
        buffer.data = static_cast<std::uint8_t*>(memory);
        buffer.dynamic = 1;
    }
    buffer.size = size;
    buffer.byteIndex = 0;
    buffer.bitOffset = 8;
    return 0;
}

void rtFreeContext(ASN1CTXT* ctx) noexcept {
    if (ctx->initCode != ASN1_INIT_CODE) {
        return;
    }
    if (ctx->buffer.dynamic != 0 && ctx->buffer.data != nullptr && (ctx->flags & CTX_FLAG_KEEP_BUFFER) == 0) {
        rtMemHeapFreePtr(&ctx->pMsgMemHeap, ctx->buffer.data);
    }
    rtStreamRelease(ctx);
    rtSListFree(&ctx->contextListA);
    rtSListFree(&ctx->contextListB);
    rtMemHeapRelease(&ctx->pTypeMemHeap);
    rtMemHeapRelease(&ctx->pMsgMemHeap);
    ctx->initCode = 0;
}

void rtCopyContext(ASN1CTXT* destination, const ASN1CTXT* source) noexcept {
    destination->buffer = source->buffer;
    destination->flags = source->flags;
}

void rtCtxtSetFlag(ASN1CTXT* ctx, std::uint16_t mask) noexcept {
    ctx->flags |= mask;
}

void rtCtxtSetMemHeap(ASN1CTXT* ctx, ASN1CTXT* other) noexcept {
    if (ctx != nullptr && other != nullptr) {
        shareHeap(&ctx->pTypeMemHeap, &other->pTypeMemHeap);
    }
}

void rtCtxtSetMsgMemHeap(ASN1CTXT* ctx, ASN1CTXT* other) noexcept {
    if (ctx != nullptr && other != nullptr) {
        shareHeap(&ctx->pMsgMemHeap, &other->pMsgMemHeap);
    }
}

int rtEnterLevel(ASN1CTXT* ctx) noexcept {
    if (ctx->levelDepth >= ASN1_MAX_LEVELS) {
        return rtErrSetData(&ctx->errInfo, STATUS_BAD_VALUE, nullptr, 0);
    }
    ++ctx->levelDepth;
    return 0;
}

void rtLeaveLevel(ASN1CTXT* ctx) noexcept {
    if (ctx->levelDepth != 0) {
        --ctx->levelDepth;
    }
}

}  // extern "C"
