// UTF-8 and strings of wide characters. A wide character is 32 bits. The old form of UTF-8 is read and written: up to
// six octets for values up to 0x7FFFFFFF, without a check on surrogates or on overlong forms, so the result is no proof
// of well-formed Unicode. Do not compare names only by it.
//
//   const int count = rtUTF8ToWCS(nullptr, text, nullptr, 0);           // measure; negative for malformed text
//   if (count < 0) ...
//   std::wstring wide(count, L'\0');
//   if (rtUTF8ToWCS(nullptr, text, wide.data(), count) < 0) ...         // without a NUL: the room is used up
//
// Statuses are returned only, never recorded in the context, which may be null for all but rtUTF8Strdup, rtCToUCSString
// and rtWCSToUCSString.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/types.h"
#include "export.h"

static_assert(sizeof(wchar_t) == 4, "characters are converted one for one");

/// The characters a filtering conversion keeps: those from `lowest` to `highest` that are in the list, or all of them
/// when the list is empty.
struct RtCharacterSet {
    std::uint32_t count = 0;                    // entries of `characters`
    const std::uint32_t* characters = nullptr;  // not owned
    std::uint32_t lowest = 0;
    std::uint32_t highest = 0xFFFFFFFFU;
};

extern "C" {

/// The octets that `character` takes, 1 to 6. A negative character, which cannot be written, counts as 6.
TALLOW_EXPORT int rtUTF8CharSize(std::int32_t character) noexcept;

/// Writes one character without a NUL. Returns its octets, or, with nothing written, -1 when they exceed `capacity` (in
/// octets), STATUS_BAD_UTF8 for a negative character or a null destination.
TALLOW_EXPORT int rtUTF8EncodeChar(std::int32_t character, std::uint8_t* destination, std::uint32_t capacity) noexcept;

/// Reads one character. `*size` is the octets available on entry and the octets used on return; 0 after an octet that
/// cannot lead. Returns the character, or STATUS_BAD_UTF8 for null arguments, an octet that cannot lead, a wrong
/// continuation, or too few octets.
TALLOW_EXPORT std::int32_t rtUTF8DecodeChar(ASN1CTXT* ctx, const std::uint8_t* text, std::uint32_t* size) noexcept;

/// The characters of NUL-terminated text, counted by lead octets; the continuation octets are not examined. Returns
/// STATUS_BAD_UTF8 at an octet that cannot lead, 0 for null.
TALLOW_EXPORT int rtUTF8Len(const char* text) noexcept;

/// The octets before the NUL; 0 for null.
TALLOW_EXPORT std::uint32_t rtUTF8LenBytes(const char* text) noexcept;

/// A copy in the type heap with its NUL, octet by octet; null when memory runs out, and for a null context. Null text
/// gives an empty copy.
TALLOW_EXPORT char* rtUTF8Strdup(ASN1CTXT* ctx, const char* text) noexcept;

/// Converts NUL-terminated text and returns the number of characters. A NUL follows them when there is room, so measure
/// and add one. `capacity` is in characters. A null `destination` counts only.
///
/// Returns -1 when characters are left over, STATUS_BAD_UTF8 for null text, an octet that cannot lead or a wrong
/// continuation; the characters before it have been written. A last sequence that the end of the text cuts short is
/// accepted with the bits it has.
TALLOW_EXPORT int rtUTF8ToWCS(ASN1CTXT* ctx, const char* text, wchar_t* destination, std::uint32_t capacity) noexcept;

/// Converts `count` characters and returns the octets written; no NUL is added. `capacity` is in octets. The last octet
/// of the destination is never used, so that a NUL always fits after the text: a character that would take it gives -1.
/// A negative character or a null pointer gives STATUS_BAD_UTF8. The characters before a failure have been written.
TALLOW_EXPORT int rtWCSToUTF8(ASN1CTXT* ctx, const wchar_t* source, std::uint32_t count, char* destination,
                              std::uint32_t capacity) noexcept;

/// Makes a string of 32-bit characters in the type heap, one from each octet of the text: this is Latin-1, not UTF-8.
/// With a constraint (it may be null), characters outside it are dropped. The string is empty for empty text and after
/// STATUS_NO_MEMORY. Returns 0, STATUS_BAD_ARGUMENT for null text or string, STATUS_NO_MEMORY.
[[nodiscard]] TALLOW_EXPORT int rtCToUCSString(ASN1CTXT* ctx, const char* text, ASN1T32BitCharStr* string,
                                               const RtCharacterSet* constraint) noexcept;
/// The same from NUL-terminated wide text.
[[nodiscard]] TALLOW_EXPORT int rtWCSToUCSString(ASN1CTXT* ctx, const wchar_t* text, ASN1T32BitCharStr* string,
                                                 const RtCharacterSet* constraint) noexcept;

/// Copies the characters below 0x10000 and drops the rest. `capacity` is in characters. Returns `destination`,
/// unchanged for a null string. It is closed with a NUL unless `capacity` characters were written.
TALLOW_EXPORT wchar_t* rtUCSToWCSString(const ASN1T32BitCharStr* string, wchar_t* destination,
                                        std::uint32_t capacity) noexcept;

}  // extern "C"
