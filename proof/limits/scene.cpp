#include "proof/limits/scene.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "tests/support/openssl_ptr.h"
#include "tests/support/settings_file.h"
#include "tests/support/system_stores.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;

Machine::Machine(const std::string& crypto, const std::string& policy) {
    use(crypto, policy);
}

void Machine::use(const std::string& crypto, const std::string& policy, bool hasCache) const {
    const std::string text =
        machineSettings(folder_, crypto, hasCache) + "[config.cades.ocsppolicy]\nLegacyPolicyReading = true\n" + policy;
    if (support_settings_open(folder_.write("settings.toml", text).c_str()) != 0) {
        throw std::runtime_error("the settings of the driver are broken");
    }
}

void Machine::useUnusableCache() const {
    folder_.write("cache", "a file in the place of the directory");
    use("", "", true);
}

std::string Machine::write(const std::string& file, const Bytes& content) const {
    const std::string path = folder_.write("machine/" + file, content);
    showStoreChanges();
    return path;
}

SmallPki::SmallPki() : root(rootCa("root")), ca(issueCa(root, "ca")), leaf(issue(ca, {.commonName = "leaf"})) {
    rootCrl = makeCrl(root, {});
    caCrl = makeCrl(ca, {});
}

Identity SmallPki::delegate(const std::string& name) const {
    return issue(ca, {.commonName = name, .extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true});
}

tallow::Trust SmallPki::trust() const {
    return tallow::Trust().addRoots(root.certificate).addCrls(rootCrl).addCrls(caCrl);
}

ResponseSpec SmallPki::good(const Identity& signer) const {
    return ResponseSpec(signer, {EntrySpec(certIdOf(leaf, ca))});
}

HttpServer::Handler answering(const ResponseSpec& response) {
    return [response](const HttpRequest& request) {
        ResponseSpec answer = response;
        const Bytes oid = tlv::oid(kNonceOid);
        const auto found = std::search(request.body.begin(), request.body.end(), oid.begin(), oid.end());
        if (found != request.body.end()) {
            const auto value = found + static_cast<std::ptrdiff_t>(oid.size());
            answer.extensions.push_back({kNonceOid, false, Bytes(value + 2, value + 2 + value[1])});
        }
        return HttpReply{.body = buildResponse(answer)};
    };
}

namespace {

using ContextPtr = std::unique_ptr<const CERT_CONTEXT, FreeWith<CertFreeCertificateContext>>;

}  // namespace

ChainResult chainOf(const Bytes& end, const ChainInput& input) {
    const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    const auto contextOf = [](const Bytes& der) {
        return ContextPtr(CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
    };
    for (const Bytes& der : input.carried) {
        CertAddCertificateContextToStore(store, contextOf(der).get(), CERT_STORE_ADD_ALWAYS, nullptr);
    }
    for (const Bytes& der : input.crls) {
        CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()),
                                 CERT_STORE_ADD_ALWAYS, nullptr);
    }
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    const DWORD flags = (input.hasRevocation ? CERT_CHAIN_REVOCATION_CHECK_CHAIN : 0) |
                        (input.hasDownloads ? 0 : CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL);
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    const ContextPtr context = contextOf(end);
    if (CertGetCertificateChain(nullptr, context.get(), nullptr, store, &parameters, flags, nullptr, &chain) == FALSE) {
        throw std::runtime_error("no chain");
    }
    const ChainResult result{chain->TrustStatus.dwErrorStatus, chain->rgpChain[0]->cElement};
    CertFreeCertificateChain(chain);
    CertCloseStore(store, 0);
    return result;
}

Exchanged post(const std::string& url) {
    Bytes request = {0x30, 0x00};
    PKI_EXCHANGE_BUFFER sent{static_cast<DWORD>(request.size()), request.data(), static_cast<DWORD>(request.size())};
    PKI_EXCHANGE_BUFFER received{};
    SetLastError(0);
    Exchanged result;
    result.status = SendPKIRequest(wide(url).c_str(), L"limits/1", L"Content-type: application/ocsp-request", L"", L"",
                                   &sent, &received);
    result.error = GetLastError();
    const std::unique_ptr<BYTE[]> owner(received.data);
    result.body.assign(received.data, received.data + received.size);
    return result;
}

double secondsOf(const std::function<void()>& run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void pauseMs(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int openConnections(int port) {
    constexpr unsigned kEstablished = 1;
    std::ifstream file("/proc/net/tcp");
    int count = 0;
    for (std::string line; std::getline(file, line);) {
        unsigned remotePort = 0;
        unsigned state = 0;
        if (std::sscanf(line.c_str(), "%*d: %*8[0-9A-F]:%*4[0-9A-F] %*8[0-9A-F]:%4X %2X", &remotePort, &state) == 2 &&
            remotePort == static_cast<unsigned>(port) && state == kEstablished) {
            ++count;
        }
    }
    return count;
}

ProcessResult command(const std::string& program, const Machine& machine, const std::vector<std::string>& arguments,
                      int timeoutMs, const std::vector<std::string>& environment) {
    std::vector<std::string> all = {program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.insert(all.end(), {"--settings", machine.settingsFile()});
    return run(all, timeoutMs, environment);
}

Bytes commonName(const std::string& name) {
    return tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String(name)})})});
}

Bytes repeated(const Bytes& element, std::size_t count) {
    Bytes all;
    all.reserve(element.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        all.insert(all.end(), element.begin(), element.end());
    }
    return all;
}

}  // namespace proof
