// ASN1CSeqOfList: the list of a SEQUENCE OF or SET OF as a control class, and its iterator.
//
//   ASN1CSeqOfList list(buffer, record);
//   for (auto* i = list.iterator(); i->hasNext();) use(static_cast<ASN1T_Extension*>(i->next()));
//
// The list holds pointers to value records. Nodes come from the type heap of the context; the records belong to the
// caller, and nothing here copies, compares or frees them unless it says so. A record put into a list that is to be
// encoded must live until then. Positions count from 0.
//
// Failures are returned and recorded in the context; the list is then as it was, unless a comment says otherwise.
#pragma once

#include <cstdint>

#include "asn1rt/control_type.h"
#include "asn1rt/dlist.h"
#include "asn1rt/schema_types.h"
#include "export.h"

class ASN1CSeqOfListIterator;

/// A list to read or build. It belongs to the thread of its context. Node pointers and iterators are valid as long as
/// their element is in the list and the context lives.
class TALLOW_EXPORT ASN1CSeqOfList : public ASN1CType {
public:
    // Over an existing list, which must outlive the object; the destructor leaves it as it is. `initBeforeUse` empties
    // it without freeing anything: for a record that was never initialised. New nodes come from the context of the
    // buffer or the given one; without either from a new context that this object holds, so a list that is to outlive
    // the object needs one of the others.
    explicit ASN1CSeqOfList(_Asn1RTDList& list, bool initBeforeUse = false);
    explicit ASN1CSeqOfList(ASN1TSeqOfList& list, bool initBeforeUse = false);
    explicit ASN1CSeqOfList(ASN1TPDUSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, _Asn1RTDList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1MessageBufferIF& buffer, ASN1TPDUSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, _Asn1RTDList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, ASN1TSeqOfList& list, bool initBeforeUse = false);
    ASN1CSeqOfList(ASN1Context& context, ASN1TPDUSeqOfList& list, bool initBeforeUse = false);

    // Over a new, empty list in the heap of the context, whose nodes the destructor frees. Throws
    // ASN1MessageBuffer::RTLError with STATUS_NO_MEMORY.
    ASN1CSeqOfList();
    explicit ASN1CSeqOfList(ASN1MessageBufferIF& buffer);
    explicit ASN1CSeqOfList(ASN1Context& context);

    ASN1CSeqOfList(const ASN1CSeqOfList&) = delete;
    ASN1CSeqOfList& operator=(const ASN1CSeqOfList&) = delete;
    ~ASN1CSeqOfList() override;

    // Adding returns 0, STATUS_NO_MEMORY, or STATUS_BAD_ARGUMENT for an index beyond the end. `insert` puts the element
    // before the one at `index`, or at the end for size(). A null node means the end of the list for insertBefore, its
    // start for insertAfter; any other node must be of this list, which is not verified.
    [[nodiscard]] int append(void* data);
    [[nodiscard]] int insert(std::int32_t index, void* data);
    [[nodiscard]] int insertBefore(void* data, _Asn1RTDListNode* node);
    [[nodiscard]] int insertAfter(void* data, _Asn1RTDListNode* node);
    /// Appends a pointer to each of the `count` elements of `elementSize` octets; the array must outlive the list.
    /// STATUS_BAD_ARGUMENT for null, a size of 0 or a count above 2,147,483,647. After STATUS_NO_MEMORY some of the
    /// elements may have been appended.
    [[nodiscard]] int appendArray(void* array, std::uint32_t count, std::uint32_t elementSize);
    /// Appends heap copies, made octet by octet, so that what the elements point to is shared. `count` is a number of
    /// octets here, not of elements: `count / elementSize` elements, rounded up, are copied, and the array must have as
    /// many. Failures as above.
    [[nodiscard]] int appendArrayCopy(const void* array, std::uint32_t count, std::uint32_t elementSize);

    // Unlink an element; neither node nor data is freed before the context is. STATUS_BAD_ARGUMENT when it is not in
    // the list; a node of another list is not noticed, and must not be given. `remove(data)` unlinks the first element
    // with this pointer, a negative index the first element.
    [[nodiscard]] int remove(std::int32_t index);
    [[nodiscard]] int remove(void* data);
    [[nodiscard]] int remove(_Asn1RTDListNode* node);

