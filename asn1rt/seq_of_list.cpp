#include "asn1rt/seq_of_list.h"

#include <new>
#include <type_traits>

#include "asn1rt/memory_heap.h"
#include "asn1rt/status.h"

// Iterators are in the heap of the context, which runs no destructors.
static_assert(std::is_trivially_destructible_v<ASN1CSeqOfListIterator>);

ASN1CSeqOfList::ASN1CSeqOfList(_Asn1RTDList& list, bool initBeforeUse) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1TSeqOfList& list, bool initBeforeUse) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1TPDUSeqOfList& list, bool initBeforeUse) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer, _Asn1RTDList& list, bool initBeforeUse)
    : ASN1CType(buffer) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TSeqOfList& list, bool initBeforeUse)
    : ASN1CType(buffer) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TPDUSeqOfList& list, bool initBeforeUse)
    : ASN1CType(buffer) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& context, _Asn1RTDList& list, bool initBeforeUse) : ASN1CType(context) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& context, ASN1TSeqOfList& list, bool initBeforeUse) : ASN1CType(context) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& context, ASN1TPDUSeqOfList& list, bool initBeforeUse) : ASN1CType(context) {
    attach(list, initBeforeUse);
}

ASN1CSeqOfList::ASN1CSeqOfList() {
    makeList();
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1MessageBufferIF& buffer) : ASN1CType(buffer) {
    makeList();
}

ASN1CSeqOfList::ASN1CSeqOfList(ASN1Context& context) : ASN1CType(context) {
    makeList();
}

ASN1CSeqOfList::~ASN1CSeqOfList() {
    if (mOwnsList) {
        rtDListFreeNodes(getCtxtPtr(), mpList);
        rtMemHeapFreePtr(&getCtxtPtr()->pTypeMemHeap, mpList);
    }
}

void ASN1CSeqOfList::attach(_Asn1RTDList& list, bool initBeforeUse) {
    mpList = &list;
    if (initBeforeUse) {
        rtDListInit(mpList);
    }
}

void ASN1CSeqOfList::makeList() {
    mpList = static_cast<_Asn1RTDList*>(rtMemHeapAllocZ(&getCtxtPtr()->pTypeMemHeap, sizeof(_Asn1RTDList)));
    if (mpList == nullptr) {
        throw ASN1MessageBuffer::RTLError(STATUS_NO_MEMORY);
    }
    mOwnsList = true;
}

// Elements whose node found no memory are missing, and the others are there.
int ASN1CSeqOfList::appended(std::uint32_t before, std::uint32_t expected) {
    const std::uint32_t added = mpList->count - before;
    mModCount += added != 0 ? 1 : 0;
    return added == expected ? 0 : fail(STATUS_NO_MEMORY);
}

// Counts a change that was made, or records why it was not.
int ASN1CSeqOfList::changed(bool done, int failure) {
    if (!done) {
        return fail(failure);
    }
    ++mModCount;
    return 0;
}

int ASN1CSeqOfList::append(void* data) {
    return changed(rtDListAppend(getCtxtPtr(), mpList, data) != nullptr, STATUS_NO_MEMORY);
}

int ASN1CSeqOfList::insert(std::int32_t index, void* data) {
    if (index < 0 || static_cast<std::uint32_t>(index) > mpList->count) {
        return fail(STATUS_BAD_ARGUMENT);
    }
    return changed(rtDListInsert(getCtxtPtr(), mpList, index, data) != nullptr, STATUS_NO_MEMORY);
}

int ASN1CSeqOfList::insertBefore(void* data, _Asn1RTDListNode* node) {
    return changed(rtDListInsertBefore(getCtxtPtr(), mpList, node, data) != nullptr, STATUS_NO_MEMORY);
}

int ASN1CSeqOfList::insertAfter(void* data, _Asn1RTDListNode* node) {
    return changed(rtDListInsertAfter(getCtxtPtr(), mpList, node, data) != nullptr, STATUS_NO_MEMORY);
}

int ASN1CSeqOfList::appendArray(void* array, std::uint32_t count, std::uint32_t elementSize) {
    if (array == nullptr || count > INT32_MAX || elementSize == 0) {
        return fail(STATUS_BAD_ARGUMENT);
    }
    const std::uint32_t before = mpList->count;
    rtDListAppendArray(getCtxtPtr(), mpList, array, static_cast<int>(count), elementSize);
    return appended(before, count);
}

int ASN1CSeqOfList::appendArrayCopy(const void* array, std::uint32_t count, std::uint32_t elementSize) {
    if (array == nullptr || count > INT32_MAX || elementSize == 0) {
        return fail(STATUS_BAD_ARGUMENT);
    }
    const std::uint32_t before = mpList->count;
    const std::uint32_t expected = count / elementSize + (count % elementSize != 0 ? 1 : 0);
    rtDListAppendArrayCopy(getCtxtPtr(), mpList, array, static_cast<int>(count), elementSize);
    return appended(before, expected);
}

int ASN1CSeqOfList::remove(std::int32_t index) {
    return remove(rtDListFindByIndex(mpList, index));
}

int ASN1CSeqOfList::remove(void* data) {
    return remove(rtDListFindByData(mpList, data));
}

int ASN1CSeqOfList::remove(_Asn1RTDListNode* node) {
    if (node != nullptr) {
        rtDListRemove(mpList, node);
    }
    return changed(node != nullptr, STATUS_BAD_ARGUMENT);
}

