// Drivers for a check as a whole, and for the addresses that it may contact.
#include <algorithm>
#include <thread>

#include "proof/limits/driver.h"
#include "proof/limits/network_calls.h"
#include "proof/limits/scene.h"

namespace proof {

using namespace testkit;
using tallow::Answer;
using tallow::Checker;

namespace {

struct Check : CRYPTO_CHECK {
    explicit Check(DWORD timeoutMs = 0) : CRYPTO_CHECK{} {
        cbSize = sizeof(CRYPTO_CHECK);
        pwszProxy = pwszProxyCredentials = L"";
        dwAuthSchemes = dwProxyAuthSchemes = CRYPTO_AUTH_ALL;
        dwTimeout = timeoutMs;
        if (crypto_begin_check(this) == FALSE) {
            throw std::runtime_error("crypto_begin_check");
        }
    }
    ~Check() { crypto_end_check(this); }
    Check(const Check&) = delete;
    Check& operator=(const Check&) = delete;
};

HttpReply silence(const HttpRequest&) {
    return {.delayMs = 90000};
}

// Exchanges with a silent server, each of which may take 15 s.
double exchangesWithin(DWORD timeoutMs) {
    HttpServer& server = *new HttpServer(silence);  // not waited for
    return secondsOf([&] {
        const Check check(timeoutMs);
        while (crypto_check_time_left() > 0) {
            post(server.url());
        }
    });
}

void takes60Seconds(Probe& probe) {
    const Machine machine;
    {
        const Check check;
        probe.expectWithin(crypto_check_time_left(), 59000, 60000, "milliseconds left at the beginning");
    }
    const double seconds = exchangesWithin(0);
    probe.expectWithin(seconds, 59.9, 60 + kLate, "seconds of a check");
    probe.measured("a check with silent servers took", seconds, "s");
}

// The command with four silent responders, a Checker without policy, and limits of the program.
void takesTheTimeOfItsUser(Probe& probe) {
    const SmallPki pki;
    std::vector<std::string> addresses;
    for (int i = 0; i < 4; ++i) {  // on different ports: a server that was silent once is skipped
        addresses.push_back((new HttpServer(silence))->url());
    }
    const Identity leaf = issue(pki.ca, {.commonName = "silent", .ocspUrls = addresses});
    const Machine machine;
    std::vector<std::thread> threads;
    if (!probe.command.empty()) {
        threads.emplace_back([&] {
            const std::string file = machine.folder().write("leaf.pem", leaf.certificatePem());
            const std::string issuer = machine.folder().write("ca.pem", pki.ca.certificatePem());
            const double seconds = secondsOf([&] {
                probe.expect(
                    command(probe.command, machine, {"check", file, "--issuer", issuer}, 45000).exitStatus == 3,
                    "the command says that nothing is proven");
            });
            probe.expectWithin(seconds, 29.9, 30 + kLate, "seconds of the command");
            probe.measured("the command took", seconds, "s");
        });
    }
    threads.emplace_back([&] {
        const double seconds =
            secondsOf([&] { static_cast<void>(Checker(pki.trust()).check(leaf.certificate, pki.ca.certificate)); });
        probe.expectWithin(seconds, 9.9, 10 + kLate, "seconds of a Checker");
    });
    threads.emplace_back(
        [&] { probe.expectWithin(exchangesWithin(2000), 1.9, 2 + kLate, "seconds of the program's limit"); });
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::_Exit(0);
}

// A certificate with eleven addresses, of which one has a good answer.
void asks8Responders(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    int good = 0;
    ResponseSpec response = pki.good(pki.delegate());
    HttpServer server([&](const HttpRequest& request) {
        return request.target == "/" + std::to_string(good) ? answering(response)(request) : HttpReply{.status = 500};
    });
    std::vector<std::string> addresses;
    for (int i = 1; i <= 11; ++i) {
        addresses.push_back(server.url("/" + std::to_string(i)));
    }
    const Identity leaf = issue(pki.ca, {.commonName = "many", .ocspUrls = addresses});
    response.entries = {EntrySpec(certIdOf(leaf, pki.ca))};
    const auto check = [&] {
        return Checker(pki.trust(), {.nonce = tallow::Nonce::kOff}).check(leaf.certificate, pki.ca.certificate);
    };
    good = 8;
    probe.expect(check().answer == Answer::kGood, "the eighth responder is asked");
    good = 9;
    const std::size_t before = server.requests().size();
    const tallow::Verdict verdict = check();
    probe.expect(verdict.answer == Answer::kUnproven, "the ninth is not asked");
    probe.expect(server.requests().size() - before == 8, "8 requests");
    const auto skipped = std::count_if(verdict.attempts.begin(), verdict.attempts.end(),
                                       [](const tallow::Attempt& attempt) { return attempt.isSkipped; });
    probe.expect(skipped == 3, "the other 3 are listed as skipped");
}

// ---- Addresses ------------------------------------------------------------------------------------------------------

// What a check of a certificate with this address contacts.
std::vector<std::string> contactedFor(const SmallPki& pki, const std::string& address) {
    const Identity leaf = issue(pki.ca, {.commonName = "leaf", .key = pki.leaf.key, .ocspUrls = {address}});
    static_cast<void>(takeContacted());
    const tallow::Options options{.timeout = std::chrono::milliseconds(3000), .nonce = tallow::Nonce::kOff};
    static_cast<void>(Checker(pki.trust(), options).check(leaf.certificate, pki.ca.certificate));
    return takeContacted();
}

bool isContacted(const SmallPki& pki, const std::string& address) {
    return !contactedFor(pki, address).empty();
}

void refusesLogins(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    HttpServer server([](const HttpRequest&) { return HttpReply{.status = 500}; });
    const std::string host = "127.0.0.1:" + std::to_string(server.port()) + "/";
    probe.expect(isContacted(pki, "http://" + host), "an address without a login is contacted");
    for (const char* const login : {"user:password@", "user@", ":@", "@", "a%3Ab@"}) {
        probe.expect(!isContacted(pki, "http://" + (login + host)), std::string("not with the login ") + login);
    }
    const int before = server.numConnections();
    HttpServer from([&](const HttpRequest&) { return redirectTo("http://user:password@" + host, 307); });
    isContacted(pki, from.url());
    probe.expect(from.numConnections() == 1 && server.numConnections() == before, "nor in a redirect");
}

// As a number, as the address of a name, and as the target of a redirect.
void expectRefused(Probe& probe, const SmallPki& pki, const std::vector<std::string>& hosts, bool isRefused) {
    std::string location;
    HttpServer from([&](const HttpRequest&) { return redirectTo(location, 307); });
    for (const std::string& host : hosts) {
        const std::string url = "http://" + host + ":8080/";
        probe.expect(isContacted(pki, url) != isRefused, (isRefused ? "not contacted: " : "contacted: ") + url);
        const std::string number = host.front() == '[' ? host.substr(1, host.size() - 2) : host;
        const bool isPlain = number.find_first_of(":.") != std::string::npos && number.find('x') == std::string::npos;
        if (isPlain) {
            setAddresses("host.test", {number});
            probe.expect(isContacted(pki, "http://host.test:8080/") != isRefused,
                         (isRefused ? "not contacted by name: " : "contacted by name: ") + number);
        }
        location = url;
        for (const std::string& contacted : contactedFor(pki, from.url())) {
            probe.expect(!isRefused || contacted == "127.0.0.1", "not contacted by a redirect: " + contacted);
        }
    }
}

const std::vector<std::string> kSpecial = {
    "169.254.169.254", "224.0.0.1", "239.255.255.250", "255.255.255.255", "240.0.0.1", "0.0.0.0", "0.1.2.3",
    // Other spellings of numbers.
    "2852039166", "0xa9fea9fe", "169.254.43518", "0251.0376.0251.0376",
    // IPv6, and IPv4 within it: mapped, compatible, translated, NAT64, 6to4, Teredo.
    "[::]", "[fe80::1]", "[febf::1]", "[ff02::1]", "[::ffff:169.254.169.254]", "[::ffff:0:169.254.169.254]",
    "[::169.254.169.254]", "[64:ff9b::169.254.169.254]", "[64:ff9b:1::169.254.169.254]", "[2002:a9fe:a9fe::1]",
    "[2001:0:1:2:3:4:5601:5601]"};
const std::vector<std::string> kPrivate = {
    "127.0.0.1",          "127.255.255.254", "10.1.2.3",  "172.16.0.1", "172.31.255.254",    "192.168.1.1",
    "100.64.0.1",         "[::1]",           "[fd00::1]", "[fec0::1]",  "[::ffff:10.1.2.3]", "[64:ff9b::10.1.2.3]",
    "[2002:0a01:0203::1]"};
const std::vector<std::string> kPublic = {"198.51.100.7",      "11.0.0.1",    "172.32.0.1", "[2600::1]",
                                          "[::ffff:11.0.0.1]", "169.253.0.1", "223.0.0.1",  "100.128.0.1"};

void refusesSpecialAddresses(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    expectRefused(probe, pki, kSpecial, true);
    expectRefused(probe, pki, kPublic, false);
    expectRefused(probe, pki, kPrivate, false);
}

void refusesPrivateAddresses(Probe& probe) {
    const Machine machine("refuse_private_addresses = true\n");
    const SmallPki pki;
    expectRefused(probe, pki, kSpecial, true);
    expectRefused(probe, pki, kPrivate, true);
    expectRefused(probe, pki, {"localhost", "localhost.", "LOCALHOST", "a.localhost"}, true);
    expectRefused(probe, pki, kPublic, false);
}

}  // namespace

std::vector<Driver> checkDrivers() {
    constexpr const char* kCheck =
        "a check (one `Send` with its verification, one call of a `Checker`, or what a program puts between "
        "`crypto_begin_check` and `crypto_end_check`)";
    constexpr const char* kAddress = "an address in a certificate or redirect";
    return {
        {kCheck, "60 s", takes60Seconds, 60, true},
        {kCheck, "(30 s in the command, 10 s in a `Checker` without policy), or the program's own limit",
         takesTheTimeOfItsUser, 30},
        {kCheck, "8 responders of one certificate; `get_Attempts` lists what was skipped", asks8Responders},
        {kAddress, "no login in it", refusesLogins},
        {kAddress,
         "never link-local, multicast, broadcast, reserved or unspecified, as the name resolves and in every IPv6 form",
         refusesSpecialAddresses},
        {kAddress, "with `refuse_private_addresses` neither loopback nor private", refusesPrivateAddresses},
    };
}

}  // namespace proof
