// Revocation by CRLs: their sources, which of them count, and how the result is reported.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <thread>

#include "platform/crypto/chains/crl_status.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr DWORD kOffline = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
constexpr DWORD kChain = CERT_CHAIN_REVOCATION_CHECK_CHAIN;
constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

class Revocation : public ::testing::Test {
protected:
    // Checks one certificate with a store, given as a certificate store or as the CRL store; the last error.
    static DWORD verify(const Identity& certificate, const ContextPtr& issuer, HCERTSTORE store, bool asCrlStore,
                        CERT_REVOCATION_STATUS& status) {
        const ContextPtr checked = context(certificate.certificate);
        CERT_REVOCATION_PARA parameters{};
        parameters.cbSize = sizeof parameters;
        parameters.pIssuerCert = issuer.get();
        parameters.hCrlStore = asCrlStore ? store : nullptr;
        parameters.cCertStore = asCrlStore ? 0 : 1;
        parameters.rgCertStore = &store;
        status.cbSize = sizeof status;
        void* contexts[] = {const_cast<CERT_CONTEXT*>(checked.get())};
        SetLastError(0);
        const BOOL isGood =
            CertVerifyRevocation(X509_ASN_ENCODING, CERT_CONTEXT_REVOCATION_TYPE, 1, contexts, 0, &parameters, &status);
        EXPECT_EQ(isGood != FALSE, GetLastError() == 0);
        return GetLastError();
    }
    Identity namingCrl(const std::string& url) const {
        return issue(pki.ca, {.commonName = "naming its crl", .crlUrls = {url}});
    }
    // The error of the end certificate, with the CA, `crls` and the root's CRL given.
    DWORD errorOfEnd(const Identity& end, std::vector<Bytes> crls = {}, DWORD flags = 0, FILETIME* resync = nullptr) {
        crls.push_back(rootCrl);
        return errorAt(
            chainOf({.end = end, .extra = {pki.ca}, .crls = crls, .flags = kChain | flags, .resync = resync}), 0);
    }

    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
    const Bytes rootCrl = makeCrl(pki.root, {});
    const Bytes caCrl = makeCrl(pki.ca, {.revokedSerials = {pki.revoked.serial()}});
};

