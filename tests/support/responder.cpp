#include "tests/support/responder.h"

#include <cstdlib>
#include <filesystem>

namespace testkit {

namespace {

// One line of the index: state, end of validity, time and reason of revocation, serial number, file, subject. The
// responder uses only the state, the serial number and the revocation; the rest must be well-formed.
std::string indexLine(const IndexEntry& entry) {
    const bool isRevoked = entry.state == 'R';
    const std::string shortTime = generalizedTimeText(-7200).substr(2);
    const std::string upper = toUpperHex(entry.certificate.serial());
    return std::string(1, entry.state) + "\t" + generalizedTimeText(24 * 3600).substr(2) + "\t" +
           (isRevoked ? shortTime + "," + entry.reason : "") + "\t" + upper + "\tunknown\t/CN=entry" + upper + "\n";
}

}  // namespace

Responder::Responder(const ResponderOptions& options) {
    std::string index;
    for (const IndexEntry& entry : options.index) {
        index += indexLine(entry);
    }
    std::vector<std::string> arguments = {"openssl",  "ocsp",
                                          "-port",    "0",
                                          "-timeout", "5",
                                          "-index",   dir_.write("index.txt", index),
                                          "-CA",      dir_.write("ca.pem", options.ca.certificatePem()),
                                          "-rsigner", dir_.write("signer.pem", options.signer.certificatePem()),
                                          "-rkey",    dir_.write("signer.key", options.signer.key.pem())};
    arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
    std::vector<std::string> environment;
    if (!options.clock.empty()) {
        environment = clockEnvironment(options.clock);
    }
    if (!options.configuration.empty()) {
        environment.push_back("OPENSSL_CONF=" + options.configuration);
    }
    process_ = std::make_unique<BackgroundProcess>(arguments, dir_.file("output"), environment);
    const std::string output = process_->waitForOutput(" PID=");
    pid_ = std::to_string(std::atoi(output.c_str() + output.find(" PID=") + 5));
    const std::string beforePid = output.substr(0, output.find(" PID="));
    port_ = std::atoi(beforePid.substr(beforePid.rfind(':') + 1).c_str());
}

Responder::~Responder() {
    stop();
}

std::string Responder::url() const {
    return "http://127.0.0.1:" + std::to_string(port_) + "/";
}

void Responder::stop() {
    process_->stop();
    // libfaketime leaves these behind when its program is killed, and fails when the process id is used again.
    for (const char* name : {"/dev/shm/faketime_shm_", "/dev/shm/sem.faketime_sem_"}) {
        std::error_code ignored;
        std::filesystem::remove(name + pid_, ignored);
    }
}

}  // namespace testkit
