#include "asn1rt/dlist.h"
#include "asn1rt/slist.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

TEST(SList, WorksAgainWithoutItsOwner) {
    Context ctx;
    rtSList list;
    rtSListInitEx(ctx, &list);
    char a = 'a';
    char b = 'b';
    rtSListAppend(&list, &a);
    rtSListAppend(&list, &b);
    EXPECT_EQ(list.count, 2U);
    EXPECT_EQ(list.pHead->data, &a);
    EXPECT_EQ(list.pHead->pNext, list.pTail);
    rtSListFree(&list);
    EXPECT_EQ(list.pOwner, nullptr);
    ASSERT_NE(rtSListAppend(&list, &b), nullptr);  // from malloc now; the leak checker sees if it is not freed so
    EXPECT_EQ(ctx->pTypeMemHeap->pFirstBlock, nullptr);
    rtSListFree(&list);
    EXPECT_EQ(list.count, 0U);
}

int freed = 0;

TEST(DList, FreesAnElementInItsNodesBlockOnce) {
    struct Entry {
        _Asn1RTDListNode node;
        char value;
    };
    Context ctx;
    _Asn1RTDList together{};
    _Asn1RTDList apart{};
    for (int i = 0; i < 3; ++i) {
        auto* entry = static_cast<Entry*>(rtMemHeapAllocZ(&ctx->pTypeMemHeap, sizeof(Entry)));
        EXPECT_EQ(rtDListAppendNode(ctx, &together, &entry->value), &entry->node);
        EXPECT_EQ(together.pTail, &entry->node);
        rtDListAppend(ctx, &apart, rtMemHeapAlloc(&ctx->pTypeMemHeap, 1));
    }
    freed = 0;
    g_free_func = [](void* user, void* ptr) {
        ++freed;
        rtDefaultFree(user, ptr);
    };
    rtDListFreeAll(ctx, &together);
    EXPECT_EQ(freed, 3);
    rtDListFreeAll(ctx, &apart);
    EXPECT_EQ(freed, 3 + 6);
    g_free_func = rtDefaultFree;
    EXPECT_EQ(ctx->pTypeMemHeap->pFirstBlock, nullptr);
}

}  // namespace
