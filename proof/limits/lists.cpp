// Drivers for lists of certificates, by the command.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "proof/limits/driver.h"
#include "proof/limits/scene.h"

namespace proof {

using namespace testkit;

namespace {

void reads1MiBOfLine(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    constexpr std::size_t kLimit = std::size_t{1} << 20;
    for (const std::size_t size : {kLimit, kLimit + 1}) {
        std::string line = "missing.pem";
        line.insert(0, size - line.size(), ' ');
        const std::string list = machine.folder().write("list", line + '\n');
        const std::string error = command(probe.command, machine, {"check", "--from-file", list}).err;
        const bool isTooLong = error.find("is longer than") != std::string::npos;
        probe.expect(isTooLong == (size > kLimit) && error.find("1 checked") != std::string::npos,
                     std::to_string(size) + " octets of a line");
    }
}

void endsAtLineOf64MiB(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    constexpr std::size_t kLimit = std::size_t{64} << 20;
    for (const std::size_t size : {kLimit, kLimit + 1}) {
        const std::string list = machine.folder().write("list", std::string(size, 'x') + "\nmissing.pem\n");
        const testkit::ProcessResult result = command(probe.command, machine, {"check", "--from-file", list});
        probe.expect((result.err.find("2 checked") != std::string::npos) == (size == kLimit),
                     std::to_string(size) + " octets end a list");
    }
}

// Names, paths, addresses and keys that are too long by one octet, and those that are not.
void partsOfLine(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    constexpr std::string_view kScheme = "http://127.0.0.1/";
    for (const auto& [key, limit] :
         {std::pair<std::string, std::size_t>{"name", 4096}, {"certificate", 4095}, {"url", 2048}}) {
        for (const std::size_t size : {limit, limit + 1}) {
            std::string value = key == "url" ? std::string(kScheme) : "";
            value.append(size - value.size(), 'x');
            const std::string rest = key == "certificate" ? "" : R"("certificate":"missing.pem",)";
            const std::string list = machine.folder().write("list", "{" + rest + '"' + key + "\":\"" + value + "\"}\n");
            const std::string error = command(probe.command, machine, {"check", "--from-file", list}).err;
            const bool isTooLong = error.find("more than " + std::to_string(limit) + " octets") != std::string::npos;
            probe.expect(isTooLong == (size > limit) && error.find("1 checked") != std::string::npos,
                         std::to_string(size) + " octets of a " + key);
        }
    }
    constexpr std::size_t kKey = 64;
    for (const std::size_t size : {kKey, kKey + 1}) {
        const std::string list =
            machine.folder().write("list", "{\"" + std::string(size, 'x') + "\":\"missing.pem\"}\n");
        const std::string error = command(probe.command, machine, {"check", "--from-file", list}).err;
        const bool isTooLong = error.find("more than 64 octets") != std::string::npos;
        probe.expect(isTooLong == (size > kKey) && error.find("1 checked") != std::string::npos,
                     std::to_string(size) + " octets of a key");
    }
}

// How many lines are read ahead through a FIFO; the only check takes longer than this waits. Ends the process.
[[noreturn]] void expectReadAhead(Probe& probe, const Machine& machine, const std::string& line,
                                  const std::string& issuer, int least, int most) {
    std::signal(SIGPIPE, SIG_IGN);
    const HttpServer slow([](const HttpRequest&) { return HttpReply{.delayMs = 60000}; });
    const std::string fifo = machine.folder().file("fifo");
    if (::mkfifo(fifo.c_str(), 0600) != 0) {
        throw std::runtime_error("no FIFO can be made");
    }
    std::atomic<int> numWritten = 0;
    std::thread([&] {
        const int open = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
        while (::write(open, line.data(), line.size()) == static_cast<ssize_t>(line.size())) {
            ++numWritten;
        }
    }).detach();
    std::thread([&] {
        std::vector<std::string> arguments{"check", "--from-file", fifo, "--jobs", "1"};
        arguments.insert(arguments.end(), {"--url", slow.url(), "--timeout", "50"});
        if (!issuer.empty()) {
            arguments.insert(arguments.end(), {"--issuer", issuer});
        }
        command(probe.command, machine, arguments, 20000);
    }).detach();
    for (int last = -1; last != numWritten || last == 0;) {
        last = numWritten;
        pauseMs(2000);
    }
    probe.measured("lines read ahead", numWritten);
    probe.expectWithin(numWritten, least, most, "lines that were read");
    std::_Exit(0);
}

// Lines of 4 KiB, so that few are on their way.
void holds2000Certificates(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const SmallPki pki;
    const Machine machine;
    const std::string certificate = machine.write("leaf.der", pki.leaf.certificate);
    const std::string line = std::string(4095 - certificate.size(), ' ') + certificate + '\n';
    // Those in the queue, one in work, one waiting for room, and what fits into a FIFO and a stream.
    expectReadAhead(probe, machine, line, machine.write("ca.der", pki.ca.certificate), 2000, 2040);
}

// Lines with 0.5 to 1 MB of issuers each.
void holds64MiBOfCertificates(Probe& probe) {
    if (probe.command.empty()) {
        return;
    }
    const SmallPki pki;
    const Machine machine;
    std::string issuers;
    for (const char c : pki.ca.certificatePem()) {
        issuers += c == '\n' ? "\\n" : std::string(1, c);
    }
    while (issuers.size() < 500000) {
        issuers += issuers;
    }
    const std::string line =
        R"({"certificate":")" + machine.write("leaf.der", pki.leaf.certificate) + R"(","issuer":")" + issuers + "\"}\n";
    expectReadAhead(probe, machine, line, "", 64, 138);
}

void permits(Probe& probe, const char* option, int most) {
    if (probe.command.empty()) {
        return;
    }
    const Machine machine;
    const std::string list = machine.folder().write("list", "missing.pem\n");
    for (const int count : {most, most + 1}) {
        const int status =
            command(probe.command, machine, {"check", "--from-file", list, option, std::to_string(count)}).exitStatus;
        probe.expect(status == (count > most ? 64 : 3), std::string(option) + ' ' + std::to_string(count));
    }
}

void checks256AtATime(Probe& probe) {
    permits(probe, "--jobs", 256);
}

void asksOneResponder64Times(Probe& probe) {
    permits(probe, "--per-host", 64);
}

}  // namespace

std::vector<Driver> listDrivers() {
    constexpr const char* kList = "a list (`check --from-file`)";
    return {
        {kList, "1 MiB a line", reads1MiBOfLine},
        {kList, "4 KiB of it for a name, 4095 octets for a path, 2 KiB for an address, 64 octets for a key",
         partsOfLine},
        {kList, "a list ends at a line of 64 MiB", endsAtLineOf64MiB},
        {kList, "2,000 certificates wait", holds2000Certificates, 6},
        {kList, "or 64 MiB with issuers and names", holds64MiBOfCertificates, 6},
        {kList, "256 checks at a time", checks256AtATime},
        {kList, "64 for one responder", asksOneResponder64Times},
    };
}

}  // namespace proof