TEST_F(Revocation, IsReportedForEachElementThatTheFlagsName) {
    struct Row {
        const char* name;
        Identity end;
        std::vector<Bytes> crls;
        DWORD flags;
        std::vector<DWORD> errors;
    };
    const Bytes withoutCa = makeCrl(pki.root, {.revokedSerials = {pki.ca.serial()}});
    const Bytes bySubCa = makeCrl({pki.ca.certificate, pki.subCa.key}, {});
    const Row rows[] = {
        {"not asked", pki.revoked, {caCrl}, 0, {0, 0, 0}},
        {"all there", pki.good, {rootCrl, caCrl}, kChain, {0, 0, 0}},
        {"end certificate alone", pki.good, {caCrl}, CERT_CHAIN_REVOCATION_CHECK_END_CERT, {0, 0, 0}},
        {"revoked", pki.revoked, {rootCrl, caCrl}, kChain, {CERT_TRUST_IS_REVOKED, 0, 0}},
        {"issuer revoked", pki.good, {withoutCa, caCrl}, kChain, {0, CERT_TRUST_IS_REVOKED, 0}},
        {"no CRL of the root", pki.good, {caCrl}, kChain, {0, kUnknown, 0}},
        {"no CRL at all", pki.good, {}, kChain, {kUnknown, kUnknown, 0}},
        {"the anchor itself", pki.root, {}, kChain, {0}},
        {"signed by a namesake", pki.good, {rootCrl, makeCrl(pki.sameNameCa, {})}, kChain, {kUnknown, 0, 0}},
        {"signed by a CA below", pki.good, {rootCrl, bySubCa}, kChain, {kUnknown, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ChainPtr chain =
            chainOf({.end = row.end, .extra = {pki.ca}, .crls = row.crls, .flags = row.flags | kOffline});
        ASSERT_EQ(errorsOf(chain), row.errors);
        EXPECT_EQ(errorOf(chain), allOf(row.errors));
    }
}

TEST_F(Revocation, IsToldToTheListenerOfACheck) {
    struct Told {
        DWORD error;
        std::string reason;
        bool hasCrl;
    };
    struct Notes {
        std::map<Bytes, Told> crls;  // by certificate
        DWORD numElements = 0;
    };
    const Bytes unknownExtension = makeCrl(pki.ca, {.criticalExtensions = {{"1.2.3.4", fromHex("0500")}}});
    const Identity noCrlSigner = caUnder(pki.root, {.commonName = "no crl signer", .keyUsage = "critical,keyCertSign"});
    const Identity byIt = issue(noCrlSigner, {.commonName = "leaf"});
    const Bytes delta = makeCrl(pki.ca, {.criticalExtensions = {{"2.5.29.27", fromHex("020101")}}});
    struct Row {
        Identity end;
        std::vector<Bytes> crls;
        DWORD error;
        const char* reason;  // how it begins
    };
    constexpr DWORD kNoCheck = CRYPT_E_NO_REVOCATION_CHECK;
    for (const Row& row : {
             Row{pki.good, {}, kNoCheck, "no CRL of its issuer was found"},
             Row{pki.good, {makeCrl(pki.ca, {.nextUpdateSeconds = -60})}, kNoCheck, "the newest CRL expired on 20"},
             Row{pki.good, {makeCrl(pki.ca, {.lastUpdateSeconds = 60})}, kNoCheck, "the newest CRL is dated in the"},
             Row{pki.good, {makeCrl(pki.ca, {.hash = "SHA1"})}, kNoCheck, "the signature algorithm 1.2.840.10045.4.1 "},
             Row{pki.good, {unknownExtension}, kNoCheck, "the newest CRL is rejected: a critical extension"},
             Row{pki.good, {caCrl, unknownExtension}, 0, ""},
             Row{pki.good, {makeCrl(pki.sameNameCa, {})}, kNoCheck, "the signature of the newest CRL does not verify"},
             Row{byIt, {makeCrl(noCrlSigner, {})}, kNoCheck, "its issuer may not sign CRLs"},
             Row{pki.good, {delta}, kNoCheck, "only a delta CRL was found"},
             Row{pki.good, {caCrl}, 0, ""},
             Row{pki.revoked, {caCrl}, CRYPT_E_REVOKED, "since 20"},
         }) {
        SCOPED_TRACE(row.reason);
        Notes notes;
        CRYPTO_CHECK check{};
        check.cbSize = sizeof check;
        check.pwszProxy = check.pwszProxyCredentials = L"";
        check.pvOnNote = &notes;
        check.pfnOnNote = [](void* context, const CRYPTO_NOTE* note) {
            auto& into = *static_cast<Notes*>(context);
            if (note->dwKind == CRYPTO_NOTE_CRL) {
                const CERT_CONTEXT& about = *note->pCertificate;
                into.crls[Bytes(about.pbCertEncoded, about.pbCertEncoded + about.cbCertEncoded)] = {
                    note->dwError, note->szReason, note->cbCrl != 0};
            } else if (note->dwKind == CRYPTO_NOTE_CHAIN) {
                into.numElements = note->pChain->rgpChain[0]->cElement;
            }
        };
        ASSERT_TRUE(crypto_begin_check(&check));
        std::vector<Bytes> crls = row.crls;
        crls.push_back(rootCrl);
        const ChainPtr chain =
            chainOf({.end = row.end, .extra = {pki.ca, noCrlSigner}, .crls = crls, .flags = kChain | kOffline});
        crypto_end_check(&check);
        const Told& told = notes.crls[row.end.certificate];
        EXPECT_EQ(told.error, row.error) << told.reason;
        EXPECT_EQ(told.reason.rfind(row.reason, 0), 0U) << told.reason;
        EXPECT_EQ(told.hasCrl, !row.crls.empty() && std::string(row.reason).find("dated in") == std::string::npos);
        EXPECT_EQ(notes.crls[pki.ca.certificate].error + notes.crls[noCrlSigner.certificate].error, 0U);
        EXPECT_EQ(notes.numElements, 3U);
    }
}

TEST_F(Revocation, CachesDownloadedCrlsThatDecide) {
    Bytes served;
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = served}; });
    const Identity end = namingCrl("HTTP" + server.url("/ca.crl").substr(4));
    const auto errorWith = [&](DWORD flags, FILETIME* resync = nullptr) { return errorOfEnd(end, {}, flags, resync); };
    // Genuine CRLs that do not cover the certificate are not cached either.
    const Bytes useless[] = {makeCrl(pki.sameNameCa, {}), makeCrl(pki.ca, {.nextUpdateSeconds = -60}),
                             makeCrl(pki.ca, {.criticalExtensions = {{"2.5.29.28", fromHex("30038201FF")}}}),
                             makeCrl(pki.ca, {.criticalExtensions = {{"1.2.3.4", fromHex("0500")}}})};
    for (const Bytes& crl : useless) {
        served = crl;
        EXPECT_EQ(errorWith(0), kUnknown);
    }
    served = makeCrl(pki.ca, {});
    EXPECT_EQ(errorWith(kOffline), kUnknown);
    EXPECT_EQ(server.requests().size(), 4U);
    EXPECT_EQ(errorWith(0), 0U);
    EXPECT_EQ(server.requests().size(), 5U);

    served = makeCrl(pki.ca, {.revokedSerials = {end.serial()}});
    EXPECT_EQ(errorWith(0), 0U);  // the kept one is current
    EXPECT_EQ(errorWith(kOffline), 0U);
    EXPECT_EQ(errorWith(CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY), 0U);
    EXPECT_EQ(server.requests().size(), 5U);
    FILETIME later = fileTime(1);
    EXPECT_EQ(errorWith(kOffline, &later), kUnknown);
    EXPECT_EQ(errorWith(0, &later), CERT_TRUST_IS_REVOKED);
    EXPECT_EQ(errorWith(0), CERT_TRUST_IS_REVOKED);  // and replaced the older one
    EXPECT_EQ(server.requests().size(), 6U);
}

