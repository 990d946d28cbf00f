// Every single fault in the base responses must lead to a rejection, or to exactly what the base response says.
#include <cstdio>
#include <stdexcept>

#include "platform/support/support_service.h"
#include "proof/common/part.h"
#include "proof/faults/bases.h"
#include "proof/faults/mutants.h"
#include "proof/faults/outcomes.h"

namespace {

using namespace proof;
using Answer = Outcome::Answer;

// One base with what it must lead to.
struct Target {
    Base base;
    Mutants mutants;
    Contender contender;
    Outcome byChecker, byClasses;  // of the reference, and for the classes of the response itself
    std::uint64_t first = 0;       // number of its first case
};

class Faults : public Part {
public:
    Faults() {
        if (support_settings_open("/dev/null") != 0) {
            throw std::runtime_error("no settings");
        }
        for (Base& base : makeBases()) {
            Contender contender(base);
            Target target{base, Mutants(base.response), std::move(contender), {}, {}, cases_};
            target.byChecker = target.contender.byChecker(base.reference);
            target.byClasses = target.contender.byClasses(base.response);
            if (target.byChecker.answer == Answer::kNone || target.byClasses.answer != target.byChecker.answer) {
                throw std::runtime_error("the base " + base.name + " is not proven");
            }
            cases_ += target.mutants.count();
            targets_.push_back(std::move(target));
        }
        std::printf("%zu base responses, %llu single faults\n", targets_.size(),
                    static_cast<unsigned long long>(cases_));
    }

    std::uint64_t caseCount() const override { return cases_; }

    void runCase(std::uint64_t number, Report& report) override {
        const Target& target = targetOf(number);
        const Mutant mutant = target.mutants.mutant(number - target.first);
        if (mutant.octets == target.base.response) {
            report.count("without a change");
            return;
        }
        compare("checker", target.contender.byChecker(mutant.octets), target.byChecker, target, mutant, number, report);
        compare("classes", target.contender.byClasses(mutant.octets), target.byClasses, target, mutant, number, report);
    }

    Files filesOf(std::uint64_t number) override {
        const Target& target = targetOf(number);
        const Base& base = target.base;
        Files files{{"response.der", target.mutants.mutant(number - target.first).octets},
                    {"base.der", base.response},
                    {"request.der", base.request},
                    {"leaf.der", base.leaf},
                    {"issuer.der", base.issuer},
                    {"root.pem", base.root}};
        std::string command =
            "tallow verify --settings /dev/null --trust root.pem --cert leaf.der --issuer issuer.der "
            "--request request.der";
        for (std::size_t i = 0; i < base.crls.size(); ++i) {
            const std::string name = "crl-" + std::to_string(i) + ".der";
            files[name] = base.crls[i];
            command += " --crl " + name;
        }
        if (!base.certificates.empty()) {
            files["certificates.pem"] = base.certificates;
            command += " --certs certificates.pem";
        }
        files["command"] = testkit::bytesOf(command + " -v response.der\n");
        return files;
    }

private:
    const Target& targetOf(std::uint64_t number) const {
        std::size_t at = targets_.size() - 1;
        while (targets_[at].first > number) {
            --at;
        }
        return targets_[at];
    }

    void compare(const char* side, const Outcome& outcome, const Outcome& expected, const Target& target,
                 const Mutant& mutant, std::uint64_t number, Report& report) {
        const std::string prefix = std::string(side) + ": ";
        if (outcome.answer == Answer::kNone) {
            report.count(prefix + "rejected");
            return;
        }
        const std::string where = target.mutants.regionOf(mutant.offset);
        // What no signature covers may differ, but only where the fault is.
        const auto isElsewhere = [&where](const char* region) {
            return where != region && where != ElementTree::kInParts;
        };
        const auto fail = [&](const std::string& text) {
            Files files = filesOf(number);
            files["values"] = testkit::bytesOf(outcome.values + outcome.carried + outcome.parameters);
            files["expected-values"] = testkit::bytesOf(expected.values + expected.carried + expected.parameters);
            report.finding(prefix + text + " in " + target.base.name + ", " + mutant.kind + " at octet " +
                               std::to_string(mutant.offset) + " (" + where + ")",
                           files);
        };
        if (outcome.answer != expected.answer) {
            fail(std::string("wrongly ") + nameOf(outcome.answer));
        } else if (outcome.values != expected.values) {
            fail("other values");
        } else if (outcome.carried != expected.carried && isElsewhere("certificates")) {
            fail("other certificates");
        } else if (outcome.parameters != expected.parameters && isElsewhere("signature algorithm")) {
            fail("other parameters");
        }
        report.count(prefix + "same values, " + where + ", " + mutant.kind);
    }

    std::vector<Target> targets_;
    std::uint64_t cases_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    return runPart("faults", argc, argv, [](const Options&) { return std::make_unique<Faults>(); });
}
