// ASN1CSeqOfList: the list of a SEQUENCE OF or SET OF as a control class, and its iterator.
//
//   ASN1CSeqOfList list(buffer, record);
//   for (auto* i = list.iterator(); i->hasNext();) use(static_cast<ASN1T_Extension*>(i->next()));
//
// The list holds pointers to value records. Nodes come from the type heap of the context; the records belong to
// the caller. Positions count from 0.
#pragma once

#include <cstdint>

#include "asn1rt/control_type.h"
#include "asn1rt/dlist.h"
#include "asn1rt/schema_types.h"
#include "export.h"

class ASN1CSeqOfListIterator;

class TALLOW_EXPORT ASN1CSeqOfList : public ASN1CType {
public:
    // Over an existing list, which must outlive the object. `initBeforeUse` empties it without freeing anything: for a
    // record that was never initialised.
    explicit ASN1CSeqOfList(_Asn1RTDList& list, bool initBeforeUse = false);
    explicit ASN1CSeqOfList(ASN1TSeqOfList& list, bool initBeforeUse = false);
    explicit ASN1CSeqOfList(ASN1TPDUSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, _Asn1RTDList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TPDUSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, _Asn1RTDList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, ASN1TSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, ASN1TPDUSeqOfList& list, bool initBeforeUse = false);

    // Over a new, empty list in the heap of the context. Throws ASN1MessageBuffer::RTLError with STATUS_NO_MEMORY.
    ASN1CSeqOfList();
    explicit ASN1CSeqOfList(ASN1MessageBufferIF& buffer);
    explicit ASN1CSeqOfList(ASN1Context& context);

    ASN1CSeqOfList(const ASN1CSeqOfList&) = delete;
    ASN1CSeqOfList& operator=(const ASN1CSeqOfList&) = delete;
    ~ASN1CSeqOfList() override;

    // Adding returns 0, STATUS_NO_MEMORY, or STATUS_BAD_ARGUMENT for an index beyond the end. A null node means the end
    // of the list for insertBefore, its start for insertAfter; any other node must be of this list.
    [[nodiscard]] int append(void* data);
    [[nodiscard]] int insert(std::int32_t index, void* data);
    [[nodiscard]] int insertBefore(void* data, _Asn1RTDListNode* node);
    [[nodiscard]] int insertAfter(void* data, _Asn1RTDListNode* node);
    /// Appends a pointer to each of the `count` elements, which must outlive the list.
    [[nodiscard]] int appendArray(void* array, std::uint32_t count, std::uint32_t elementSize);
    /// Appends heap copies. `count` is a number of octets here, not of elements: `count / elementSize` elements,
    /// rounded up, are copied.
    [[nodiscard]] int appendArrayCopy(const void* array, std::uint32_t count, std::uint32_t elementSize);

    // Unlink an element; neither node nor data is freed. STATUS_BAD_ARGUMENT when it is not in the list.
    [[nodiscard]] int remove(std::int32_t index);
    [[nodiscard]] int remove(void* data);
    [[nodiscard]] int remove(_Asn1RTDListNode* node);

    /// The position of the first element with this data pointer, or -1.
    [[nodiscard]] std::int32_t indexOf(const void* data) const;
    /// The data at a position; null beyond the end. A negative index reads the first element.
    [[nodiscard]] void* get(std::int32_t index) const;
    [[nodiscard]] void* getFirst() const;
    [[nodiscard]] void* getLast() const;
    [[nodiscard]] std::uint32_t size() const { return mpList->count; }
    [[nodiscard]] bool isEmpty() const { return mpList->count == 0; }
    /// Replaces the data at a position and returns the old; null beyond the end.
    void* set(std::int32_t index, void* data);

    /// Frees the nodes and leaves the data.
    void clear();
    /// Frees nodes and data; the data must be from the type heap of the context.
    void freeAll();

    /// The elements copied one after the other into a new array in the heap, `size()` of them; null without a context,
    /// for an empty list, or when memory runs out.
    [[nodiscard]] void* toArray(std::uint32_t elementSize) const;
    /// The same into `array` when its `capacity`, in elements, is enough, otherwise into a new array. Returns the array
    /// that was filled.
    void* toArray(void* array, std::uint32_t capacity, std::uint32_t elementSize) const;

    // New iterators in the heap of the context; they go with it. Null without a context, or when memory runs out.
    /// Before the first element.
    [[nodiscard]] ASN1CSeqOfListIterator* iterator();
    /// After the last element: prev() returns it.
    [[nodiscard]] ASN1CSeqOfListIterator* iteratorFromLast();
    /// Before the element with this data pointer: next() returns it. Null when there is none.
    [[nodiscard]] ASN1CSeqOfListIterator* iteratorFrom(const void* data);

    [[nodiscard]] _Asn1RTDList& getList() const { return *mpList; }

private:
    friend class ASN1CSeqOfListIterator;

    void attach(_Asn1RTDList& list, bool initBeforeUse);
    void makeList();
    int changed(bool done, int failure);
    int appended(std::uint32_t before, std::uint32_t expected);
    ASN1CSeqOfListIterator* makeIterator(_Asn1RTDListNode* next);

    _Asn1RTDList* mpList = nullptr;
    std::int32_t mModCount = 0;  // raised by every structural change
    bool mOwnsList = false;
};

/// A position between two elements. It notices when the list was changed by other means, and then every operation
/// fails: null or STATUS_LIST_CHANGED. The list must outlive it.
class TALLOW_EXPORT ASN1CSeqOfListIterator {
public:
    ASN1CSeqOfListIterator(ASN1CSeqOfList& owner, _Asn1RTDListNode* next);

    // False also after a change of the list by other means.
    [[nodiscard]] bool hasNext() const;
    [[nodiscard]] bool hasPrev() const;

    // Step over an element and return its data, which becomes the current element. Null at the end, with
    // STATUS_MISSING_ELEMENT as the status, and after a change of the list, with STATUS_LIST_CHANGED.
    void* next();
    void* prev();

    // Unlink the current element, after which there is none, or replace its data. STATUS_ITERATOR_STATE without a
    // current element, STATUS_LIST_CHANGED.
    [[nodiscard]] int remove();
    [[nodiscard]] int set(void* data);

    /// Puts an element before the one that next() would return. STATUS_LIST_CHANGED, STATUS_NO_MEMORY.
    [[nodiscard]] int insert(void* data);

    /// The status of the last call of next() or prev() that returned null, or of a failed change; 0 before any.
    [[nodiscard]] int getStatus() const { return mLastStatus; }

private:
    [[nodiscard]] bool isInStep() const { return mExpectedModCount == mpOwner->mModCount; }
    bool isStale();
    [[nodiscard]] int checkCurrent();
    void* stepTo(_Asn1RTDListNode* node, _Asn1RTDListNode* next);

    ASN1CSeqOfList* mpOwner;
    _Asn1RTDListNode* mpNext;               // the element next() returns; null at the end
    _Asn1RTDListNode* mpCurrent = nullptr;  // the element returned last
    std::int32_t mExpectedModCount;
    std::int32_t mLastStatus = 0;
};
