#include "cli/option_values.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

namespace tallow::cli {

namespace {

using std::chrono::seconds;

// The number that is the whole text.
std::optional<std::int64_t> numberFrom(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

// The number that begins the text and consists of `size` digits, which are removed.
std::optional<int> takeDigits(std::string_view& text, std::size_t size) {
    const std::string_view digits = text.substr(0, size);
    if (digits.size() != size ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    text.remove_prefix(size);
    return static_cast<int>(*numberFrom(digits));
}

bool take(std::string_view& text, std::string_view wanted) {
    const bool isThere = !text.empty() && wanted.find(text.front()) != std::string_view::npos;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

// "10:00:00Z", what follows a date.
std::optional<seconds> timeOfDay(std::string_view text) {
    const int kNone = 99;
    const auto next = [&text, kNone](bool isExpected) {
        return isExpected ? takeDigits(text, 2).value_or(kNone) : kNone;
    };
    const int hour = next(true);
    const int minute = next(take(text, ":"));
    const int second = next(take(text, ":"));
    take(text, "Zz");
    if (hour > 23 || minute > 59 || second > 59 || !text.empty()) {
        return std::nullopt;
    }
    return std::chrono::hours(hour) + std::chrono::minutes(minute) + seconds(second);
}

std::optional<Time> representable(seconds since1970) {
    constexpr auto kFirst = std::chrono::ceil<seconds>(Time::min().time_since_epoch());
    constexpr auto kLast = std::chrono::floor<seconds>(Time::max().time_since_epoch());
    const bool isRepresentable = since1970 >= kFirst && since1970 <= kLast;
    return isRepresentable ? std::optional(Time(since1970)) : std::nullopt;
}

}  // namespace

std::optional<seconds> durationFrom(const std::string& text) {
    constexpr std::pair<char, std::int64_t> kUnits[] = {
        {'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', std::int64_t{7} * 86400}};
    constexpr std::int64_t kLongest = std::int64_t{100} * 366 * 86400;
    std::string_view digits = text;
    std::int64_t unit = 1;
    for (const auto& [letter, length] : kUnits) {
        if (digits.ends_with(letter)) {
            unit = length;
            digits.remove_suffix(1);
            break;
        }
    }
    const std::optional<std::int64_t> number = numberFrom(digits);
    return number && *number > 0 && *number <= kLongest / unit ? std::optional(seconds(*number * unit)) : std::nullopt;
}

std::optional<unsigned> countFrom(const std::string& text, unsigned most) {
    const std::optional<std::int64_t> number = numberFrom(text);
    return number && *number >= 1 && *number <= most ? std::optional(static_cast<unsigned>(*number)) : std::nullopt;
}

std::optional<std::chrono::milliseconds> timeoutFrom(const std::string& text) {
    constexpr std::int64_t kMs = 1000;
    constexpr std::int64_t kLongest = 86400 * kMs;
    const std::string_view all = text;
    const std::size_t point = std::min(all.find('.'), all.size());
    std::string decimals(all.substr(std::min(point + 1, all.size())));
    if (all.starts_with('-') || decimals.size() > 3 || (point < all.size() && decimals.empty())) {
        return std::nullopt;
    }
    decimals.resize(3, '0');
    const std::optional<std::int64_t> whole = numberFrom(all.substr(0, point));
    const std::optional<std::int64_t> fraction = numberFrom(decimals);
    if (!whole || !fraction || *fraction < 0 || *whole > kLongest / kMs) {
        return std::nullopt;
    }
    const std::int64_t ms = *whole * kMs + *fraction;
    return ms > 0 && ms <= kLongest ? std::optional(std::chrono::milliseconds(ms)) : std::nullopt;
}

std::optional<Time> timeFrom(const std::string& text) {
    std::string_view rest = text;
    if (take(rest, "@")) {
        const std::optional<std::int64_t> number = numberFrom(rest);
        return number ? representable(seconds(*number)) : std::nullopt;
    }
    const std::optional<int> year = takeDigits(rest, 4);
    const std::optional<int> month = take(rest, "-") ? takeDigits(rest, 2) : std::nullopt;
    const std::optional<int> day = take(rest, "-") ? takeDigits(rest, 2) : std::nullopt;
    if (!year || !month || !day) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    std::optional<seconds> ofDay = seconds(0);
    if (!rest.empty()) {
        ofDay = take(rest, "Tt ") ? timeOfDay(rest) : std::nullopt;
    }
    return date.ok() && ofDay ? representable(std::chrono::sys_days(date).time_since_epoch() + *ofDay) : std::nullopt;
}

std::optional<Nonce> nonceFrom(const std::string& text) {
    constexpr std::pair<std::string_view, Nonce> kWords[] = {
        {"require", Nonce::kRequire}, {"try", Nonce::kTry}, {"off", Nonce::kOff}};
    for (const auto& [word, nonce] : kWords) {
        if (text == word) {
            return nonce;
        }
    }
    return std::nullopt;
}

}  // namespace tallow::cli
