// A CRL edited by the input, from its bytes to the status of a certificate. With its old signature the edited CRL must
// decide nothing; signed again by its CA, every rule about its content is reached.
#include <cstdlib>
#include <ctime>

#include "platform/crypto/chains/crl_status.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"

namespace {

using testkit::Bytes;
namespace service = tallow::platform;

constexpr std::size_t kEditSize = 4;  // kind of edit, where (two octets), the new octet
constexpr std::size_t kMaxSize = 4096;

struct World {
    const testkit::Pki& pki = testkit::Pki::shared();
    const Bytes original = testkit::makeCrl(
        pki.ca, {.revokedSerials = {{0x07}},
                 .reason = 1,
                 .extensions = {{"2.5.29.35", testkit::fromHex("30058003010203")},
                                {"2.5.29.46", testkit::fromHex("3010300EA00CA00A8608687474703A2F2F61")}},
                 .criticalExtensions = {{"2.5.29.28", testkit::fromHex("30038401FF")}},
                 .entries = {{{0x08},
                              std::nullopt,
                              {{"2.5.29.29", testkit::tlv::sequence({testkit::tlv::context(4, pki.ca.subject())})}}}}});
    const service::CertificateRef ca = service::Certificate::create(pki.ca.certificate);
    const service::CertificateRef good = service::Certificate::create(pki.good.certificate);
};

// Overwrites, inserts and removes octets.
Bytes edited(Bytes der, const std::uint8_t* data, std::size_t size) {
    for (; size >= kEditSize && !der.empty() && der.size() < kMaxSize; data += kEditSize, size -= kEditSize) {
        const auto at = der.begin() + static_cast<std::ptrdiff_t>((std::size_t{data[1]} << 8 | data[2]) % der.size());
        if (data[0] % 3 == 0) {
            *at = data[3];
        } else if (data[0] % 3 == 1) {
            der.insert(at, data[3]);
        } else {
            der.erase(at);
        }
    }
    return der;
}

service::RevocationState stateAt(const service::EvaluationTime& time, const World& world, const Bytes& der) {
    service::ChainSources sources;
    if (service::CrlRef crl = service::Crl::parse(der)) {
        sources.crls.push_back(std::move(crl));
    }
    const service::CrlRules rules = service::crlRules(time, false, nullptr, 0);
    service::FetchAllowance none(0, 0);
    service::SignatureLedger ledger;
    service::Path path;
    path.elements = {world.good, world.ca};
    return service::CrlCheck(sources, rules, none, ledger).statusOf(path, 0).state;
}

// With the CRL as the current one, and as one issued after the time of a check; unknown only when both are.
service::RevocationState stateWith(const World& world, const Bytes& der) {
    constexpr long kDay = 24 * 3600;
    const service::RevocationState later = stateAt({testkit::fileTime(-kDay), true}, world, der);
    const service::RevocationState current = stateAt({testkit::fileTime(0), false}, world, der);
    // A later CRL proves only revocations. An edit may also have made it an older one.
    const service::CrlRef crl = service::Crl::parse(der);
    if (later == service::RevocationState::kGood && crl->thisUpdate > std::time(nullptr) - kDay) {
        std::abort();
    }
    return current == service::RevocationState::kUnknown ? later : current;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const World world;
    service::Crl::parse({data, size});
    const Bytes whole = edited(world.original, data, size);
    if (whole != world.original && stateWith(world, whole) != service::RevocationState::kUnknown) {
        std::abort();
    }
    stateWith(world, testkit::signedAgain(world.original, world.pki.ca,
                                          [&](const Bytes& tbs) { return edited(tbs, data, size); }));
    return 0;
}
