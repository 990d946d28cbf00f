#include "proof/environment/scene.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <openssl/ocsp.h>

#include <memory>

#include "tests/support/http_server.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/process.h"
#include "tests/support/settings_file.h"

namespace proof {

using namespace testkit;

namespace {

const Bytes kOnlineSerial = {0x11, 0x22, 0x33, 0x44};

using RequestPtr = std::unique_ptr<OCSP_REQUEST, decltype(&OCSP_REQUEST_free)>;
using BasicPtr = std::unique_ptr<OCSP_BASICRESP, decltype(&OCSP_BASICRESP_free)>;
using ResponsePtr = std::unique_ptr<OCSP_RESPONSE, decltype(&OCSP_RESPONSE_free)>;
using TimePtr = std::unique_ptr<ASN1_TIME, decltype(&ASN1_STRING_free)>;

}  // namespace

// OpenSSL's functions for responders. Its program serves one connection at a time, and a client that closes one without
// a request, as many here do, keeps it from answering others.
Bytes Scene::answerTo(const Bytes& request) const {
    const unsigned char* at = request.data();
    const RequestPtr parsed(d2i_OCSP_REQUEST(nullptr, &at, static_cast<long>(request.size())), OCSP_REQUEST_free);
    require(parsed != nullptr, "reading a request");
    const BasicPtr basic(OCSP_BASICRESP_new(), OCSP_BASICRESP_free);
    const TimePtr now(X509_gmtime_adj(nullptr, 0), ASN1_STRING_free);
    const TimePtr later(X509_gmtime_adj(nullptr, 3600), ASN1_STRING_free);
    for (int i = 0; i < OCSP_request_onereq_count(parsed.get()); ++i) {
        OCSP_CERTID* const id = OCSP_onereq_get0_id(OCSP_request_onereq_get0(parsed.get(), i));
        ASN1_INTEGER* serial = nullptr;
        OCSP_id_get0_info(nullptr, nullptr, nullptr, &serial, id);
        const Bytes octets(serial->data, serial->data + serial->length);
        const bool isKnown = octets == good.serial() || octets == kOnlineSerial;
        const bool isRevoked = octets == revoked.serial();
        OCSP_basic_add1_status(basic.get(), id,
                               isKnown     ? V_OCSP_CERTSTATUS_GOOD
                               : isRevoked ? V_OCSP_CERTSTATUS_REVOKED
                                           : V_OCSP_CERTSTATUS_UNKNOWN,
                               OCSP_REVOKED_STATUS_NOSTATUS, now.get(), now.get(), later.get());
    }
    OCSP_copy_nonce(basic.get(), parsed.get());
    const X509Ptr signer = parseCertificate(readFile(files_.file("delegate.der")));
    require(OCSP_basic_sign(basic.get(), signer.get(), delegate.key.get(), EVP_sha256(), nullptr, 0) == 1, "signing");
    const ResponsePtr response(OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic.get()), OCSP_RESPONSE_free);
    Bytes der(static_cast<std::size_t>(i2d_OCSP_RESPONSE(response.get(), nullptr)));
    unsigned char* to = der.data();
    i2d_OCSP_RESPONSE(response.get(), &to);
    return der;
}

// The servers run in a process of their own, since the workers are forked from this one.
void Scene::serve() {
    int ports[3] = {0, 0, 0};
    int ends[2];
    require(::pipe(ends) == 0, "making a pipe");
    const Identity site = issue(ca, {.commonName = "127.0.0.1"});
    server_ = ::fork();
    require(server_ >= 0, "starting the servers");
    if (server_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const HttpServer responder([this](const HttpRequest& request) {
            return HttpReply{.headers = {{"Content-Type", "application/ocsp-response"}},
                             .body = answerTo(request.body),
                             .after = AfterReply::kNextRequest};
        });
        const HttpServer web([this](const HttpRequest& request) {
            return HttpReply{.body = readFile(files_.file(request.target.substr(1)))};
        });
        const HttpServer tls([](const HttpRequest&) { return HttpReply{}; }, &site);
        ports[0] = responder.port();
        ports[1] = web.port();
        ports[2] = tls.port();
        if (::write(ends[1], ports, sizeof ports) != sizeof ports) {
            ::_exit(1);
        }
        for (;;) {
            ::pause();
        }
    }
    require(::read(ends[0], ports, sizeof ports) == sizeof ports, "starting the servers");
    ::close(ends[0]);
    ::close(ends[1]);
    responderPort_ = ports[0];
    webPort_ = ports[1];
    tlsPort_ = ports[2];
}

