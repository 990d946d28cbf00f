#include "cli/verbose.h"

#include "checker/text/safe_text.h"
#include "cli/evidence_text.h"
#include "cli/evidence_words.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

using namespace text;

namespace {

constexpr const char* kMargin = "    ";

// Adds one line for each fact; the label appears at the first.
class Section {
public:
    Section(std::string& text, const char* label) : text_(text), label_(label) {}

    void add(const std::string& fact) {
        constexpr std::size_t kWidth = 15;
        std::string label = label_;
        label_.clear();
        label.resize(kWidth, ' ');
        text_ += kMargin + label + safeLine(fact) + '\n';
    }

private:
    std::string& text_;
    std::string label_;
};

std::string sentText(const SentRequest& sent) {
    std::string oid = sent.hashOid;
    PCCRYPT_OID_INFO info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), CRYPT_HASH_ALG_OID_GROUP_ID);
    return "serial number " + sent.serial + ", its issuer by " +
           (info == nullptr ? sent.hashOid : utf8(info->pwszName)) +
           (sent.nonce.empty() ? ", without a nonce" : ", nonce " + sent.nonce);
}

void addChain(std::string& text, const char* label, const std::vector<ChainLink>& chain) {
    Section section(text, label);
    for (const ChainLink& link : chain) {
        std::string fact = link.subject;
        fact += link.notAfter ? ", valid until " + timeText(link.notAfter) : "";
        fact += std::string(", revocation: ") + nameOf(link.revocation);
        section.add(fact);
        if (!link.crlIssuer.empty()) {
            section.add("  CRL of " + link.crlIssuer + ", thisUpdate " + timeText(link.crlThisUpdate) +
                        (link.crlNextUpdate ? ", nextUpdate " + timeText(link.crlNextUpdate) : ", no nextUpdate"));
        }
        if (!link.fault.empty()) {
            section.add("  fault: " + link.fault);
        }
    }
}

template <typename Element, typename Describe>
void addAll(std::string& text, const char* label, const std::vector<Element>& elements, Describe describe) {
    Section section(text, label);
    for (const Element& element : elements) {
        section.add(describe(element));
    }
}

}  // namespace

std::string explanationOf(const CheckResult& result) {
    const Verdict& verdict = result.verdict;
    const Evidence& evidence = verdict.evidence;
    std::string text = safeLine(result.file) + ": how \"" + nameOf(result.state) + "\" was found\n";
    const auto addIf = [&text](const char* label, const std::string& fact) {
        if (!fact.empty()) {
            Section(text, label).add(fact);
        }
    };
    addIf("certificate:", result.subject);
    addIf("serial:", result.serial);
    const std::string where = whereFound(evidence.issuerSource);
    addIf("issuer:", evidence.issuer + (where.empty() ? "" : ", " + where));
    if (const std::optional<SentRequest> sent = sentRequestOf(verdict)) {
        addIf("sent:", sentText(*sent));
    }
    addAll(text, "asked:", verdict.attempts, attemptText);
    addAll(text, "downloaded:", evidence.downloads, downloadText);
    const bool isAnswered = hasAnswer(verdict);
    if (isAnswered) {
        addIf("signer:", verdict.signer + ", " + whyAuthorised(verdict.authority));
    }
    addChain(text, "signer chain:", evidence.signerChain);
    if (isAnswered) {
        addIf("nonce:", result.nonce);
        addIf("dates:", "producedAt " + result.producedAt + ", thisUpdate " + result.thisUpdate + ", nextUpdate " +
                            (result.nextUpdate.empty() ? "absent" : result.nextUpdate));
    }
    addChain(text, "own chain:", evidence.certificateChain);
    if (isAnswered) {
        addAll(text, "not checked:", uncheckedOf(result), [](const std::string& what) { return what; });
    }
    if (result.error) {
        addIf("stopped at:", nameOf(verdict.reached));  // the failure is a line of its own
    }
    return text;
}

}  // namespace tallow::cli
