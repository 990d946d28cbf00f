// Reference-counted copy-on-write strings, narrow and wide: the text and byte buffers that travel with handles.
//
//   ATL::CStringW text(L"a b c");
//   text.Replace(L" ", L"");          // text is "abc"
//   ATL::CStringA bytes;
//   char* room = bytes.GetBuffer(512); // write up to 512 octets, then
//   bytes.ReleaseBufferSetLength(used);
//
// Strings that share a block may live on different threads; one string belongs to one thread. Exhausted memory throws
// ATL::CAtlException with 0x8007000E, a bad length 0x80070057.
#pragma once

#include <type_traits>

#include "export.h"
#include "handles/memory_manager.h"

namespace ATL {

/// One pointer to the characters, with CStringData in front of them. `mfc` selects a variant that is not used here.
template <class Char, bool mfc = false>
class TALLOW_EXPORT CSimpleStringT {
public:
    CSimpleStringT() noexcept : CSimpleStringT(&g_defaultStrMgr) {}
    explicit CSimpleStringT(IAtlStringMgr* manager) noexcept;
    /// Shares the block of `other`, unless that is locked: then the characters are copied.
    CSimpleStringT(const CSimpleStringT& other);
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the blocks are compared, not the objects
    CSimpleStringT& operator=(const CSimpleStringT& other);
    ~CSimpleStringT() { header()->Release(); }

    [[nodiscard]] int GetLength() const noexcept { return header()->nDataLength; }
    /// Characters that fit without a new block, without the terminator.
    [[nodiscard]] int GetAllocLength() const noexcept { return header()->nAllocLength; }
    [[nodiscard]] bool IsEmpty() const noexcept { return GetLength() == 0; }
    /// Terminated, never null; valid until the string is changed or destroyed.
    [[nodiscard]] const Char* GetString() const noexcept { return text_; }

    /// Replaces the content by `length` characters; `text` may lie inside this string. Length 0 empties the string; a
    /// null text with a length throws 0x80070057.
    void SetString(const Char* text, int length);
    /// The same up to the terminator; null empties the string.
    void SetString(const Char* text);
    /// A shared block is left to its other owners; a locked one keeps its memory.
    void Empty() noexcept;

    /// A private, writable buffer of at least `minLength` characters and a terminator, with the old content in it.
    /// Follow with ReleaseBufferSetLength.
    [[nodiscard]] Char* GetBuffer(int minLength) { return PrepareWrite(minLength); }
    /// States how many characters of the buffer are in use and terminates them. A negative length, or one above the
    /// capacity, throws 0x80070057.
    void ReleaseBufferSetLength(int length);
    /// Makes the block unshareable and private until UnlockBuffer.
    Char* LockBuffer();
    void UnlockBuffer() noexcept;

protected:
    [[nodiscard]] CStringData* header() const noexcept { return reinterpret_cast<CStringData*>(text_) - 1; }
    [[nodiscard]] Char* PrepareWrite(int length);
    /// Makes the block private and large enough for `length` characters.
    void PrepareWrite2(int length);

private:
    void attach(CStringData* block) noexcept { text_ = static_cast<Char*>(block->data()); }
    void fork(int length);

    Char* text_;
};

/// Adds what callers do with whole strings.
template <class Char>
class TALLOW_EXPORT CStringT : public CSimpleStringT<Char> {
public:
    CStringT() noexcept = default;
    CStringT(const Char* text) { this->SetString(text); }  // NOLINT(google-explicit-constructor): text converts
    CStringT(const Char* text, int length) { this->SetString(text, length); }

    CStringT& operator=(const Char* text);
    /// A narrow string also takes wide text, converted in code page 0; null or empty text empties the string. Text that
    /// cannot be converted throws the converted last error and leaves the string as it was.
    template <class Wide>
    requires(std::is_same_v<Wide, wchar_t>&& std::is_same_v<Char, char>) CStringT& operator=(const Wide* text);
    /// Replaces every occurrence of `old`, from left to right and not overlapping, by `replacement`; returns their
    /// number. A null or empty `old` replaces nothing; a null `replacement` counts as empty.
    int Replace(const Char* old, const Char* replacement);
    [[nodiscard]] operator const Char*() const noexcept {  // NOLINT(google-explicit-constructor): the usual reading
        return this->GetString();
    }
};

using CStringA = CStringT<char>;
using CStringW = CStringT<wchar_t>;

extern template class CSimpleStringT<char>;
extern template class CSimpleStringT<wchar_t>;
extern template class CStringT<char>;
extern template CStringT<char>& CStringT<char>::operator=<wchar_t>(const wchar_t* text);
extern template class CStringT<wchar_t>;

}  // namespace ATL
