// A real responder: `openssl ocsp` on a free port of this machine, ended by its process id. It serves one connection
// at a time and knows only the certificates of the index.
//
//   Responder responder({.ca = pki.ca, .signer = pki.delegate, .index = {{pki.good, 'V'}, {pki.revoked, 'R'}}});
//   request.put_OCSPAddress(responder.url());
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/pki.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace testkit {

struct IndexEntry {
    Identity certificate;
    char state = 'V';                      // 'V' good, 'R' revoked; a certificate not listed is unknown
    std::string reason = "keyCompromise";  // with 'R'
};

struct ResponderOptions {
    Identity ca;
    Identity signer;
    std::vector<IndexEntry> index;
    std::vector<std::string> arguments;  // further ones, such as {"-nmin", "5"} or {"-resp_key_id"}
    std::string clock;                   // as for clockEnvironment; empty: the real time
    std::string configuration = {};      // file for OPENSSL_CONF; empty: the system's
};

class Responder {
public:
    explicit Responder(const ResponderOptions& options);
    ~Responder();

    int port() const { return port_; }
    /// "http://127.0.0.1:port/"
    std::string url() const;
    void stop();

private:
    TempDir dir_;
    std::unique_ptr<BackgroundProcess> process_;
    int port_ = 0;
    std::string pid_;
};

}  // namespace testkit
