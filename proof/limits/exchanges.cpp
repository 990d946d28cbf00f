// Drivers for HTTP: an exchange, its connections and its redirects.
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/network_calls.h"
#include "proof/limits/scene.h"

namespace proof {

using namespace testkit;

namespace {

constexpr std::size_t kMiB = 1 << 20;

void readsOneMiB(Probe& probe) {
    const Machine machine;
    std::size_t size = 0;
    BodyFraming framing = BodyFraming::kContentLength;
    HttpServer server([&](const HttpRequest&) { return HttpReply{.framing = framing, .padBodyTo = size}; });
    for (const BodyFraming each : {BodyFraming::kContentLength, BodyFraming::kChunked, BodyFraming::kUntilClose}) {
        framing = each;
        size = kMiB;
        probe.expect(post(server.url()).body.size() == kMiB, "a body of 1 MiB is read");
        size = kMiB + 1;
        const Exchanged beyond = post(server.url());
        probe.expect(beyond.status == 0 && beyond.body.empty(), "one octet more is refused");
    }
    size = std::size_t{1} << 40;
    Exchanged endless;
    Memory memory;
    const double seconds = secondsOf([&] { memory = memoryOf([&] { endless = post(server.url()); }); });
    probe.expect(endless.status == 0 && seconds < 5, "an endless body is refused at once");
    if (isMemoryCounted()) {
        // A vector that grows, and the buffers of libcurl and of the server of this process.
        probe.expectWithin(static_cast<double>(memory.most), 0, 4.0 * kMiB, "octets of memory for an endless body");
        probe.measured("memory for an endless body", static_cast<double>(memory.most) / kMiB, "MiB");
    }
}

// A whole head of `size` octets.
Bytes headOf(std::size_t size, std::string first, const std::string& last) {
    constexpr std::size_t kLine = 1000;
    while (size - first.size() - last.size() > 2 * kLine) {
        first += "X: " + std::string(kLine - 5, 'a') + "\r\n";
    }
    first += "X: " + std::string(size - first.size() - last.size() - 5, 'a') + "\r\n";
    return bytesOf(first + last);
}

// The extension of a chunk is as long as the server wants.
void reads16MiBOfChunks(Probe& probe) {
    const Machine machine;
    std::string extension;
    HttpServer server([&extension](const HttpRequest&) {
        return HttpReply{.rawReply = bytesOf("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1;" + extension +
                                             "\r\nx\r\n0\r\n\r\n")};
    });
    extension.assign(15 * kMiB, 'e');
    probe.expect(post(server.url()).body.size() == 1, "a chunk with 15 MiB around it is read");
    extension.assign(17 * kMiB, 'e');
    probe.expect(post(server.url()).status == 0, "17 MiB are refused");
}

void reads64KiBOfHeader(Probe& probe) {
    const Machine machine;
    constexpr std::size_t kLimit = 65536;
    std::size_t size = kLimit;
    std::string self;
    HttpServer server([&](const HttpRequest& request) {
        const bool isLast = request.target == "/0";
        const std::string first = isLast ? "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n"
                                         : "HTTP/1.1 307 Go\r\nContent-Length: 0\r\nLocation: " + self +
                                               static_cast<char>(request.target[1] - 1) + "\r\n";
        Bytes reply = headOf(size, first, "Connection: close\r\n\r\n");
        reply.insert(reply.end(), isLast ? 2 : 0, 'x');
        return HttpReply{.rawReply = reply};
    });
    self = server.url("/");
    probe.expect(post(server.url("/0")).status == 200, "a head of 64 KiB is read");
    probe.expect(post(server.url("/3")).status == 200, "a head of 64 KiB at each of four hops is read");
    size = kLimit + 1;
    probe.expect(post(server.url("/0")).status == 0, "one octet more is refused");
}

// One server sends its answer slowly and for ever, the other in time.
void takes15Seconds(Probe& probe) {
    const Machine machine;
    HttpServer slow([](const HttpRequest&) { return HttpReply{.padBodyTo = kMiB, .pauseEachKilobyteMs = 200}; });
    HttpServer silent([](const HttpRequest&) { return HttpReply{.delayMs = 60000}; });
    HttpServer late([](const HttpRequest&) { return HttpReply{.body = {1}, .delayMs = 14000}; });
    std::vector<std::thread> threads;
    for (const HttpServer* const server : {&slow, &silent}) {
        threads.emplace_back([&probe, server] {
            Exchanged result;
            const double seconds = secondsOf([&] { result = post(server->url()); });
            probe.expect(result.status == 0, "an answer that takes longer is refused");
            probe.expectWithin(seconds, 14.9, 15 + kLate, "seconds until the exchange ends");
            probe.measured("an exchange without an end took", seconds, "s");
        });
    }
    threads.emplace_back([&] { probe.expect(post(late.url()).status == 200, "an answer after 14 s is read"); });
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::_Exit(0);  // the servers are not waited for
}

void follows3Redirects(Probe& probe) {
    const Machine machine;
    std::string self;
    HttpServer server([&](const HttpRequest& request) {
        const int left = std::stoi(request.target.substr(1));
        return left == 0 ? HttpReply{.body = {1}} : redirectTo(self + std::to_string(left - 1), 307);
    });
    self = server.url("/");
    probe.expect(post(server.url("/3")).status == 200, "3 redirects are followed");
    probe.expect(server.requests().size() == 4, "4 requests");
    probe.expect(post(server.url("/4")).status == 0, "4 redirects are refused");
    probe.expect(server.requests().size() == 8, "no request for the fourth target");
}

// ---- Open connections -----------------------------------------------------------------------------------------------

// Exchanges at the same time, more than connections are kept, so that each needs its own.
void exchangeAtOnce(const std::vector<const HttpServer*>& servers, int eachServer) {
    std::vector<std::thread> threads;
    for (const HttpServer* const server : servers) {
        for (int i = 0; i < eachServer; ++i) {
            threads.emplace_back([server] { static_cast<void>(post(server->url())); });
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

HttpReply keptOpen(const HttpRequest&) {
    return {.body = {1}, .delayMs = 300, .after = AfterReply::kNextRequest};
}

void keeps8ForOneServer(Probe& probe) {
    const Machine machine("connection_idle_ms = 20000\n");
    HttpServer server(keptOpen);
    exchangeAtOnce({&server}, 7);
    probe.expect(openConnections(server.port()) == 7, "7 connections are kept");
    exchangeAtOnce({&server}, 24);
    probe.expect(server.numConnections() >= 24, "24 exchanges at once have 24 connections");
    probe.expectWithin(openConnections(server.port()), 8, 8, "connections kept for one server");
}

std::size_t descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void keeps16InTheProcess(Probe& probe) {
    const Machine machine("connection_idle_ms = 20000\n");
    HttpServer first(keptOpen);
    HttpServer second(keptOpen);
    HttpServer third(keptOpen);
    HttpServer closing([](const HttpRequest&) { return HttpReply{}; });
    post(closing.url());  // opens what exchanges need once
    pauseMs(300);         // until the server has closed its end
    const std::size_t before = descriptors();
    exchangeAtOnce({&first, &second, &third}, 10);
    const int open = openConnections(first.port()) + openConnections(second.port()) + openConnections(third.port());
    probe.expectWithin(open, 16, 16, "connections kept in the process");
    // The servers are in this process, with a descriptor for each connection as well. They close those of the other
    // connections a little later.
    const auto used = [&] { return static_cast<double>(descriptors() - before); };
    for (int i = 0; i < 30 && used() > 4.0 * open; ++i) {
        pauseMs(100);
    }
    probe.expectWithin(used(), 4.0 * open, 4.0 * open, "descriptors of both ends");
}

void endsAfter1Second(Probe& probe) {
    const Machine machine;
    HttpServer server(keptOpen);
    for (int i = 0; i < 2; ++i) {
        post(server.url());
        pauseMs(600);
        probe.expect(openConnections(server.port()) == 1, "still open after 0.6 s, also after a second exchange");
    }
    probe.expect(server.numConnections() == 1, "one connection for both");
    pauseMs(800);
    probe.expect(openConnections(server.port()) == 0, "closed 1.4 s after the last exchange");
}

void ends60SecondsAfterOpening(Probe& probe) {
    const Machine machine;
    HttpServer server([](const HttpRequest&) { return HttpReply{.body = {1}, .after = AfterReply::kNextRequest}; });
    double seconds = 0;
    const auto start = std::chrono::steady_clock::now();
    for (; seconds < 63; seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()) {
        post(server.url());
        if (server.numConnections() > 1) {
            break;
        }
        pauseMs(100);
    }
    probe.expectWithin(seconds, 59.5, 60 + kLate, "seconds until a busy connection is replaced");
    probe.measured("a connection in use was replaced after", seconds, "s");
}

// ---- Redirects ------------------------------------------------------------------------------------------------------

void followsHttpAlone(Probe& probe) {
    const Machine machine;
    HttpServer target([](const HttpRequest&) { return HttpReply{.body = {1}}; });
    const std::string server = "127.0.0.1:" + std::to_string(target.port()) + "/";
    std::string location = "http://" + server;
    HttpServer from([&](const HttpRequest&) { return redirectTo(location, 307); });
    probe.expect(post(from.url()).status == 200, "a redirect to http is followed");
    const int before = target.numConnections();
    const std::string file = machine.folder().write("file", "content");
    for (const char* const scheme : {"ftp", "gopher", "ldap", "dict", "telnet", "ws", "smb", "imap", "file"}) {
        location = std::string(scheme) + "://" + (scheme == std::string("file") ? file : server);
        const Exchanged result = post(from.url());
        probe.expect(result.status == 0 && result.body.empty(), std::string("no redirect to ") + scheme);
    }
    probe.expect(target.numConnections() == before, "no connection for another scheme");
}

// The certificate of the server is a root of the bundle itself.
void neverLeavesHttps(Probe& probe) {
    const Identity site =
        selfSigned({.commonName = "127.0.0.1", .extensions = {{"2.5.29.17", fromHex("3006 8704 7F000001")}}});
    const Machine machine;
    const std::string bundle = machine.folder().write("bundle.pem", site.certificatePem());
    machine.use("system_bundle = \"" + bundle + "\"\n");
    HttpServer plain([](const HttpRequest&) { return HttpReply{.body = {1}}; });
    HttpServer secure([](const HttpRequest&) { return HttpReply{.body = {1}}; }, &site);
    std::string location = secure.url();
    HttpServer from([&](const HttpRequest&) { return redirectTo(location, 307); }, &site);
    HttpServer plainFrom([&](const HttpRequest&) { return redirectTo(location, 307); });
    probe.expect(post(from.url()).status == 200, "from https to https");
    probe.expect(post(plainFrom.url()).status == 200, "from http to https");
    location = plain.url();
    probe.expect(post(from.url()).status == 0, "not from https to http");
    probe.expect(plain.numConnections() == 0, "no connection to the http server");
}

// The server of the redirect chooses among the spellings of the same server.
void holdsPolicyForTargets(Probe& probe) {
    const SmallPki pki;
    const Machine machine;
    machine.write("ROOT/root.pem", bytesOf(pki.root.certificatePem()));
    machine.write("CA/root.crl", pki.rootCrl);
    machine.write("CA/ca.crl", pki.caCrl);
    HttpServer target(answering(pki.good(pki.delegate())));
    std::string location = target.url();
    HttpServer from([&](const HttpRequest&) { return redirectTo(location, 307); });
    const tallow::Checker checker(tallow::Trust::system(), {.responders = {from.url()}});
    const auto answer = [&](const std::string& policy) {
        machine.use("", policy);
        return checker.check(pki.leaf.certificate, pki.ca.certificate).answer;
    };
    const std::string port = std::to_string(target.port());
    probe.expect(answer("") == tallow::Answer::kGood, "without a policy the redirect is followed");
    const int before = target.numConnections();
    for (const std::string& spelling :
         {target.url(), "HTTP://127.0.0.1:" + port + "/", "http://127.0.0.1:" + port, "http://127.1:" + port + "/",
          "http://127.0.0.1:0" + port + "/", "http://2130706433:" + port + "/", "http://0x7f.1:" + port + "/./",
          "http://127.0.0.1:" + port + "/x/..", "http://%31%32%37.0.0.1:" + port + "/",
          "http://127.0.0.1:" + port + "/#x", "http://127.0.0.1:" + port + "/?", "//127.0.0.1:" + port + "/"}) {
        location = spelling;
        probe.expect(answer("DeniedOCSPs = [\"" + target.url() + "\"]\n") == tallow::Answer::kUnproven,
                     "refused as " + spelling);
    }
    location = target.url();
    probe.expect(answer("AllowedOCSPs = [\"" + from.url() + "\"]\n") == tallow::Answer::kUnproven, "not allowed");
    const Identity site = selfSigned({.commonName = "127.0.0.1"});
    HttpServer secure([](const HttpRequest&) { return HttpReply{}; }, &site);
    HttpServer toSecure([&](const HttpRequest&) { return redirectTo(secure.url(), 307); });
    machine.use("", "AuthSSLDenyAnonym = true\n");
    const tallow::Verdict verdict = tallow::Checker(tallow::Trust::system(), {.responders = {toSecure.url()}})
                                        .check(pki.leaf.certificate, pki.ca.certificate);
    probe.expect(verdict.answer == tallow::Answer::kUnproven && secure.numConnections() == 0,
                 "no anonymous access to a target over https");
    probe.expect(target.numConnections() == before, "no connection to a target that is refused");
}

void keepsNoCookies(Probe& probe) {
    const Machine machine;
    std::string self;
    HttpServer server([&](const HttpRequest& request) {
        HttpReply reply = request.target == "/" ? redirectTo(self + "2", 307) : HttpReply{.body = fromHex("1F8B0800")};
        reply.headers.emplace_back("Set-Cookie", "a=b; Path=/");
        reply.headers.emplace_back("Content-Encoding", "gzip");
        return reply;
    });
    self = server.url("/");
    for (int i = 0; i < 2; ++i) {
        probe.expect(post(server.url()).body == fromHex("1F8B0800"), "a compressed body stays as it is");
    }
    for (const HttpRequest& request : server.requests()) {
        probe.expect(request.header("Cookie").empty(), "no cookie is sent back");
        probe.expect(request.header("Accept-Encoding").empty(), "no compression is asked for");
    }
    HttpServer coding([](const HttpRequest&) {
        return HttpReply{.headers = {{"Transfer-Encoding", "gzip"}}, .body = fromHex("1F8B0800")};
    });
    probe.expect(post(coding.url()).status == 0, "a compressed transfer is refused");
}

}  // namespace

std::vector<Driver> exchangeDrivers() {
    constexpr const char* kResponse = "an HTTP response";
    constexpr const char* kOpen = "open connections that wait for the next exchange";
    constexpr const char* kRedirect = "a redirect";
    return {
        {kResponse, "1 MiB of body, counted as it arrives", readsOneMiB},
        {kResponse, "in chunks 16 MiB with all that is around it", reads16MiBOfChunks},
        {kResponse, "64 KiB of header lines for each hop", reads64KiBOfHeader},
        {kResponse, "15 s", takes15Seconds, 15},
        {kResponse, "at most 3 redirects", follows3Redirects},
        {kOpen, "8 for one server", keeps8ForOneServer},
        {kOpen, "16 in the process, each three descriptors", keeps16InTheProcess},
        {kOpen, "1 s after their last exchange", endsAfter1Second, 3},
        {kOpen, "60 s after they were opened", ends60SecondsAfterOpening, 60, true},
        {kRedirect, "http and https only", followsHttpAlone},
        {kRedirect, "never from https down to http", neverLeavesHttps},
        {kRedirect, "`AllowedOCSPs`, `DeniedOCSPs` (in any spelling) and the `Auth…Deny…` words hold for each target",
         holdsPolicyForTargets},
        {kRedirect, "no cookies, no decompression", keepsNoCookies},
    };
}

}  // namespace proof