TEST_F(Revocation, UsesTheNewestOfLocalCachedAndDownloadedCrls) {
    Bytes served = makeCrl(pki.ca, {.lastUpdateSeconds = -1800});
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = served}; });
    const Identity end = namingCrl(server.url("/ca.crl"));
    const Bytes held = makeCrl(pki.ca, {.revokedSerials = {end.serial()}, .lastUpdateSeconds = -7200, .reason = 6});
    const Bytes newer = makeCrl(pki.ca, {.revokedSerials = {end.serial()}, .lastUpdateSeconds = -60});
    EXPECT_EQ(errorOfEnd(end), 0U);
    EXPECT_EQ(errorOfEnd(end, {held}), 0U);  // the cached one is newer
    EXPECT_EQ(errorOfEnd(end, {newer}), CERT_TRUST_IS_REVOKED);
    EXPECT_EQ(server.requests().size(), 1U);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    served = newer;
    world.use("crl_cache_max_age = 0\n");
    EXPECT_EQ(errorOfEnd(end), CERT_TRUST_IS_REVOKED);  // the cached one is too old
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(Revocation, DownloadsDeltaCrlsNamedByTheCompleteOne) {
    Bytes served = fromHex("0500");
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = served}; });
    const Identity end = namingCrl("ldap://nowhere/");
    const Bytes name = tlv::context(0, tlv::context(0, tlv::contextPrimitive(6, bytesOf(server.url("/delta")))));
    const Bytes complete = makeCrl(pki.ca, {.extensions = {{"2.5.29.46", tlv::sequence({tlv::sequence({name})})}}});
    const auto error = [&] { return errorOfEnd(end, {complete}); };
    EXPECT_EQ(error(), 0U);  // there is no delta CRL, and the complete one is current
    served = makeCrl(
        pki.ca,
        {.revokedSerials = {end.serial()}, .criticalExtensions = {{"2.5.29.27", tlv::integer(1)}}, .number = Bytes{2}});
    EXPECT_EQ(error(), CERT_TRUST_IS_REVOKED);
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(error(), CERT_TRUST_IS_REVOKED);
    EXPECT_EQ(server.requests().size(), 2U);  // kept
}

