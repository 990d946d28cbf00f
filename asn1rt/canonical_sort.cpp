#include "asn1rt/canonical_sort.h"

#include <algorithm>
#include <cstring>

#include "asn1rt/types.h"

namespace {

struct Member {
    const std::uint8_t* octets;
    std::uint32_t numocts;
};

/// The order of the list: descending, since the member written first is at the highest addresses.
bool comesBefore(const Member& a, const Member& b) {
    const int difference = std::memcmp(a.octets, b.octets, std::min(a.numocts, b.numocts));
    return difference != 0 ? difference > 0 : a.numocts > b.numocts;
}

/// Fills `members`, one for each node, and returns their octets or STATUS_BAD_VALUE.
std::int64_t collect(const ASN1Buffer& buffer, const rtSList* list, Member* members) {
    const std::uint32_t last = buffer.size - 1;
    std::int64_t total = 0;
    for (const rtSListNode* node = list->pHead; node != nullptr; node = node->pNext) {
        const auto* descriptor = static_cast<const ASN1BufLocDescr*>(node->data);
        if (descriptor->offset > last || descriptor->numocts > descriptor->offset) {
            return STATUS_BAD_VALUE;
        }
        *members++ = Member{buffer.data + last - descriptor->offset, descriptor->numocts};
        total += descriptor->numocts;
    }
    return total <= std::int64_t{buffer.size} - buffer.byteIndex ? total : STATUS_BAD_VALUE;
}

void freeDescriptors(ASN1CTXT* ctx, rtSList* list) {
    for (const rtSListNode* node = list->pHead; node != nullptr; node = node->pNext) {
        rtMemHeapFreePtr(&ctx->pTypeMemHeap, node->data);
    }
    rtSListFree(list);
}

/// Writes the members in their new order over the old ones, which are the first `total` octets of the message.
int rearrange(ASN1CTXT* ctx, const Member* members, std::uint32_t count, std::size_t total) {
    auto* block = static_cast<std::uint8_t*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, total));
    if (block == nullptr) {
        return STATUS_NO_MEMORY;
    }
    std::uint8_t* end = block + total;
    for (const Member* member = members; member != members + count; ++member) {
        end -= member->numocts;
        std::memcpy(end, member->octets, member->numocts);
    }
    std::memcpy(ctx->buffer.data + ctx->buffer.byteIndex, block, total);
    rtMemHeapFreePtr(&ctx->pTypeMemHeap, block);
    return 0;
}

int sortMembers(ASN1CTXT* ctx, const rtSList* list, Member* members) {
    const std::int64_t total = collect(ctx->buffer, list, members);
    if (total < 0) {
        return static_cast<int>(total);
    }
    if (!std::is_sorted(members, members + list->count, comesBefore)) {
        std::stable_sort(members, members + list->count, comesBefore);
        const int status = rearrange(ctx, members, list->count, static_cast<std::size_t>(total));
        if (status != 0) {
            return status;
        }
    }
    return static_cast<int>(total);
}

}  // namespace

extern "C" {

int xe_derCanonicalSort(ASN1CTXT* ctx, rtSList* list) noexcept {
    if (list->count == 0) {
        return 0;
    }
    auto* members = static_cast<Member*>(rtMemHeapAlloc(&ctx->pTypeMemHeap, std::size_t{list->count} * sizeof(Member)));
    if (members == nullptr) {
        return STATUS_NO_MEMORY;
    }
    const int answer = sortMembers(ctx, list, members);
    rtMemHeapFreePtr(&ctx->pTypeMemHeap, members);
    freeDescriptors(ctx, list);
    return answer;
}

}  // extern "C"
