// What the paths work with: a PKI, its files, a responder, and a server for certificates and CRLs.
#pragma once

#include <string>

#include "tests/support/pki.h"
#include "tests/support/temp_dir.h"

namespace proof {

using testkit::Bytes;
using testkit::Identity;

class Scene {
public:
    Scene();
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    Identity root, ca, delegate;
    Identity good, revoked, unknown;  // without addresses
    Identity online;                  // good; names the responder, and where its issuer is
    Identity requestor;
    Bytes rootCrl, caCrl;
    Bytes goodResponse, revokedResponse;  // without a nonce, signed by the delegate
    Bytes goodRequest, signedRequest;

    std::string responderUrl() const { return "http://127.0.0.1:" + std::to_string(responderPort_) + "/"; }
    std::string tlsAddress() const { return "127.0.0.1:" + std::to_string(tlsPort_); }

    /// The directory with root.pem, ca.pem, good.pem, ..., root.crl, ca.crl, response.der, request.der, requestor.key.
    const testkit::TempDir& files() const { return files_; }

    /// Settings, stores and a cache in `folder`: the root is trusted, the CA and the CRLs are in a store. Returns the
    /// settings file.
    std::string makeMachine(const testkit::TempDir& folder) const;

private:
    void serve();
    Bytes answerTo(const Bytes& request) const;

    testkit::TempDir files_;
    pid_t server_ = -1;
    int responderPort_ = 0, webPort_ = 0, tlsPort_ = 0;
};

}  // namespace proof
