#include "cli/report/report_page.h"

#include <numeric>

#include "cli/monitor.h"
#include "cli/options.h"
#include "cli/report/periods.h"
#include "cli/report/report_assets.h"

#ifndef TALLOW_VERSION
#define TALLOW_VERSION "unknown"
#endif

namespace tallow::cli {

namespace {

std::size_t countOf(const ReportSummary& summary, Mark mark) {
    return summary.counts[static_cast<std::size_t>(mark)];
}

// The worst that applies decides how the summary looks.
Mark worstOf(const ReportSummary& summary) {
    for (std::size_t i = 0; i < kNumMarks; ++i) {
        if (summary.counts[i] != 0 && static_cast<Mark>(i) != Mark::kGood) {
            return static_cast<Mark>(i);
        }
    }
    return summary.numAll() == 0 || !summary.run.mistake.empty() || summary.run.exitStatus != kExitGood
               ? Mark::kUnproven
               : Mark::kGood;
}

void addHead(HtmlWriter& html, const ReportSummary& summary) {
    html.raw("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n");
    html.raw("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'sha256-");
    html.raw(kStyleHash).raw("'; script-src 'sha256-").raw(kScriptHash);
    html.raw("'; base-uri 'none'; form-action 'none'\">\n");
    html.raw("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
    html.raw("<meta name=\"referrer\" content=\"no-referrer\"><meta name=\"robots\" content=\"noindex\">\n");
    html.raw("<meta name=\"color-scheme\" content=\"light dark\">\n<title>OCSP report: ");
    html.number(countOf(summary, Mark::kGood)).raw(" of ").number(summary.numAll()).raw(" good");
    html.raw(summary.run.mistake.empty() ? Markup("") : Markup(", not complete")).raw("</title>\n<style>");
    html.raw(kStyle).raw("</style></head>\n");
}

void addSentence(HtmlWriter& html, std::size_t count, std::size_t numAll, Markup one, Markup several) {
    if (count != 0) {
        html.raw("<li>").number(count).raw(" of ").number(numAll).raw(numAll == 1 ? Markup(" certificate ")
                                                                                  : Markup(" certificates "));
        html.raw(count == 1 ? one : several).raw("</li>");
    }
}

Markup meaningOf(const ReportSummary& summary) {
    if (summary.run.isMonitoring) {
        switch (static_cast<MonitorState>(summary.run.exitStatus)) {
            case MonitorState::kOk:
                return "OK";
            case MonitorState::kWarning:
                return "warning";
            case MonitorState::kCritical:
                return "critical";
            case MonitorState::kUnknown:
                break;
        }
        return "unknown";
    }
    switch (summary.run.exitStatus) {
        case kExitGood:
            return "all are good";
        case kExitRevoked:
            return "at least one is revoked";
        case kExitUnknown:
            return "at least one is unknown";
        default:
            return "at least one has no verified answer, or a file could not be written";
    }
}

// In words, from the worst on.
void addFindings(HtmlWriter& html, const ReportSummary& summary) {
    const std::size_t numAll = summary.numAll();
    html.raw("<ul class=\"findings\">");
    if (!summary.run.mistake.empty()) {
        html.raw("<li>The run is not complete: ").text(summary.run.mistake).raw("</li>");
    }
    if (numAll == 0) {
        html.raw("<li>Nothing was checked</li>");
    }
    addSentence(html, countOf(summary, Mark::kRevoked), numAll, "is revoked", "are revoked");
    addSentence(html, countOf(summary, Mark::kUnproven), numAll,
                "is not proven good: it has no verified answer, or its "
                "chain is not valid",
                "are not proven good: they have no verified answer, or their chain is not valid");
    addSentence(html, countOf(summary, Mark::kUnknown), numAll, "is unknown to its responder",
                "are unknown to their responders");
    addSentence(html, countOf(summary, Mark::kFlawed), numAll, "is good, but has another problem",
                "are good, but have another problem");
    if (worstOf(summary) == Mark::kGood) {
        html.raw(numAll == 1 ? Markup("<li>The certificate is good</li>")
                             : Markup("<li>All certificates are good</li>"));
    } else if (countOf(summary, Mark::kGood) == numAll && summary.run.mistake.empty() && numAll != 0) {
        html.raw("<li>Every certificate is good, but ");
        if (summary.run.isMonitoring) {
            html.raw("the state of the monitoring is ").raw(meaningOf(summary));
            html.raw(": something expires soon, or a result could not be written</li>");
        } else {
            html.raw("a result could not be written</li>");
        }
    }
    html.raw("</ul>");
}

void addCounts(HtmlWriter& html, const ReportSummary& summary) {
    constexpr Markup kNames[] = {"revoked", "not proven", "unknown", "good, but", "good"};
    html.raw("<dl class=\"counts\">");
    for (std::size_t i = kNumMarks; i-- > 0;) {
        const auto mark = static_cast<Mark>(i);
        if (mark != Mark::kFlawed || summary.counts[i] != 0) {
            html.raw("<div><dt><span class=\"mark ").raw(classOf(mark)).raw("\">").raw(kNames[i]);
            html.raw("</span></dt><dd>").number(summary.counts[i]).raw("</dd></div>");
        }
    }
    html.raw("<div><dt>all</dt><dd>").number(summary.numAll()).raw("</dd></div></dl>");
}

void addEarliest(HtmlWriter& html, Markup name, const std::optional<Seconds>& time, Seconds now) {
    if (time) {
        html.raw("<div><dt>").raw(name).raw("</dt><dd>");
        addTime(html, *time);
        html.raw(" UTC").raw(*time < now ? Markup(" <span class=\"past\">expired</span>") : Markup(""));
        html.raw("</dd></div>");
    }
}

void addRun(HtmlWriter& html, const ReportSummary& summary) {
    html.raw("<dl class=\"run\"><div><dt>Checked</dt><dd>");
    addTime(html, summary.run.begin);
    if (std::chrono::floor<std::chrono::minutes>(summary.run.begin) !=
        std::chrono::floor<std::chrono::minutes>(summary.run.end)) {
        html.raw(" to ");
        addTime(html, summary.run.end);
    }
    html.raw(" UTC</dd></div><div><dt>Exit status</dt><dd>").number(static_cast<std::uint64_t>(summary.run.exitStatus));
    html.raw(": ").raw(meaningOf(summary)).raw("</dd></div>");
    addEarliest(html, "First response to expire", summary.nextUpdate, summary.run.end);
    addEarliest(html, "First certificate to expire", summary.nextExpiry, summary.run.end);
    html.raw("<div><dt>Made by</dt><dd>tallow " TALLOW_VERSION "</dd></div></dl>");
}

}  // namespace

std::size_t ReportSummary::numAll() const {
    return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}

void addPageBegin(HtmlWriter& html, const ReportSummary& summary) {
    addHead(html, summary);
    html.raw("<body><header><h1>Certificate status report</h1>\n<div class=\"summary ").raw(classOf(worstOf(summary)));
    html.raw("\">");
    addFindings(html, summary);
    addCounts(html, summary);
    html.raw("</div>\n");
    addRun(html, summary);
    html.raw(
        "<p>Each status is that of the time of its check: look at <b>Response valid until</b>. Good means that a "
        "verified response of the issuer's responder says so.</p>");
    if (summary.numNotShown != 0) {
        html.raw("<p class=\"notice\">").number(summary.numNotShown);
        html.raw(summary.numNotShown == 1 ? Markup(" certificate is counted above but has no row")
                                          : Markup(" certificates are counted above but have no row"));
        html.raw(", since the page would be too large.</p>");
    }
    html.raw("</header>\n<main><h2 id=\"certificates\">Certificates</h2>\n<form id=\"tools\" role=\"search\" hidden>");
    html.raw("<label>Text <input type=\"search\" id=\"text\" autocomplete=\"off\" spellcheck=\"false\"></label>");
    html.raw("<label>Status <select id=\"status\"><option value=\"\">all</option><option value=\"-good\">all but good");
    html.raw("</option><option value=\"good\">good</option><option value=\"revoked\">revoked</option>");
    html.raw("<option value=\"unknown\">unknown</option><option value=\"unproven\">not proven</option>");
    html.raw("<option value=\"flawed\">good, but</option></select></label>");
    html.raw("<button type=\"button\" id=\"open\">Open all details</button>");
    html.raw("<button type=\"button\" id=\"close\">Close all details</button>");
    html.raw("<output id=\"shown\" aria-live=\"polite\"></output></form>\n");
    html.raw("<table class=\"list\" role=\"table\" aria-labelledby=\"certificates\">");
    html.raw("<thead role=\"rowgroup\"><tr role=\"row\">");
    for (const Markup name : {Markup("No."), Markup("Status"), Markup("File"), Markup("Subject"), Markup("Responder"),
                              Markup("Response valid until"), Markup("Certificate valid until")}) {
        html.raw("<th scope=\"col\" role=\"columnheader\">").raw(name).raw("</th>");
    }
    html.raw("</tr></thead>\n");
}

void addPageEnd(HtmlWriter& html) {
    html.raw("</table><p id=\"none\" hidden>No certificate fits the filter.</p></main>\n<script>").raw(kScript);
    html.raw("</script></body></html>\n");
}

}  // namespace tallow::cli