TEST_F(Revocation, IgnoresCrlAddressesWithALogin) {
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = caCrl}; });
    const std::string url = server.url("/");
    for (const char* login : {"name:password@", "name@", "@"}) {
        EXPECT_EQ(errorOfEnd(namingCrl(url.substr(0, 7) + login + url.substr(7))), kUnknown);
    }
    EXPECT_EQ(server.requests().size(), 0U);
}

// If a check ends early, the statuses not looked up are unknown.
TEST_F(Revocation, IsUnknownWhenNotLookedUp) {
    const auto errorsOf = [&](const Identity& end, const Identity& issuer, const std::vector<Bytes>& crls) {
        const ChainPtr chain =
            chainOf({.end = end, .extra = {issuer, pki.ca}, .crls = crls, .flags = kChain | kOffline});
        return errorAt(chain, 0) & (kUnknown | CERT_TRUST_IS_REVOKED);
    };
    // A key of an unknown kind: the identifier of elliptic curve keys with another last octet.
    Identity unknownKey = pki.ca;
    const Bytes curveKey = fromHex("2A8648CE3D0201");
    const auto at =
        std::search(unknownKey.certificate.begin(), unknownKey.certificate.end(), curveKey.begin(), curveKey.end());
    ASSERT_NE(at, unknownKey.certificate.end());
    *(at + 6) = 0x7F;
    EXPECT_EQ(errorsOf(pki.good, unknownKey, {rootCrl}), kUnknown);
    const ExtensionList proxy = {{"1.3.6.1.5.5.7.1.14", fromHex("300C300A06082B06010505071501")}};
    EXPECT_EQ(
        errorsOf(issue(pki.good, {.criticalExtensions = proxy}), pki.good, {rootCrl, caCrl, makeCrl(pki.good, {})}),
        kUnknown);

    namespace service = tallow::platform;
    service::ChainSources sources;
    const auto refOf = [](const Identity& identity) { return service::Certificate::create(identity.certificate); };
    sources.roots = {refOf(pki.root)};
    sources.others = {refOf(pki.ca)};
    sources.crls = {service::Crl::parse(caCrl)};
    const auto stateOf = [&](const Identity& end, int checks, const FILETIME& when = fileTime(0)) {
        service::SignatureLedger ledger;
        const service::CrlRules rules = service::crlRules({when}, false, nullptr, 0);
        service::FetchAllowance none(0, 0);
        const service::Path path = service::findPath(refOf(end), sources, rules.when, {}, ledger);
        while (ledger.checksMade() < checks) {
            EXPECT_FALSE(ledger.verifies(*refOf(issue(pki.sibling, {})), *refOf(pki.ca)));
        }
        return service::CrlCheck(sources, rules, none, ledger).statusOf(path, 0).state;
    };
    EXPECT_EQ(stateOf(pki.good, service::SignatureLedger::kMaxChecks), service::RevocationState::kUnknown);
    EXPECT_EQ(stateOf(pki.good, 0), service::RevocationState::kGood);
    const service::Crl& crl = *sources.crls[0];
    for (const auto& [seconds, isCurrent] : {std::pair(crl.thisUpdate - 1, false),
                                             {crl.thisUpdate, true},
                                             {*crl.nextUpdate - 1, true},
                                             {*crl.nextUpdate, false}}) {
        const auto ticks = static_cast<std::uint64_t>(seconds + 11644473600) * 10000000;
        const FILETIME when{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        EXPECT_EQ(stateOf(pki.good, 0, when) == service::RevocationState::kGood, isCurrent) << seconds;
    }
    sources.crlsIncomplete = true;
    EXPECT_EQ(stateOf(pki.good, 0), service::RevocationState::kUnknown);
    EXPECT_EQ(stateOf(pki.revoked, 0), service::RevocationState::kRevoked);
}

TEST_F(Revocation, TriesTheNextAddressAfterAnUnrelatedCrl) {
    const Bytes strangers = makeCrl(pki.sameNameCa, {});
    HttpServer server(
        [&](const HttpRequest& request) { return HttpReply{.body = request.target == "/right" ? caCrl : strangers}; });
    EXPECT_EQ(errorOfEnd(issue(pki.ca, {.crlUrls = {server.url("/1"), server.url("/2"), server.url("/right")}})), 0U);
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(Revocation, ContactsNoAddressOfAnUntrustedChain) {
    HttpServer server([](const HttpRequest&) { return HttpReply{}; });
    const Identity end = issue(pki.sameNameCa, {.crlUrls = {server.url()}});
    chainOf({.end = end, .extra = {pki.sameNameCa}, .flags = kChain});
    chainOf({.end = end, .extra = {pki.ca}, .flags = kChain});
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(Revocation, RejectsACrlAboveTheLimit) {
    const TrustWorld bounded({pki.root}, "max_crl_bytes = 2000\n");
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = caCrl, .padBodyTo = 2001}; });
    EXPECT_EQ(errorOfEnd(namingCrl(server.url())), kUnknown);
}

