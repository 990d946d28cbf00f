// The four kinds of administrator setting. Each reads its key once, when Load runs, and is a plain value afterwards; a
// later change in the settings store is not seen.
//
//   wchar_t name[] = L"ocsppolicy", *section = name, *reserved = nullptr;
//   CGPLong length;
//   length.Load(reserved, section, L"NonceLength", 8);    // 8 when the key is absent
//
// A key is "\config\cades\<section>\<name>". Every Load takes the same first arguments: `reserved`, which is passed as
// null and not read, `section`, in practice "ocsppolicy", and the key's `name`. The whole path, converted to code page
// 0 and terminated, must fit 100 octets: if not, the last error of the conversion is thrown unconverted. Only
// ATL::CAtlException is thrown. An absent key is no failure.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "export.h"

namespace Orvane::PKI {

/// A text setting.
class TALLOW_EXPORT CGPString {
public:
    /// Leaves the value as it was when the key is absent. Throws the store's result when a key that is there cannot be
    /// read, and the last error when its text cannot be converted.
    void Load(wchar_t*& reserved, wchar_t*& section, const wchar_t* name);

    /// The value as text; both stay valid until the next Load or the end of the object.
    [[nodiscard]] const std::wstring& value() const noexcept { return value_; }
    [[nodiscard]] const wchar_t* c_str() const noexcept { return value_.c_str(); }
    [[nodiscard]] bool empty() const noexcept { return value_.empty(); }

private:
    std::wstring value_;
};

/// A whole number. A key that cannot be read as a number counts as absent; the range is not checked.
class TALLOW_EXPORT CGPLong {
public:
    /// Takes `defaultValue` when the key is absent. Throws only for the path.
    void Load(wchar_t*& reserved, wchar_t*& section, const wchar_t* name, long defaultValue);

    operator long() const noexcept { return value_; }  // NOLINT(google-explicit-constructor): it is a number

private:
    long value_ = 0;
};

/// A switch. In the file an integer counts as a switch too: 0 is false.
class TALLOW_EXPORT CGPBool {
public:
    /// Takes `defaultValue` when the key is absent or is no switch. Throws only for the path.
    void Load(wchar_t*& reserved, wchar_t*& section, const wchar_t* name, bool defaultValue);

    operator bool() const noexcept { return value_; }  // NOLINT(google-explicit-constructor): it is a switch

private:
    bool value_ = false;
};

/// A set of texts. setted() distinguishes an empty list from one that was never configured.
class TALLOW_EXPORT CGPStrings {
public:
    using Set = std::set<std::wstring, std::less<>>;

    /// `partnerName` is part of the interface and not read: a configuration that sets only the partner key has no
    /// effect. With `normalize`, blanks are removed from each element and its letters made upper case, so that a
    /// thumbprint may be written with blanks, or in lower case. An absent key empties the set. Throws as
    /// CGPString::Load.
    void Load(wchar_t*& reserved, wchar_t*& section, const wchar_t* name, const wchar_t* partnerName, bool normalize);

    /// Whether the key itself was found and read.
    [[nodiscard]] bool setted() const noexcept { return Setted; }
    /// Whether `value`, which must not be null, is in the set, by exact comparison of whole texts.
    [[nodiscard]] bool Find(const wchar_t* value) const;
    /// All elements, sorted by code units.
    [[nodiscard]] const Set& values() const noexcept { return values_; }

private:
    Set values_;
    bool Setted = false;
};

}  // namespace Orvane::PKI
