// The string values of the interfaces of the value classes: an owning narrow string, an owning wide one, and a list of
// the first. Getters return text that lives as long as its holder and is never null.
//
//   CStringProxy name("ocsp");
//   std::puts(name.c_str());
//   const char* stale = makeProxy().c_str();       // wrong: the text is gone with the temporary
//
// Content is read up to its first NUL. Exhausted memory is reported by std::bad_alloc, with the object unchanged; moves
// do not throw.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "export.h"

namespace Orvane {

/// Owns one narrow, terminated string in UTF-8, which is not checked. Copies are deep. An object that was moved from
/// reads as the empty string.
class TALLOW_EXPORT CStringProxy {
public:
    /// Copies `text`; null gives the empty string.
    CStringProxy(const char* text);  // NOLINT(google-explicit-constructor): text is meant to convert
    /// Takes over `text` without copying its characters.
    explicit CStringProxy(std::string&& text);
    /// Copies; a source that was moved from gives an empty string.
    CStringProxy(const CStringProxy& other);
    CStringProxy(CStringProxy&& other) noexcept = default;
    /// Assigns the content to the string this object owns; pointers got from c_str() before are stale afterwards.
    CStringProxy& operator=(const CStringProxy& other);
    CStringProxy& operator=(CStringProxy&& other) noexcept = default;
    ~CStringProxy() = default;

    /// The text, terminated, never null; valid until this object is changed, moved from or destroyed.
    [[nodiscard]] const char* c_str() const noexcept { return text_ ? text_->c_str() : ""; }

private:
    std::unique_ptr<std::string> text_;
};

/// The same over wide characters. An element is 32 bits, so each character is one element, above U+FFFF too. Neither
/// form converts to the other.
class TALLOW_EXPORT CWStringProxy {
public:
    /// Copies `text`; null gives the empty string.
    CWStringProxy(const wchar_t* text);  // NOLINT(google-explicit-constructor): text is meant to convert
    /// Takes over `text` without copying its characters.
    explicit CWStringProxy(std::wstring&& text);
    CWStringProxy(const CWStringProxy& other);
    CWStringProxy(CWStringProxy&& other) noexcept = default;
    /// Assigns the content to the string this object owns; pointers got from c_str() before are stale afterwards.
    CWStringProxy& operator=(const CWStringProxy& other);
    CWStringProxy& operator=(CWStringProxy&& other) noexcept = default;
    ~CWStringProxy() = default;

    /// The text, terminated, never null; valid until this object is changed, moved from or destroyed.
    [[nodiscard]] const wchar_t* c_str() const noexcept { return text_ ? text_->c_str() : L""; }

private:
    std::unique_ptr<std::wstring> text_;
};

/// Narrow strings in the order in which they were appended, such as OIDs and addresses. Copies are deep. Iterators and
/// references behave as those of std::list.
class TALLOW_EXPORT CStringList : public std::list<CStringProxy> {
public:
    using std::list<CStringProxy>::list;
};

}  // namespace Orvane