Scene::Scene() {
    root = rootCa("root");
    ca = issueCa(root, "ca");
    delegate = issue(ca, {.commonName = "delegate", .extendedKeyUsage = "OCSPSigning"});
    good = issue(ca, {.commonName = "good"});
    revoked = issue(ca, {.commonName = "revoked"});
    unknown = issue(ca, {.commonName = "unknown"});
    serve();
    const std::string web = "http://127.0.0.1:" + std::to_string(webPort_);
    // Once more, with the addresses of the CRLs.
    ca = issue(root, {.commonName = "ca", .key = ca.key, .ca = true, .crlUrls = {web + "/root.crl"}});
    delegate = issue(ca, {.commonName = "delegate",
                          .key = delegate.key,
                          .extendedKeyUsage = "OCSPSigning",
                          .crlUrls = {web + "/ca.crl"}});
    files_.write("delegate.der", delegate.certificate);
    requestor = issue(ca, {.commonName = "requestor"});
    online = issue(ca, {.commonName = "online",
                        .serial = kOnlineSerial,
                        .ocspUrls = {responderUrl()},
                        .caIssuersUrls = {web + "/ca.der"}});
    rootCrl = makeCrl(root, {});
    caCrl = makeCrl(ca, {});
    const auto response = [this](const Identity& subject, EntryStatus status) {
        return buildResponse(ResponseSpec(delegate, {EntrySpec(certIdOf(subject, ca), status)}));
    };
    goodResponse = response(good, EntryStatus::kGood);
    revokedResponse = response(revoked, EntryStatus::kRevoked);

    for (const auto& [name, identity] :
         {std::pair("root", &root), std::pair("ca", &ca), std::pair("good", &good), std::pair("revoked", &revoked),
          std::pair("unknown", &unknown), std::pair("online", &online), std::pair("requestor", &requestor)}) {
        files_.write(std::string(name) + ".pem", identity->certificatePem());
    }
    files_.write("ca.der", ca.certificate);
    files_.write("root.crl", rootCrl);
    files_.write("ca.crl", caCrl);
    files_.write("requestor.key", requestor.key.pem());
    files_.write("response.der", goodResponse);
    files_.write("revoked.der", revokedResponse);
    const auto file = [this](const char* name) { return files_.file(name); };
    const std::vector<std::string> ask = {"openssl", "ocsp", "-issuer", file("ca.pem"), "-cert", file("good.pem")};
    std::vector<std::string> plain = ask;
    plain.insert(plain.end(), {"-no_nonce", "-reqout", file("request.der")});
    std::vector<std::string> withSigner = ask;
    withSigner.insert(withSigner.end(), {"-signer", file("requestor.pem"), "-signkey", file("requestor.key"), "-reqout",
                                         file("signed.der")});
    require(run(plain).exitStatus == 0 && run(withSigner).exitStatus == 0, "making requests with openssl");
    goodRequest = readFile(file("request.der"));
    signedRequest = readFile(file("signed.der"));
}

Scene::~Scene() {
    if (server_ > 0) {
        ::kill(server_, SIGKILL);
        ::waitpid(server_, nullptr, 0);
    }
}

std::string Scene::makeMachine(const TempDir& folder) const {
    folder.write("user/ROOT/root.pem", root.certificatePem());
    folder.write("user/CA/ca.pem", ca.certificatePem());
    folder.write("user/CA/root.crl", rootCrl);
    folder.write("user/CA/ca.crl", caCrl);
    return folder.write("settings.toml",
                        machineSettings(folder, "check_timeout_ms = 20000\n", true) +
                            "[config.cades.ocsppolicy]\nLegacyPolicyReading = true\nDefaultOCSPURL = \"" +
                            responderUrl() + "\"\n[config.Basalt.cache_settings]\nOcspValiditySeconds = 3600\n");
}

}  // namespace proof