std::int32_t ASN1CSeqOfList::indexOf(const void* data) const {
    return rtDListFindIndexByData(mpList, data);
}

void* ASN1CSeqOfList::get(std::int32_t index) const {
    const _Asn1RTDListNode* node = rtDListFindByIndex(mpList, index);
    return node == nullptr ? nullptr : node->data;
}

void* ASN1CSeqOfList::getFirst() const {
    return mpList->pHead == nullptr ? nullptr : mpList->pHead->data;
}

void* ASN1CSeqOfList::getLast() const {
    return mpList->pTail == nullptr ? nullptr : mpList->pTail->data;
}

void* ASN1CSeqOfList::set(std::int32_t index, void* data) {
    _Asn1RTDListNode* node = rtDListFindByIndex(mpList, index);
    if (node == nullptr) {
        return nullptr;
    }
    void* old = node->data;
    node->data = data;
    return old;
}

void ASN1CSeqOfList::clear() {
    rtDListFreeNodes(getCtxtPtr(), mpList);
    ++mModCount;
}

void ASN1CSeqOfList::freeAll() {
    rtDListFreeAll(getCtxtPtr(), mpList);
    ++mModCount;
}

void* ASN1CSeqOfList::toArray(std::uint32_t elementSize) const {
    return toArray(nullptr, 0, elementSize);
}

void* ASN1CSeqOfList::toArray(void* array, std::uint32_t capacity, std::uint32_t elementSize) const {
    if (mpContext.isNull() || isEmpty()) {
        return mpContext.isNull() ? nullptr : array;
    }
    rtDListToArray(getCtxtPtr(), mpList, &array, &capacity, elementSize);
    return array;
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::makeIterator(_Asn1RTDListNode* next) {
    if (mpContext.isNull()) {
        return nullptr;
    }
    void* place = rtMemHeapAlloc(&getCtxtPtr()->pTypeMemHeap, sizeof(ASN1CSeqOfListIterator));
    return place == nullptr ? nullptr : new (place) ASN1CSeqOfListIterator(*this, next);
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iterator() {
    return makeIterator(mpList->pHead);
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iteratorFromLast() {
    return makeIterator(nullptr);
}

ASN1CSeqOfListIterator* ASN1CSeqOfList::iteratorFrom(const void* data) {
    _Asn1RTDListNode* node = rtDListFindByData(mpList, data);
    return node == nullptr ? nullptr : makeIterator(node);
}

ASN1CSeqOfListIterator::ASN1CSeqOfListIterator(ASN1CSeqOfList& owner, _Asn1RTDListNode* next)
    : mpOwner(&owner), mpNext(next), mExpectedModCount(owner.mModCount) {}

// After a change of the list the next element may be gone, so it is not read.
bool ASN1CSeqOfListIterator::hasNext() const {
    return isInStep() && mpNext != nullptr;
}

bool ASN1CSeqOfListIterator::hasPrev() const {
    return isInStep() && (mpNext == nullptr ? mpOwner->mpList->pTail : mpNext->pPrev) != nullptr;
}

bool ASN1CSeqOfListIterator::isStale() {
    if (isInStep()) {
        return false;
    }
    mLastStatus = STATUS_LIST_CHANGED;
    return true;
}

// Makes `node` the current element and `next` the one that next() returns.
void* ASN1CSeqOfListIterator::stepTo(_Asn1RTDListNode* node, _Asn1RTDListNode* next) {
    if (node == nullptr) {
        mLastStatus = STATUS_MISSING_ELEMENT;
        return nullptr;
    }
    mpCurrent = node;
    mpNext = next;
    return node->data;
}

void* ASN1CSeqOfListIterator::next() {
    if (isStale()) {
        return nullptr;
    }
    return stepTo(mpNext, mpNext == nullptr ? nullptr : mpNext->pNext);
}

void* ASN1CSeqOfListIterator::prev() {
    if (isStale()) {
        return nullptr;
    }
    _Asn1RTDListNode* const node = mpNext == nullptr ? mpOwner->mpList->pTail : mpNext->pPrev;
    return stepTo(node, node);
}

int ASN1CSeqOfListIterator::checkCurrent() {
    if (mpCurrent == nullptr) {
        return mLastStatus = STATUS_ITERATOR_STATE;
    }
    return isStale() ? mLastStatus : 0;
}

int ASN1CSeqOfListIterator::remove() {
    const int status = checkCurrent();
    if (status != 0) {
        return status;
    }
    // After prev() the current element is also the next one.
    if (mpNext == mpCurrent) {
        mpNext = mpCurrent->pNext;
    }
    static_cast<void>(mpOwner->remove(mpCurrent));  // which is there
    mExpectedModCount = mpOwner->mModCount;
    mpCurrent = nullptr;
    return 0;
}

int ASN1CSeqOfListIterator::set(void* data) {
    const int status = checkCurrent();
    if (status == 0) {
        mpCurrent->data = data;
    }
    return status;
}

int ASN1CSeqOfListIterator::insert(void* data) {
    if (isStale()) {
        return mLastStatus;
    }
    const int status = mpOwner->insertBefore(data, mpNext);
    if (status != 0) {
        return mLastStatus = status;
    }
    mExpectedModCount = mpOwner->mModCount;
    return 0;
}
