#include "asn1rt/seq_of_list.h"

#include <gtest/gtest.h>

#include <vector>

#include "asn1rt/memory_heap.h"
#include "asn1rt/status.h"

namespace {

// The numbers that the elements point to, read in both directions.
std::vector<int> valuesOf(const _Asn1RTDList& list) {
    std::vector<int> values;
    std::vector<int> backward;
    for (const _Asn1RTDListNode* node = list.pHead; node != nullptr; node = node->pNext) {
        values.push_back(*static_cast<int*>(node->data));
    }
    for (const _Asn1RTDListNode* node = list.pTail; node != nullptr; node = node->pPrev) {
        backward.insert(backward.begin(), *static_cast<int*>(node->data));
    }
    EXPECT_EQ(values, backward);
    EXPECT_EQ(values.size(), list.count);
    return values;
}

int valueOf(void* data) {
    return data == nullptr ? -1 : *static_cast<int*>(data);
}

struct Numbers : testing::Test {
    int number[6] = {0, 1, 2, 3, 4, 5};
    ASN1TSeqOfList record;
    ASN1CSeqOfList list{record};
};

TEST_F(Numbers, PutsAndFindsElementsAtAnyPosition) {
    EXPECT_EQ(list.append(&number[2]), 0);
    EXPECT_EQ(list.insert(0, &number[0]), 0);
    EXPECT_EQ(list.insert(2, &number[5]), 0);
    EXPECT_EQ(list.insert(4, &number[1]), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(list.insert(-1, &number[1]), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(rtDListInsert(list.getCtxtPtr(), &record, 4, &number[1]), nullptr);
    EXPECT_EQ(rtDListInsert(list.getCtxtPtr(), &record, -1, &number[1]), nullptr);
    EXPECT_EQ(list.insertBefore(&number[1], record.pHead->pNext), 0);
    EXPECT_EQ(list.insertAfter(&number[3], record.pTail->pPrev), 0);
    EXPECT_EQ(list.insertBefore(&number[4], nullptr), 0);
    EXPECT_EQ(list.insertAfter(&number[4], nullptr), 0);
    EXPECT_EQ(valuesOf(record), (std::vector<int>{4, 0, 1, 2, 3, 5, 4}));
    EXPECT_EQ(list.indexOf(&number[3]), 4);
    EXPECT_EQ(rtDListFindIndexByData(&record, &list), -1);
    EXPECT_EQ(rtDListFindByIndex(&record, 7), nullptr);
    EXPECT_EQ(rtDListFindByIndex(&record, -3), record.pHead);
    EXPECT_EQ(list.set(1, &number[4]), &number[0]);
    EXPECT_EQ(list.set(9, &number[4]), nullptr);
    EXPECT_EQ(list.remove(0), 0);
    EXPECT_EQ(list.remove(&number[5]), 0);
    EXPECT_EQ(list.remove(&number[5]), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(list.remove(record.pTail), 0);
    EXPECT_EQ(list.remove(7), STATUS_BAD_ARGUMENT);
    EXPECT_EQ(valuesOf(record), (std::vector<int>{4, 1, 2, 3}));
    EXPECT_EQ(list.getFirst(), &number[4]);
    EXPECT_EQ(list.getLast(), &number[3]);
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.getFirst(), nullptr);
}

TEST_F(Numbers, AppendsAndReturnsArrays) {
    EXPECT_EQ(list.appendArray(number, 3, sizeof(int)), 0);
    EXPECT_EQ(list.get(1), &number[1]);
    // The count of copies is in octets, of which each started element takes its size.
    EXPECT_EQ(list.appendArrayCopy(number + 4, sizeof(int) + 1, sizeof(int)), 0);
    EXPECT_NE(list.get(3), &number[4]);
    EXPECT_EQ(list.size(), 5U);
    int room[5] = {};
    EXPECT_NE(list.toArray(room, 4, sizeof(int)), static_cast<void*>(room));
    EXPECT_EQ(list.toArray(room, 5, sizeof(int)), static_cast<void*>(room));
    const auto* all = static_cast<int*>(list.toArray(sizeof(int)));
    EXPECT_EQ(std::vector<int>(all, all + 5), (std::vector<int>{0, 1, 2, 4, 5}));
    EXPECT_EQ(std::vector<int>(room, room + 5), (std::vector<int>{0, 1, 2, 4, 5}));
    EXPECT_EQ(list.appendArray(nullptr, 3, sizeof(int)), STATUS_BAD_ARGUMENT);
    rtDListAppendArrayCopy(list.getCtxtPtr(), &record, number, 4, 0);
    EXPECT_EQ(list.size(), 5U);
    EXPECT_EQ(list.appendArrayCopy(number, sizeof(int), sizeof(int)), 0);
}

TEST_F(Numbers, AnIteratorWalksBothWays) {
    ASSERT_EQ(list.appendArray(number, 3, sizeof(int)), 0);
    ASN1CSeqOfListIterator* i = list.iterator();
    EXPECT_FALSE(i->hasPrev());
    for (const int expected : {0, 1, 2}) {
        EXPECT_EQ(valueOf(i->next()), expected);
    }
    EXPECT_EQ(i->next(), nullptr);
    EXPECT_EQ(i->getStatus(), STATUS_MISSING_ELEMENT);
    for (const int expected : {2, 1, 0}) {
        EXPECT_EQ(valueOf(i->prev()), expected);
    }
    EXPECT_EQ(i->prev(), nullptr);
    EXPECT_EQ(valueOf(list.iteratorFromLast()->prev()), 2);
    EXPECT_EQ(valueOf(list.iteratorFrom(&number[1])->next()), 1);
    EXPECT_EQ(valueOf(list.iteratorFrom(&number[1])->prev()), 0);
    EXPECT_EQ(list.iteratorFrom(&number[5]), nullptr);
}

TEST_F(Numbers, AnIteratorChangesTheListAndGoesOn) {
    ASSERT_EQ(list.appendArray(number, 3, sizeof(int)), 0);
    ASN1CSeqOfListIterator* i = list.iterator();
    EXPECT_EQ(i->remove(), STATUS_ITERATOR_STATE);
    EXPECT_EQ(i->set(&number[5]), STATUS_ITERATOR_STATE);
    i->next();
    EXPECT_EQ(i->set(&number[4]), 0);
    EXPECT_EQ(i->insert(&number[5]), 0);
    EXPECT_EQ(valuesOf(record), (std::vector<int>{4, 5, 1, 2}));
    EXPECT_EQ(valueOf(i->next()), 1);
    EXPECT_EQ(i->remove(), 0);
    EXPECT_EQ(i->remove(), STATUS_ITERATOR_STATE);
    EXPECT_EQ(valueOf(i->prev()), 5);
    EXPECT_EQ(i->remove(), 0);
    EXPECT_EQ(valueOf(i->next()), 2);
    EXPECT_EQ(i->insert(&number[3]), 0);
    EXPECT_EQ(valuesOf(record), (std::vector<int>{4, 2, 3}));
}

TEST_F(Numbers, AnIteratorRefusesAListThatChangedUnderIt) {
    ASSERT_EQ(list.append(&number[0]), 0);
    ASN1CSeqOfListIterator* i = list.iterator();
    i->next();
    EXPECT_TRUE(i->hasPrev());
    ASSERT_EQ(list.append(&number[1]), 0);
    EXPECT_FALSE(i->hasPrev());
    EXPECT_FALSE(list.iteratorFromLast()->hasNext());
    EXPECT_EQ(i->next(), nullptr);
    EXPECT_EQ(i->getStatus(), STATUS_LIST_CHANGED);
    EXPECT_EQ(i->prev(), nullptr);
    EXPECT_EQ(i->remove(), STATUS_LIST_CHANGED);
    EXPECT_EQ(i->set(&number[2]), STATUS_LIST_CHANGED);
    EXPECT_EQ(i->insert(&number[2]), STATUS_LIST_CHANGED);
    EXPECT_EQ(valuesOf(record), (std::vector<int>{0, 1}));
}

TEST(SeqOfList, OwnListsLiveInTheHeapAndRecordsMayStartUninitialised) {
    ASN1CSeqOfList own;
    int number = 7;
    EXPECT_EQ(own.append(&number), 0);
    EXPECT_EQ(own.size(), 1U);

    ASN1BERDecodeBuffer buffer;
    _Asn1RTDList wild = {99, nullptr, nullptr};
    ASN1CSeqOfList cleaned(buffer, wild, true);
    EXPECT_TRUE(cleaned.isEmpty());
    ASN1TPDUSeqOfList record;
    ASN1CSeqOfList shared(*buffer.getContext(), record);
    auto* element = rtMemHeapAllocZ(&buffer.getCtxtPtr()->pTypeMemHeap, sizeof(int));
    EXPECT_EQ(shared.append(element), 0);
    shared.freeAll();
    EXPECT_EQ(record.count, 0U);
}

}  // namespace
