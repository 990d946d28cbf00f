#include "cli/report/certificate_rows.h"

#include "cli/evidence_text.h"
#include "cli/evidence_words.h"
#include "cli/report/chain_diagram.h"
#include "cli/report/mark.h"
#include "cli/report/periods.h"

namespace tallow::cli {

namespace {

void addCell(HtmlWriter& html, const std::string& text) {
    html.raw("<td role=\"cell\">").text(text).raw("</td>");
}

// A time that has passed says so, and a period that has not begun.
void addDeadline(HtmlWriter& html, const std::optional<Seconds>& start, const std::optional<Seconds>& time,
                 Seconds now) {
    html.raw("<td role=\"cell\">");
    if (time) {
        addTime(html, *time);
        if (*time < now) {
            html.raw(" <span class=\"past\">expired</span>");
        } else if (start && now < *start) {
            html.raw(" <span class=\"past\">not yet valid</span>");
        }
    }
    html.raw("</td>");
}

void addFact(HtmlWriter& html, Markup name, const std::string& value) {
    if (!value.empty()) {
        html.raw("<div><dt>").raw(name).raw("</dt><dd>").text(value).raw("</dd></div>");
    }
}

void addFacts(HtmlWriter& html, const CheckResult& result) {
    html.raw("<dl>");
    html.raw("<div><dt>Serial number</dt><dd class=\"serial\">").text(result.serial).raw("</dd></div>");
    addFact(html, "Revoked at", result.revocationTime);
    addFact(html, "Reason", result.revocationReason);
    addFact(html, "Produced at", result.producedAt);
    if (const std::optional<SentRequest> sent = sentRequestOf(result.verdict)) {
        addFact(html, "Nonce sent", sent->nonce.empty() ? "none" : sent->nonce);
        addFact(html, "Hash in the request", sent->hashOid);
    }
    if (result.staple) {
        addFact(html, "Staple",
                result.staple->state + (result.staple->isRequired ? ", required by the certificate" : ""));
    }
    html.raw("</dl>");
}

// A heading and lines; nothing without lines.
class List {
public:
    List(HtmlWriter& html, Markup heading) : html_(html), heading_(heading) {}
    ~List() {
        if (isOpen_) {
            html_.raw("</ul>");
        }
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    void add(Markup tone, const std::string& line) {
        if (!isOpen_) {
            html_.raw("<h4>").raw(heading_).raw("</h4><ul>");
            isOpen_ = true;
        }
        html_.raw("<li").raw(tone).raw(">").text(line).raw("</li>");
    }

private:
    HtmlWriter& html_;
    const Markup heading_;
    bool isOpen_ = false;
};

void addLists(HtmlWriter& html, const CheckResult& result) {
    constexpr Markup kBad = " class=\"bad\"";
    {
        List asked(html, "Responders asked");
        for (const Attempt& attempt : result.verdict.attempts) {
            asked.add(attempt.status == 0 || attempt.isRedirect ? Markup("") : kBad, attemptText(attempt));
        }
    }
    {
        List downloads(html, "Downloads");
        for (const Download& download : result.verdict.evidence.downloads) {
            downloads.add(download.status == 0 ? Markup("") : kBad, downloadText(download));
        }
    }
    if (hasAnswer(result.verdict)) {
        List unchecked(html, "Not checked");
        for (const std::string& what : uncheckedOf(result)) {
            unchecked.add("", what);
        }
    }
}

}  // namespace

void addCertificateRows(HtmlWriter& html, const CheckResult& result, Seconds now) {
    const Mark mark = markOf(result);
    const std::string reason = reasonOf(result);
    html.raw("<td role=\"cell\" data-key=\"").number(static_cast<std::uint64_t>(mark)).raw("\"><span class=\"mark ");
    html.raw(classOf(mark)).raw("\">").text(labelOf(result)).raw("</span></td>");
    html.raw("<td role=\"cell\">").text(result.file);
    if (result.line != 0) {
        html.raw("<span class=\"line\">line ").number(result.line).raw("</span>");
    }
    html.raw("</td>");
    addCell(html, result.subject);
    addCell(html, result.responder);
    const Deadlines deadlines = deadlinesOf(result);
    addDeadline(html, std::nullopt, deadlines.nextUpdate, now);
    addDeadline(html, result.start, deadlines.certificate, now);
    html.raw("</tr><tr role=\"row\"><td role=\"cell\" colspan=\"7\"><details><summary>Details");
    html.raw("<span class=\"unseen\"> of ").text(result.file).raw("</span>");
    if (!reason.empty()) {
        html.raw(": <span>").text(reason).raw("</span>");
    }
    html.raw("</summary>");
    addSteps(html, result);
    addDiagram(html, result);
    addTimeline(html, periodsOf(result), now);
    addFacts(html, result);
    addLists(html, result);
    html.raw("</details></td></tr>");
}

}  // namespace tallow::cli
