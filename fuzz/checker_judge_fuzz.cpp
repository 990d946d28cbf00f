// Checker::judge, verify and provedAt with a fixed question. The input is either a whole response, which cannot be
// proven since no input knows the keys, or a list of edits of a good response. The harness knows the result: an edited
// response may be good only with the dates that were signed, and never says anything else.
#include <cstdlib>

#include "checker/checker.h"
#include "platform/support/support_service.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"

namespace {

using tallow::Answer;
using testkit::Bytes;

constexpr std::uint8_t kIsEdits = 0xFF;
constexpr std::size_t kEditSize = 3;  // where (two octets), the new octet

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct World {
    World() {
        require(support_settings_open("/dev/null") == 0);
        testkit::CertificateSpec spec;
        spec.extendedKeyUsage = "OCSPSigning";
        spec.ocspNoCheck = true;
        testkit::ResponseSpec response(testkit::issue(pki.ca, spec));
        response.entries.emplace_back(testkit::certIdOf(pki.good, pki.ca));
        response.entries[0].nextUpdate = testkit::generalizedTimeText(24 * 3600);
        good = testkit::buildResponse(response);
    }
    const testkit::Pki& pki = testkit::Pki::shared();
    const tallow::Checker checker{tallow::Trust()
                                      .addRoots(pki.root.certificate)
                                      .addCrls(testkit::makeCrl(pki.root, {}))
                                      .addCrls(testkit::makeCrl(pki.ca, {})),
                                  {.nonce = tallow::Nonce::kTry}};
    const tallow::Question question = checker.ask(pki.good.certificate, pki.ca.certificate);
    Bytes good;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const World world;
    static const tallow::Verdict expected = world.checker.judge(world.question, world.good);
    require(expected.answer == Answer::kGood);
    const bool isEdited = size > 0 && data[0] == kIsEdits;
    Bytes response(data, data + size);
    if (isEdited) {
        response = world.good;
        for (++data, --size; size >= kEditSize; data += kEditSize, size -= kEditSize) {
            response[(std::size_t{data[0]} << 8 | data[1]) % response.size()] = data[2];
        }
    }
    const tallow::Stored about{.certificate = world.pki.good.certificate, .issuer = world.pki.ca.certificate};
    std::vector<tallow::Verdict> verdicts = world.checker.verify(response);
    require(!verdicts.empty());
    verdicts.push_back(world.checker.verify(response, about).at(0));
    verdicts.push_back(world.checker.judge(world.question, response));
    verdicts.push_back(world.checker.provedAt(std::chrono::system_clock::now(), world.pki.good.certificate,
                                              world.pki.ca.certificate, response));
    for (const tallow::Verdict& verdict : verdicts) {
        require(!verdict.why().empty() && verdict.why().find('\n') == std::string::npos);
        require((verdict.status == 0) == (verdict.answer == Answer::kGood));
        require(verdict.answer == Answer::kUnproven ||
                (isEdited && verdict.answer == Answer::kGood && verdict.thisUpdate == expected.thisUpdate &&
                 verdict.nextUpdate == expected.nextUpdate));
    }
    return 0;
}
