// HTML in which untrusted text cannot become markup.
//
//   HtmlWriter html;
//   html.raw("<td>").text(result.subject).raw("</td>");
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tallow::cli {

// Clang before 15 destroys temporaries at the wrong place beside a consteval constructor. What is wrong with a call is
// then found by the other compilers.
#if defined(__clang__) && __clang_major__ < 15
#define TALLOW_CONSTEVAL constexpr
#else
#define TALLOW_CONSTEVAL consteval
#endif

/// Markup from the source of the program: it can only be made while this is compiled.
class Markup {
public:
    TALLOW_CONSTEVAL Markup(const char* text) : text_(text) {}  // NOLINT(google-explicit-constructor)
    [[nodiscard]] constexpr std::string_view text() const { return text_; }

private:
    std::string_view text_;
};

/// Collects a piece of HTML. Everything that is not a literal is escaped.
class HtmlWriter {
public:
    HtmlWriter& raw(Markup markup);
    /// Text of any origin, as content or as a quoted value of an attribute: one line without control characters,
    /// bidirectional control characters or invalid UTF-8 (text::safeLine), and without markup.
    HtmlWriter& text(std::string_view text);
    HtmlWriter& number(std::uint64_t number);
    /// A position such as "12.5%"; outside of 0 to 100 the nearer end.
    HtmlWriter& percent(double value);
    /// What another writer collected.
    HtmlWriter& add(const HtmlWriter& other);

    [[nodiscard]] const std::string& html() const { return html_; }
    /// The same, which this object then no longer has.
    [[nodiscard]] std::string take() { return std::exchange(html_, {}); }
    /// Room for this many octets, so that a large page is not copied while it grows.
    void reserve(std::size_t size) { html_.reserve(size); }

private:
    std::string html_;
};

}  // namespace tallow::cli
