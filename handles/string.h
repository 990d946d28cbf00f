// Reference-counted copy-on-write strings, narrow and wide: the text and byte buffers that travel with handles.
//
//   ATL::CStringW text(L"a b c");
//   text.Replace(L" ", L"");           // text is "abc"
//   ATL::CStringA bytes;
//   char* room = bytes.GetBuffer(512); // write up to 512 octets, then
//   bytes.ReleaseBufferSetLength(used);
//
// Lengths are counted in characters: octets of a narrow string, 32-bit units of a wide one. Content may contain NULs,
// which the forms that take text without a length do not see. Strings that share a block may live on different threads;
// one string belongs to one thread. Exhausted memory throws ATL::CAtlException with 0x8007000E, a bad length
// 0x80070057; the string is then unchanged.
#pragma once

#include <type_traits>

#include "export.h"
#include "handles/memory_manager.h"

namespace ATL {

/// One pointer to the characters, with CStringData directly before them. `mfc` selects a variant that is not used here.
/// Copying is cheap; the first change of a copy makes it private. Only `char` and `wchar_t` exist: the members are
/// compiled into the library for these.
template <class Char, bool mfc = false>
class TALLOW_EXPORT CSimpleStringT {
public:
    /// An empty string, which allocates nothing. `manager` must outlive the string and its copies.
    CSimpleStringT() noexcept : CSimpleStringT(&g_defaultStrMgr) {}
    explicit CSimpleStringT(IAtlStringMgr* manager) noexcept;
    /// Shares the block of `other`, unless that is locked: then the characters are copied, and only then can it throw.
    CSimpleStringT(const CSimpleStringT& other);
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the blocks are compared, not the objects
    CSimpleStringT& operator=(const CSimpleStringT& other);
    ~CSimpleStringT() { header()->Release(); }

    /// Characters in use, without the terminator.
    [[nodiscard]] int GetLength() const noexcept { return header()->nDataLength; }
    /// Characters that fit without a new block, without the terminator.
    [[nodiscard]] int GetAllocLength() const noexcept { return header()->nAllocLength; }
    [[nodiscard]] bool IsEmpty() const noexcept { return GetLength() == 0; }
    /// Terminated, never null; valid until the string is changed or destroyed.
    [[nodiscard]] const Char* GetString() const noexcept { return text_; }

    /// Replaces the content by `length` characters; `text` may be part of this string. Length 0 empties the string; a
    /// null text with a length throws 0x80070057.
    void SetString(const Char* text, int length);
    /// The same up to the terminator; null empties the string.
    void SetString(const Char* text);
    /// Sets the length to 0. A shared block is left to its other owners; a locked one keeps its memory.
    void Empty() noexcept;

    /// A private, writable buffer of at least `minLength` characters and a terminator, with the old content in it.
    /// Valid until the next change of the string; follow with ReleaseBufferSetLength, as the string does not notice
    /// what is written. Characters beyond the old content are undefined.
    [[nodiscard]] Char* GetBuffer(int minLength) { return PrepareWrite(minLength); }
    /// Sets the length after writing to the buffer, and terminates it. Throws 0x80070057 for a negative length, for one
    /// above the capacity, and for a new length of a shared string, which has no buffer.
    void ReleaseBufferSetLength(int length);
    /// Makes the block private and keeps it from being shared until UnlockBuffer: copies made meanwhile copy the
    /// characters. Returns the characters, at an address that no copy can change.
    Char* LockBuffer();
    /// Allows sharing again; without effect when not locked.
    void UnlockBuffer() noexcept;

protected:
    [[nodiscard]] CStringData* header() const noexcept { return reinterpret_cast<CStringData*>(text_) - 1; }
    [[nodiscard]] Char* PrepareWrite(int length);  ///< PrepareWrite2, and returns the characters
    /// Makes the block private and large enough for `length` characters.
    void PrepareWrite2(int length);

private:
    void attach(CStringData* block) noexcept { text_ = static_cast<Char*>(block->data()); }
    void fork(int length);

    Char* text_;
};

/// Adds what callers do with whole strings. Null text counts as empty, also in the constructors.
template <class Char>
class TALLOW_EXPORT CStringT : public CSimpleStringT<Char> {
public:
    CStringT() noexcept = default;
    CStringT(const Char* text) { this->SetString(text); }  // NOLINT(google-explicit-constructor): text converts
    CStringT(const Char* text, int length) { this->SetString(text, length); }

    /// Copies up to the terminator; `text` may be part of this string.
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

/// Octets; text is UTF-8 (code page 0).
using CStringA = CStringT<char>;
/// 32-bit characters.
using CStringW = CStringT<wchar_t>;

extern template class CSimpleStringT<char>;
extern template class CSimpleStringT<wchar_t>;
extern template class CStringT<char>;
extern template CStringT<char>& CStringT<char>::operator=<wchar_t>(const wchar_t* text);
extern template class CStringT<wchar_t>;

}  // namespace ATL
