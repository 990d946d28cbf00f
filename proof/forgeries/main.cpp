// Random PKIs, correctly signed by the given signer: the library, the command, OpenSSL and GnuTLS beside a model of the
// standards.
#include <cstdio>
#include <stdexcept>

#include "platform/support/support_service.h"
#include "proof/common/part.h"
#include "proof/forgeries/contenders.h"
#include "proof/forgeries/description.h"
#include "proof/forgeries/differences.h"
#include "proof/forgeries/materials.h"
#include "proof/forgeries/model.h"

namespace {

using namespace proof;

constexpr std::uint64_t kCases = 200000;
// Processes take much longer than calls, so only some cases run them.
constexpr std::uint64_t kEachCommand = 97;
constexpr std::uint64_t kEachOpenSslCommand = 199;
constexpr std::uint64_t kEachGnuTls = 3;  // of the cases with GOST

class Forgeries : public Part {
public:
    explicit Forgeries(const Options& options)
        : seed_(options.seed), command_(options.command), hasGost_(prepareKeys()), hasGnuTls_(hasGnuTls()) {
        if (support_settings_open("/dev/null") != 0) {
            throw std::runtime_error("no settings");
        }
        std::printf("GOST: %s; GnuTLS: %s; command: %s\n", hasGost_ ? "yes" : "no engine", hasGnuTls_ ? "yes" : "no",
                    command_.empty() ? "none" : command_.c_str());
    }

    std::uint64_t caseCount() const override { return kCases; }

    void runCase(std::uint64_t number, Report& report) override {
        const Description description = describe(seed_, number, hasGost_);
        const Materials materials = makeMaterials(description, number);
        const Judgement judgement = judge(description);
        const auto expect = [&](const char* who, bool isRight, const std::string& said, const std::string& expected) {
            if (isRight) {
                report.count(std::string(who) + ": as expected");
                return;
            }
            std::string text = std::string(who) + " says " + said + ", expected " + expected + "; violated:";
            for (const Violation violation : judgement.violations) {
                text += std::string(" ") + nameOf(violation) + ",";
            }
            Files files = proof::filesOf(materials);
            files["description"] = testkit::bytesOf(textOf(description));
            report.finding(text, files);
        };
        report.count(std::string("model: ") + nameOf(judgement.answer) + (description.isGost ? ", GOST" : ""));

        std::string why;
        const Answer library = byLibrary(materials, why);
        expect("library", library == judgement.answer, nameOf(library) + (" (" + why + ")"), nameOf(judgement.answer));
        if (!command_.empty() && number % kEachCommand == 0) {
            std::string output;
            // An issuer that did not sign the certificate is wrong usage.
            const Answer answer =
                byCommand(command_, materials, judgement.violations.count(Violation::kIssuerOfLeaf) != 0, output);
            expect("command", answer == judgement.answer, nameOf(answer) + (" (" + output + ")"),
                   nameOf(judgement.answer));
        }

        const Expectation expectation = expectedOfOpenSsl(description, judgement);
        const Answer openSsl = byOpenSsl(materials, true, why);
        expect("OpenSSL", openSsl == expectation.answer, nameOf(openSsl) + (" (" + why + ")"),
               nameOf(expectation.answer));
        if (!expectation.rule.empty()) {
            report.count(expectation.rule);
        }
        if (number % kEachOpenSslCommand == 0 && !description.isGost) {
            std::string output;
            const Answer answer = byOpenSslCommand(materials, output);
            const Answer expected = byOpenSsl(materials, false, why);
            const bool isIssuerTrusted = description.signer == SignerKind::kIssuer && expected == Answer::kUnproven;
            if (isIssuerTrusted && answer != expected) {
                report.count("openssl ocsp trusts the certificate of -issuer");
            } else {
                expect("openssl ocsp", answer == expected, nameOf(answer) + (" (" + output + ")"), nameOf(expected));
            }
        }
        if (hasGnuTls_ && description.isGost && number % kEachGnuTls == 0) {
            std::string output;
            const bool isAuthentic = isAuthenticForGnuTls(materials, output);
            const bool expected = expectedOfGnuTls(description, judgement);
            expect("GnuTLS", isAuthentic == expected, isAuthentic ? "authentic" : "not authentic (" + output + ")",
                   expected ? "authentic" : "not authentic");
        }
    }

    Files filesOf(std::uint64_t number) override {
        return proof::filesOf(makeMaterials(describe(seed_, number, hasGost_), number));
    }

private:
    std::uint64_t seed_;
    std::string command_;
    bool hasGost_;
    bool hasGnuTls_;
};

}  // namespace

int main(int argc, char** argv) {
    return runPart("forgeries", argc, argv,
                   [](const Options& options) { return std::make_unique<Forgeries>(options); });
}
