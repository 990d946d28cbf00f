// The byte string of the library: DER messages, hashes, serial numbers, certificates and extension values travel in it.
//
// A blob owns its bytes; a copy is always deep, a move hands the buffer over. There is no separate capacity: the buffer
// may be larger than size after clear() or a shrinking resize_to(), and growing again allocates.
//
//   CBlob request(bytes, size);
//   request += CBlob(tail, sizeTail);
//   request.writeToFile("request.der");
#pragma once

#include <list>
#include <memory>
#include <utility>

#include "export.h"
#include "foundation/string_proxy.h"

namespace Orvane {

/// Size and owned bytes. If cbData() is above 0, pbData() is valid for that many bytes; it may be non-null while
/// cbData() is 0. Exhausted memory is reported by std::bad_alloc, with the blob unchanged.
class TALLOW_EXPORT CBlob {
public:
    /// No bytes and a null pointer.
    CBlob() noexcept = default;
    /// Copies `size` bytes from `data`. A size of 0 gives a null pointer, and `data` is not read; with any other size a
    /// null `data` throws ATL::CAtlException with 0x80070057.
    CBlob(const unsigned char* data, unsigned long size);
    /// `size` zero bytes. A size of 0 allocates all the same, so that the pointer is not null.
    explicit CBlob(unsigned long size);
    /// A deep copy; an empty source gives a null pointer.
    CBlob(const CBlob& other) : CBlob(other.pbData(), other.cbData()) {}
    /// Takes the buffer over and leaves `other` empty with a null pointer.
    CBlob(CBlob&& other) noexcept : cbData_(std::exchange(other.cbData_, 0)), pbData_(std::move(other.pbData_)) {}
    /// As assign(); assigning a blob to itself is safe.
    CBlob& operator=(const CBlob& other);
    /// Frees the old buffer and takes over that of `other`, which is left empty. Moving a blob to itself changes
    /// nothing.
    CBlob& operator=(CBlob&& other) noexcept;
    ~CBlob() = default;

    /// The number of valid octets.
    [[nodiscard]] unsigned long cbData() const noexcept { return cbData_; }
    /// The bytes, writable also through a const blob; null or not when cbData() is 0. Valid until the blob is changed
    /// in any way but through this pointer, or destroyed.
    [[nodiscard]] unsigned char* pbData() const noexcept { return pbData_.get(); }

    /// Replaces the content by a copy. `data` may be part of this blob's own bytes. Size 0 frees the buffer and leaves
    /// a null pointer. Throws as the constructor, with the blob unchanged.
    void assign(const unsigned char* data, unsigned long size);
    /// Sets the size. Growing allocates exactly `size` bytes and keeps the old ones; the new tail is not initialised:
    /// write it before anything reads it. Shrinking keeps the buffer. Throws std::bad_alloc, with the blob unchanged.
    void resize_to(unsigned long size);
    /// Exchanges the contents; pointers from pbData() then belong to the other blob.
    void swap(CBlob& other) noexcept;
    /// Reverses the bytes in place, as between a big-endian serial number and a little-endian integer.
    void reverse() noexcept;
    /// Appends the bytes of `other`. A blob appended to itself doubles its size but does not repeat its content: the
    /// new half is of no use until it is written.
    CBlob& operator+=(const CBlob& other);
    /// Sets the size to 0 and nothing else: the buffer is kept, and its bytes are not overwritten. Not a way to erase
    /// secrets.
    void clear() noexcept { cbData_ = 0; }

    /// Replaces the content by that of a whole file; an empty file gives an empty blob with a null pointer. Throws
    /// ATL::CAtlException: 0x80070002 if the file cannot be opened and 0x80070570 if it cannot be read (one of 4 GiB or
    /// more cannot), the blob then being empty; the wide form, which takes the path in code page 0, also the converted
    /// last error of the conversion, the blob then being unchanged.
    void readFromFile(const char* path);
    void readFromFile(const wchar_t* path);
    /// Writes the content to a file, which is truncated or made with the permissions of the umask. Throws as
    /// readFromFile when the path cannot be converted, and 0x80070002 when the file cannot be opened. A write that
    /// fails later is not reported.
    void writeToFile(const char* path) const;
    void writeToFile(const wchar_t* path) const;

    /// Replaces the content by the bytes named in `text`, two hexadecimal digits of either case a byte. White space may
    /// appear before and between the pairs, not inside one. Reading stops without an error at the first other
    /// character: what was read so far is kept, and a single last digit is dropped. Not null.
    void readFromHexString(const char* text);
    /// The content in upper-case hexadecimal digits. With `group` above 0 a blank is written before every byte whose
    /// index is a non-zero multiple of it.
    [[nodiscard]] CStringProxy writeToHexString(unsigned long group) const;

private:
    // This order and nothing else: the size, then the pointer. The array form of the allocator owns the bytes.
    unsigned long cbData_ = 0;
    std::unique_ptr<unsigned char[]> pbData_;
};

/// Equal when the sizes are equal and the bytes match; two empty blobs are equal whatever their pointers are.
[[nodiscard]] TALLOW_EXPORT bool operator==(const CBlob& left, const CBlob& right) noexcept;
/// Lexicographic, bytes unsigned, a shorter blob before its extensions. (Of two blobs where one continues the other,
/// the difference of the sizes decides as a signed 32-bit number; the order is reversed when one is 2 GiB longer.)
[[nodiscard]] TALLOW_EXPORT bool operator<(const CBlob& left, const CBlob& right) noexcept;
[[nodiscard]] TALLOW_EXPORT bool operator<=(const CBlob& left, const CBlob& right) noexcept;
[[nodiscard]] TALLOW_EXPORT bool operator>(const CBlob& left, const CBlob& right) noexcept;
[[nodiscard]] TALLOW_EXPORT bool operator>=(const CBlob& left, const CBlob& right) noexcept;

/// A list of blobs, in the order in which they were appended.
class TALLOW_EXPORT CBlobList : public std::list<CBlob> {
public:
    using std::list<CBlob>::list;
};

}  // namespace Orvane
