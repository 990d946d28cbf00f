#include "cli/report/chain_diagram.h"

#include <iterator>

#include "checker/text/status_text.h"
#include "cli/evidence_text.h"
#include "cli/evidence_words.h"
#include "cli/report/mark.h"

namespace tallow::cli {

namespace {

constexpr Markup kNeutral = "";
constexpr Markup kFine = " class=\"fine\"";
constexpr Markup kDoubtful = " class=\"doubtful\"";
constexpr Markup kBad = " class=\"bad\"";

// A box; more lines may be added until the next one.
class Box {
public:
    Box(HtmlWriter& html, Markup tone, Markup role) : html_(html) {
        html_.raw("<li").raw(tone).raw("><b>").raw(role).raw("</b>");
    }
    ~Box() { html_.raw("</li>"); }
    Box(const Box&) = delete;
    Box& operator=(const Box&) = delete;

    // Nothing for an empty text.
    Box& line(Markup label, const std::string& text) {
        if (!text.empty()) {
            html_.raw("<span>").raw(label).text(text).raw("</span>");
        }
        return *this;
    }
    Box& line(Markup text) {
        html_.raw("<span>").raw(text).raw("</span>");
        return *this;
    }

private:
    HtmlWriter& html_;
};

Markup toneOf(const ChainLink& link) {
    if (!link.fault.empty() || link.revocation == ChainLink::Revocation::kRevoked) {
        return kBad;
    }
    return link.revocation == ChainLink::Revocation::kGood      ? kFine
           : link.revocation == ChainLink::Revocation::kUnknown ? kDoubtful
                                                                : kNeutral;
}

void addLink(HtmlWriter& html, const ChainLink& link, Markup role) {
    Box box(html, toneOf(link), role);
    box.line("", link.subject);
    box.line("", link.notAfter ? "until " + timeText(link.notAfter) : std::string());
    box.line("revocation: ", nameOf(link.revocation));
    if (!link.crlIssuer.empty()) {
        box.line("CRL of ", (link.crlIssuer == link.issuer ? "the issuer" : link.crlIssuer) +
                                (link.crlThisUpdate ? ", from " + timeText(link.crlThisUpdate) : "") +
                                (link.crlNextUpdate ? ", until " + timeText(link.crlNextUpdate) : ", no nextUpdate"));
    }
    box.line("fault: ", link.fault);
}

// From the root down; the last one is added by the caller.
void addAuthorities(HtmlWriter& html, const std::vector<ChainLink>& chain) {
    for (std::size_t i = chain.size(); i-- > 1;) {
        addLink(html, chain[i], chain[i].subject == chain[i].issuer ? Markup("Root") : Markup("CA"));
    }
}

void addIssuer(HtmlWriter& html, const Evidence& evidence) {
    Box box(html, evidence.issuer.empty() ? kDoubtful : kNeutral, "Issuer");
    if (evidence.issuer.empty()) {
        box.line("not known");
    }
    box.line("", evidence.issuer).line("", whereFound(evidence.issuerSource));
}

void addCertificate(HtmlWriter& html, const CheckResult& result) {
    const std::vector<ChainLink>& chain = result.verdict.evidence.certificateChain;
    const Mark mark = markOf(result);
    Box box(html, mark == Mark::kGood ? kFine : mark == Mark::kRevoked ? kBad : kDoubtful, "Certificate");
    box.line("", result.subject.empty() ? result.file : result.subject).line("", labelOf(result));
    box.line("fault: ", chain.empty() ? std::string() : chain.front().fault);
    box.line("its chain: ", result.chain.empty() ? "not validated" : result.chain);
}

void addResponse(HtmlWriter& html, const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    Box box(html,
            verdict.answer == Answer::kRevoked ? kBad
            : verdict.answer == Answer::kGood  ? kFine
                                               : kDoubtful,
            "Response");
    box.line("says: ", verdict.answer == Answer::kUnproven ? std::string("good, but the chain is not valid")
                                                           : nameOf(result.state));
    box.line("from ", verdict.responder).line("accepted because ", whyAuthorised(verdict.authority));
    box.line("nonce: ", result.nonce);
}

void addNoResponse(HtmlWriter& html, const CheckResult& result) {
    Box box(html, kBad, "No verified response");
    box.line("stopped at: ", nameOf(result.verdict.reached));
    if (result.error) {
        box.line("", result.error->text).line("", text::codeText(result.error->code));
    }
}

}  // namespace

void addSteps(HtmlWriter& html, const CheckResult& result) {
    constexpr Markup kNames[] = {"input", "exchange", "decoding", "nonce", "signature", "signer", "entry", "chain"};
    static_assert(std::size(kNames) == static_cast<std::size_t>(Step::kProven));
    const auto reached = static_cast<std::size_t>(result.verdict.reached);
    html.raw("<ol class=\"steps\">");
    for (std::size_t step = 0; step < std::size(kNames); ++step) {
        const bool isChain = step == static_cast<std::size_t>(Step::kChain);
        if (isChain && result.chain.empty() && hasAnswer(result.verdict)) {
            html.raw("<li>chain: not asked for</li>");
        } else if (step == reached || (isChain && result.chain == "invalid")) {
            html.raw("<li class=\"bad\">").raw(kNames[step]).raw(": failed</li>");
        } else if (step < reached) {
            html.raw("<li class=\"fine\">").raw(kNames[step]).raw(": passed</li>");
        } else {
            html.raw("<li>").raw(kNames[step]).raw(": not reached</li>");
        }
    }
    html.raw("</ol>");
}

void addDiagram(HtmlWriter& html, const CheckResult& result) {
    const Evidence& evidence = result.verdict.evidence;
    html.raw("<div class=\"chains\"><div><h4>Certificate</h4><ol>");
    addAuthorities(html, evidence.certificateChain);
    if (evidence.certificateChain.size() < 2) {
        addIssuer(html, evidence);
    }
    addCertificate(html, result);
    html.raw("</ol></div><div><h4>Response</h4><ol>");
    const bool isAnswered = hasAnswer(result.verdict);
    addAuthorities(html, evidence.signerChain);
    if (!evidence.signerChain.empty()) {
        addLink(html, evidence.signerChain.front(),
                isAnswered ? Markup("Signer of the response") : Markup("Signer, not accepted"));
    } else if (isAnswered) {
        Box(html, kNeutral, "Signer of the response").line("", result.verdict.signer);
    }
    isAnswered ? addResponse(html, result) : addNoResponse(html, result);
    html.raw("</ol></div></div>");
}

}  // namespace tallow::cli
