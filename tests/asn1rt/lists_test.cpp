#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "asn1rt/dlist.h"
#include "asn1rt/slist.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Context;

/// The data of a list of character arrays, read in both directions.
std::string dataOf(const _Asn1RTDList& list) {
    std::string forward;
    std::string backward;
    for (const _Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
        forward += static_cast<const char*>(node->data)[0];
    }
    for (const _Asn1RTDListNode* node = list.pTail; node != nullptr; node = node->pPrev) {
        backward.insert(0, 1, static_cast<const char*>(node->data)[0]);
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.count);
    return forward;
}

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

TEST(DList, InsertsAtEveryPosition) {
    Context ctx;
    _Asn1RTDList list;
    rtDListInit(&list);
    char letters[] = "abcdefghij";
    rtDListAppend(ctx, &list, &letters[1]);
    rtDListInsert(ctx, &list, 0, &letters[0]);
    rtDListInsert(ctx, &list, 2, &letters[4]);
    _Asn1RTDListNode* c = rtDListInsert(ctx, &list, 2, &letters[2]);
    rtDListInsertAfter(ctx, &list, c, &letters[3]);
    EXPECT_EQ(dataOf(list), "abcde");
    EXPECT_EQ(rtDListInsert(ctx, &list, 6, &letters[9]), nullptr);
    EXPECT_EQ(rtDListInsert(ctx, &list, -1, &letters[9]), nullptr);
    rtDListInsertBefore(ctx, &list, c, &letters[9]);
    rtDListInsertBefore(ctx, &list, nullptr, &letters[8]);
    rtDListInsertAfter(ctx, &list, nullptr, &letters[7]);
    EXPECT_EQ(dataOf(list), "habjcdei");
    EXPECT_EQ(rtDListFindByIndex(&list, 4), c);
    EXPECT_EQ(rtDListFindByIndex(&list, 8), nullptr);
    EXPECT_EQ(rtDListFindByIndex(&list, -3), list.pHead);
    EXPECT_EQ(rtDListFindByData(&list, &letters[6]), nullptr);
    EXPECT_EQ(rtDListFindIndexByData(&list, &letters[6]), -1);
    for (const int index : {7, 0, 3}) {
        _Asn1RTDListNode* node = rtDListFindByIndex(&list, index);
        rtDListRemove(&list, node);
        rtMemHeapFreePtr(&ctx->pTypeMemHeap, node);
    }
    EXPECT_EQ(dataOf(list), "abjde");
    rtDListFreeNodes(ctx, &list);
    EXPECT_EQ(dataOf(list), "");
    EXPECT_EQ(ctx->pTypeMemHeap->pFirstBlock, nullptr);
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
        entry->value = static_cast<char>('a' + i);
        EXPECT_EQ(rtDListAppendNode(ctx, &together, &entry->value), &entry->node);
        rtDListAppend(ctx, &apart, rtMemHeapAlloc(&ctx->pTypeMemHeap, 1));
    }
    EXPECT_EQ(dataOf(together), "abc");
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

TEST(DList, CopiesArraysBothWays) {
    Context ctx;
    _Asn1RTDList list{};
    char letters[] = "aabbccdd";
    rtDListAppendArray(ctx, &list, letters, 4, 2);
    EXPECT_EQ(dataOf(list), "abcd");
    EXPECT_EQ(list.pHead->data, letters);

    char room[8] = {};
    for (const std::uint32_t given : {4U, 3U}) {
        void* array = room;
        std::uint32_t capacity = given;
        EXPECT_EQ(rtDListToArray(ctx, &list, &array, &capacity, 2), 4);
        EXPECT_EQ(array == room, given == 4);
        EXPECT_EQ(capacity, 4U);
        EXPECT_EQ(std::string(static_cast<char*>(array), 8), "aabbccdd");
    }
    for (const auto& [count, elementSize, appended] :
         {std::tuple{8, 2U, "abcd"}, std::tuple{5, 4U, "ac"}, std::tuple{4, 0U, ""}}) {
        _Asn1RTDList copies{};
        rtDListAppendArrayCopy(ctx, &copies, letters, count, elementSize);
        EXPECT_EQ(dataOf(copies), appended);
        EXPECT_TRUE(copies.pHead == nullptr || copies.pHead->data != letters);
    }
}

}  // namespace
