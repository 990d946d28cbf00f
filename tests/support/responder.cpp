#include "tests/support/responder.h"

#include <cstdlib>

namespace testkit {

namespace {

// One line of the index: state, end of validity, time and reason of revocation, serial number, file, subject. The
// responder looks at the state, the serial number and the revocation only; the rest has to be well formed.
std::string indexLine(const IndexEntry& entry) {
    const bool isRevoked = entry.state == 'R';
    const std::string shortTime = generalizedTimeText(-7200).substr(2);
    const std::string serialHex = toHex(entry.certificate.serial());
    std::string upper;
    for (const char c : serialHex) {
        upper.push_back(c >= 'a' ? static_cast<char>(c - 0x20) : c);
    }
    return std::string(1, entry.state) + "\t" + generalizedTimeText(24 * 3600).substr(2) + "\t" +
           (isRevoked ? shortTime + "," + entry.reason : "") + "\t" + upper + "\tunknown\t/CN=entry" + upper + "\n";
}

std::string makeIndex(const std::vector<IndexEntry>& entries) {
    std::string text;
    for (const IndexEntry& entry : entries) {
        text += indexLine(entry);
    }
    return text;
}

}  // namespace

Responder::Responder(const ResponderOptions& options) {
    std::vector<std::string> arguments;
    if (!options.clock.empty()) {
        // faketime stays beside the responder; when it is ended, the responder has to follow.
        arguments = {"faketime", "-f", options.clock, "setpriv", "--pdeathsig", "KILL"};
    }
    for (const std::string& argument :
         {std::string("openssl"), std::string("ocsp"), std::string("-port"), std::string("0"), std::string("-timeout"),
          std::string("5"), std::string("-index"), dir_.write("index.txt", makeIndex(options.index)),
          std::string("-CA"), dir_.write("ca.pem", options.ca.certificatePem()), std::string("-rsigner"),
          dir_.write("signer.pem", options.signer.certificatePem()), std::string("-rkey"),
          dir_.write("signer.key", options.signer.key.pem())}) {
        arguments.push_back(argument);
    }
    arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
    process_ = std::make_unique<BackgroundProcess>(arguments, dir_.file("output"));
    const std::string output = process_->waitForOutput(" PID=");
    const std::string beforePid = output.substr(0, output.find(" PID="));
    port_ = std::atoi(beforePid.substr(beforePid.rfind(':') + 1).c_str());
}

Responder::~Responder() = default;

std::string Responder::url() const {
    return "http://127.0.0.1:" + std::to_string(port_) + "/";
}

void Responder::stop() {
    process_->stop();
}

}  // namespace testkit
