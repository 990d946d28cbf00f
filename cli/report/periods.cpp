#include "cli/report/periods.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "checker/text/times.h"
#include "cli/evidence_text.h"
#include "foundation/date_time.h"

namespace tallow::cli {

namespace {

using Orvane::CDateTime;

// What CDateTime cannot express, before 1601 and after 30827, becomes its first or last second.
CDateTime dateOf(Seconds time) {
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;  // on the scale of CDateTime
    constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max() / kTicksPerSecond;
    const std::int64_t seconds = time.time_since_epoch().count();
    return CDateTime::fromTicks((std::clamp(seconds, -kSecondsTo1970, kLast - kSecondsTo1970) + kSecondsTo1970) *
                                kTicksPerSecond);
}

// "2026-01-02T03:04:05Z"
std::string exactText(Seconds time) {
    const CDateTime date = dateOf(time);
    return text::iso8601(&date);
}

std::optional<Seconds> secondsOf(const std::optional<Time>& time) {
    constexpr Seconds kWithoutEnd(std::chrono::seconds(253'402'300'799));  // 9999-12-31T23:59:59Z
    if (!time) {
        return std::nullopt;
    }
    return timeText(time).starts_with("9999-") ? kWithoutEnd : std::chrono::floor<std::chrono::seconds>(*time);
}

void addCrls(std::vector<Period>& periods, const std::vector<ChainLink>& chain) {
    for (const ChainLink& link : chain) {
        // An issuer may have several, for parts of its certificates.
        const Period crl{"CRL of " + link.crlIssuer, secondsOf(link.crlThisUpdate), secondsOf(link.crlNextUpdate)};
        const bool isNew = std::none_of(periods.begin(), periods.end(), [&](const Period& other) {
            return other.what == crl.what && other.from == crl.from && other.until == crl.until;
        });
        if (!link.crlIssuer.empty() && isNew) {
            periods.push_back(crl);
        }
    }
}

struct Tick {
    std::int64_t seconds;
    Markup label;
};
constexpr Tick kTicks[] = {{3600, "1 h"},        {86400, "1 d"},         {30 * 86400, "30 d"},
                           {365 * 86400, "1 y"}, {3650 * 86400, "10 y"}, {100LL * 365 * 86400, "100 y"}};

// Where a time is drawn: now is in the middle.
class Scale {
public:
    Scale(const std::vector<Period>& periods, Seconds now) : now_(now) {
        for (const Period& period : periods) {
            for (const std::optional<Seconds>& time : {period.from, period.until}) {
                widest_ = time ? std::max(widest_, std::abs((*time - now).count())) : widest_;
            }
        }
        widest_ = std::min(widest_, std::end(kTicks)[-1].seconds);
    }
    double at(Seconds time) const {
        const double distance = static_cast<double>((time - now_).count());
        const double length = lengthOf(std::abs(distance)) / lengthOf(static_cast<double>(widest_));
        return kMiddle + std::copysign(std::min(length, 1.0), distance) * (kMiddle - kMargin);
    }
    bool reaches(std::int64_t seconds) const { return seconds <= widest_; }

private:
    static constexpr double kMiddle = 50;
    static constexpr double kMargin = 2;
    static double lengthOf(double seconds) {
        constexpr double kSmallest = 60;
        return std::log10(1 + seconds / kSmallest);
    }
    const Seconds now_;
    std::int64_t widest_ = kTicks[1].seconds;
};

void addAxis(HtmlWriter& html, const Scale& scale, Seconds now) {
    html.raw("<svg class=\"axis\" aria-hidden=\"true\"><text x=\"50%\" y=\"12\">now</text>");
    for (const Tick& tick : kTicks) {
        if (scale.reaches(tick.seconds)) {
            for (const int sign : {-1, 1}) {
                html.raw("<text x=\"").percent(scale.at(now + std::chrono::seconds(sign * tick.seconds)));
                html.raw("\" y=\"12\">").raw(sign < 0 ? Markup("−") : Markup("+")).raw(tick.label).raw("</text>");
            }
        }
    }
    html.raw("</svg>");
}

enum class State { kCurrent, kOver, kFuture, kNever };

State stateOf(const Period& period, Seconds now) {
    if (period.from && period.until && *period.until < *period.from) {
        return State::kNever;
    }
    return period.from && now < *period.from     ? State::kFuture
           : period.until && *period.until < now ? State::kOver
                                                 : State::kCurrent;
}

void addState(HtmlWriter& html, const Period& period, State state, Seconds now) {
    switch (state) {
        case State::kNever:
            html.raw("<span class=\"past\">never valid</span>");
            break;
        case State::kOver:
            html.raw("<span class=\"past\">expired ").text(spanText(now - *period.until)).raw(" before</span>");
            break;
        case State::kFuture:
            html.raw("<span class=\"past\">begins ").text(spanText(*period.from - now)).raw(" later</span>");
            break;
        case State::kCurrent:
            if (period.until) {
                html.text(spanText(*period.until - now)).raw(" left");
            } else {
                html.raw("no end stated");
            }
    }
}

void addBar(HtmlWriter& html, const Period& period, State state, const Scale& scale) {
    html.raw("<svg class=\"bar\" aria-hidden=\"true\">");
    if (state != State::kNever) {
        const double from = period.from ? scale.at(*period.from) : 0;
        const double until = period.until ? scale.at(*period.until) : 100;
        constexpr double kNarrowest = 0.6;
        html.raw("<rect x=\"").percent(from).raw("\" width=\"").percent(std::max(until - from, kNarrowest));
        html.raw("\" height=\"10\" y=\"3\"").raw(state == State::kCurrent ? Markup("/>") : Markup(" class=\"past\"/>"));
    }
    html.raw("</svg>");
}

}  // namespace

std::vector<Period> periodsOf(const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    const Bytes& issuer = verdict.evidence.issuerCertificate;
    std::vector<Period> periods;
    if (result.start || result.expiry) {
        periods.push_back({"certificate", result.start, result.expiry});
    }
    if (!issuer.empty()) {
        periods.push_back({"certificate of the issuer", startOf(issuer), expiryOf(issuer)});
    }
    if (hasAnswer(verdict)) {
        if (!verdict.signerCertificate.empty() && verdict.signerCertificate != issuer) {
            periods.push_back({"certificate of the responder", startOf(verdict.signerCertificate),
                               expiryOf(verdict.signerCertificate)});
        }
        periods.push_back({"response", secondsOf(verdict.thisUpdate), secondsOf(verdict.nextUpdate)});
    }
    addCrls(periods, verdict.evidence.signerChain);
    addCrls(periods, verdict.evidence.certificateChain);
    return periods;
}

void addTimeline(HtmlWriter& html, const std::vector<Period>& periods, Seconds now) {
    if (periods.empty()) {
        return;
    }
    const Scale scale(periods, now);
    html.raw("<table class=\"times\"><thead><tr><th scope=\"col\">Validity</th><th scope=\"col\">At the check, ");
    addTime(html, now);
    html.raw("</th><th scope=\"col\">From (UTC)</th><th scope=\"col\">Until (UTC)</th><th scope=\"col\">");
    html.raw("<span class=\"unseen\">Drawn around the time of the check, on a logarithmic scale</span>");
    addAxis(html, scale, now);
    html.raw("</th></tr></thead><tbody>");
    for (const Period& period : periods) {
        const State state = stateOf(period, now);
        html.raw("<tr><th scope=\"row\"><span>").text(period.what).raw("</span></th><td>");
        addState(html, period, state, now);
        for (const std::optional<Seconds>& time : {period.from, period.until}) {
            html.raw("</td><td>");
            if (time) {
                addTime(html, *time);
            }
        }
        html.raw("</td><td>");
        addBar(html, period, state, scale);
        html.raw("</td></tr>");
    }
    html.raw("</tbody></table>");
}

void addTime(HtmlWriter& html, Seconds time) {
    const std::string exact = exactText(time);
    constexpr std::size_t kSecondsAndZone = 4;  // ":05Z"
    std::string shown = exact.substr(0, exact.size() - kSecondsAndZone);
    std::replace(shown.begin(), shown.end(), 'T', ' ');
    html.raw("<time datetime=\"").text(exact).raw("\">").text(shown).raw("</time>");
}

}  // namespace tallow::cli