    /// The position of the first element with this data pointer, or -1.
    [[nodiscard]] std::int32_t indexOf(const void* data) const;
    /// The data at a position; null beyond the end. A negative index reads the first element.
    [[nodiscard]] void* get(std::int32_t index) const;
    /// The data of the first or last element; null for an empty list, and also where the element's data is null.
    [[nodiscard]] void* getFirst() const;
    [[nodiscard]] void* getLast() const;
    [[nodiscard]] std::uint32_t size() const { return mpList->count; }
    [[nodiscard]] bool isEmpty() const { return mpList->count == 0; }
    /// Replaces the data at a position and returns the old, which is not freed; null beyond the end, where nothing is
    /// replaced. Iterators stay valid.
    void* set(std::int32_t index, void* data);

    /// Frees the nodes and leaves the data. The list is empty afterward, and iterators are out of step.
    void clear();
    /// Frees nodes and data, one block each; the data must be from the type heap of the context. What the data points
    /// to stays until the context goes.
    void freeAll();

    /// The elements copied one after the other, octet by octet, into a new array in the heap, `size()` of them; it
    /// lives as long as the context. A null element is copied as zero octets. Null without a context, for an empty
    /// list, or when memory runs out.
    [[nodiscard]] void* toArray(std::uint32_t elementSize) const;
    /// The same into `array` when its `capacity`, in elements, is enough, otherwise into a new array. Returns the array
    /// that was filled: compare it with `array`. An empty list returns `array` unchanged.
    void* toArray(void* array, std::uint32_t capacity, std::uint32_t elementSize) const;

    // New iterators in the heap of the context, in constant time but for iteratorFrom; they go with the context and are
    // not deleted. Null without a context, or when memory runs out.
    /// Before the first element.
    [[nodiscard]] ASN1CSeqOfListIterator* iterator();
    /// After the last element: prev() returns it.
    [[nodiscard]] ASN1CSeqOfListIterator* iteratorFromLast();
    /// Before the element with this data pointer: next() returns it. Null when there is none.
    [[nodiscard]] ASN1CSeqOfListIterator* iteratorFrom(const void* data);

    /// The plain list. Changes made to it directly are not noticed by iterators.
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

/// A position between two elements. It notices when the list was changed by other means of its ASN1CSeqOfList, another
/// iterator included, and then every operation fails: null or STATUS_LIST_CHANGED. The list must outlive it.
///
///     auto* i = list.iterator();
///     while (void* data = i->next()) {
///         if (isUnwanted(data) && i->remove() != 0) ...          // the list may be changed through the iterator
///     }
class TALLOW_EXPORT ASN1CSeqOfListIterator {
public:
    /// Before `next`, an element of `owner`, or at the end for null. Use the functions of the list instead.
    ASN1CSeqOfListIterator(ASN1CSeqOfList& owner, _Asn1RTDListNode* next);

    // Whether next() or prev() would return an element. False also after a change of the list by other means.
    [[nodiscard]] bool hasNext() const;
    [[nodiscard]] bool hasPrev() const;

    // Step over an element and return its data, which becomes the current element. Null at the end, with
    // STATUS_MISSING_ELEMENT as the status, and after a change of the list, with STATUS_LIST_CHANGED; the current
    // element stays. Since an element's data may be null too, use hasNext() where that can be.
    void* next();
    void* prev();

    // Unlink the current element, after which there is none, or replace its data; neither frees the data. Return 0,
    // STATUS_ITERATOR_STATE without a current element, or STATUS_LIST_CHANGED.
    [[nodiscard]] int remove();
    [[nodiscard]] int set(void* data);

    /// Puts an element before the one that next() would return; next() still returns that one, prev() the new one.
    /// Returns 0, STATUS_LIST_CHANGED or STATUS_NO_MEMORY.
    [[nodiscard]] int insert(void* data);

    /// The status of the last call of next() or prev() that returned null, or of a failed change; 0 before any. A
    /// success does not clear it.
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