TEST_F(Revocation, OfOneCertificateIsTheLastError) {
    struct Row {
        const char* name;
        Identity certificate;
        std::optional<Identity> issuer;
        std::vector<Bytes> crls;
        DWORD error;
    };
    const Bytes withReason = makeCrl(pki.ca, {.revokedSerials = {pki.revoked.serial()}, .reason = 4});
    // A subject whose SEQUENCE does not contain the parts of a name.
    Identity unreadable = pki.ca;
    const Bytes subject = pki.ca.subject();
    auto at = std::search(unreadable.certificate.begin(), unreadable.certificate.end(), subject.begin(), subject.end());
    ASSERT_NE(at, unreadable.certificate.end());
    *(at + 2) = 0x30;
    const Identity unreachable = namingCrl("http://127.0.0.1:" + std::to_string(closedPort()) + "/");
    const Row rows[] = {
        {"good", pki.good, pki.ca, {caCrl}, 0},
        {"revoked", pki.revoked, pki.ca, {withReason}, CRYPT_E_REVOKED},
        {"issuer from the stores", pki.revoked, std::nullopt, {withReason}, CRYPT_E_REVOKED},
        {"no CRL", pki.good, pki.ca, {}, CRYPT_E_NO_REVOCATION_CHECK},
        {"CRL out of reach", unreachable, pki.ca, {}, CRYPT_E_REVOCATION_OFFLINE},
        {"not its issuer", pki.good, pki.sameNameCa, {makeCrl(pki.sameNameCa, {})}, CRYPT_E_NO_REVOCATION_CHECK},
        {"self-signed", pki.root, std::nullopt, {rootCrl}, 0},
        {"self-signed, not looked up", pki.root, std::nullopt, {}, CRYPT_E_NO_REVOCATION_CHECK},
        {"self-signed, named as its own issuer", pki.root, pki.root, {rootCrl}, 0},
        {"issuer that OpenSSL cannot read", pki.good, unreadable, {caCrl}, CRYPT_E_NO_REVOCATION_CHECK},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ContextPtr issuer = row.issuer ? context(row.issuer->certificate) : nullptr;
        CERT_REVOCATION_STATUS status{};
        EXPECT_EQ(verify(row.certificate, issuer, storeOf({pki.ca}, row.crls).get(), false, status), row.error);
        EXPECT_EQ(status.dwError, row.error);
        EXPECT_EQ(status.dwReason, row.error == CRYPT_E_REVOKED ? 4U : 0U);
    }
}

TEST_F(Revocation, OfOneCertificateNeedsACompleteStore) {
    world.put("Whole/ca.crl", caCrl);
    world.put("Broken/ca.crl", caCrl);
    world.put("Broken/new.crl", {0x30, 0x82});
    const ContextPtr issuer = context(pki.ca.certificate);
    for (const auto& [name, error] : {std::pair("Whole", 0U), std::pair("Broken", CRYPT_E_NO_REVOCATION_CHECK)}) {
        const StorePtr store(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, name));
        for (const bool asCrlStore : {false, true}) {
            CERT_REVOCATION_STATUS status{};
            EXPECT_EQ(verify(pki.good, issuer, store.get(), asCrlStore, status), error) << name << asCrlStore;
        }
    }
}

}  // namespace
}  // namespace testkit
