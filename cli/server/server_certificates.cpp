#include "cli/server/server_certificates.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <new>

#include "cli/server/connection.h"
#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Session = std::unique_ptr<SSL, decltype(&SSL_free)>;

// A server that closes the connection must not end the process: OpenSSL writes without MSG_NOSIGNAL.
class BrokenPipeIgnored {
public:
    BrokenPipeIgnored() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        isSet_ = ::sigaction(SIGPIPE, &ignore, &before_) == 0;
    }
    BrokenPipeIgnored(const BrokenPipeIgnored&) = delete;
    BrokenPipeIgnored& operator=(const BrokenPipeIgnored&) = delete;
    ~BrokenPipeIgnored() {
        if (isSet_) {
            ::sigaction(SIGPIPE, &before_, nullptr);
        }
    }

private:
    struct sigaction before_ {};
    bool isSet_ = false;
};

// The reason of the first failure that OpenSSL noted, "" for none; forgets all.
std::string takeReason() {
    const char* const reason = ERR_reason_error_string(ERR_peek_error());
    ERR_clear_error();
    return reason == nullptr ? "" : reason;
}

[[noreturn]] void failSetup() {
    throw ServerFailure(status::kFail, "TLS cannot be set up: " + takeReason() +
                                           "; check the memory and OpenSSL's configuration (openssl.cnf)");
}

// Which certificate is revoked does not depend on how well the connection is protected, so weak servers are accepted.
Context makeContext() {
    Context context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_max_proto_version(context.get(), 0) != 1) {
        failSetup();
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_options(context.get(), SSL_OP_LEGACY_SERVER_CONNECT);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    return context;
}

// OpenSSL skips some messages without coming back to us. A server that sends them faster than they are read would keep
// it busy for ever, so reading fails when the time is over.
long endReadingAtDeadline(BIO* source, int operation, const char* /*octets*/, std::size_t /*size*/, int /*argument*/,
                          long /*number*/, int result, std::size_t* /*processed*/) {
    const auto* const deadline = reinterpret_cast<const Deadline*>(BIO_get_callback_arg(source));
    return operation == BIO_CB_READ && deadline->millisecondsLeft() == 0 ? -1 : result;
}

// `deadline` must live longer.
Session makeSession(SSL_CTX* context, const std::string& serverName, int descriptor, const Deadline& deadline) {
    Session session(SSL_new(context), SSL_free);
    if (!session || SSL_set_fd(session.get(), descriptor) != 1 ||
        SSL_set_tlsext_status_type(session.get(), TLSEXT_STATUSTYPE_ocsp) != 1 ||
        (!serverName.empty() && SSL_set_tlsext_host_name(session.get(), serverName.c_str()) != 1)) {
        failSetup();
    }
    BIO* const source = SSL_get_rbio(session.get());
    BIO_set_callback_arg(source, const_cast<char*>(reinterpret_cast<const char*>(&deadline)));
    BIO_set_callback_ex(source, endReadingAtDeadline);
    return session;
}

// What may help, by what went wrong.
std::string remedyFor(int reason, const ServerToAsk& server) {
    constexpr int kFirstAlert = SSL_AD_REASON_OFFSET;  // reasons from here on are alerts of the server
    if (reason >= kFirstAlert) {
        return server.serverName.empty() ? "the server refused; name it (--servername)"
                                         : "the server refused; check its name (--servername) and its TLS settings";
    }
    if (server.startTls != nullptr) {
        return "check the port, and that the server speaks TLS 1.2 or later";
    }
    const StartTlsProtocol* usual = startTlsAt(server.address.port);
    return usual != nullptr
               ? "servers on this port usually begin without TLS: add --starttls " + std::string(usual->name)
               : "check that the server speaks TLS 1.2 or later on this port, or name its protocol "
                 "(--starttls)";
}

[[noreturn]] void failHandshake(const ServerToAsk& server) {
    const int reason = ERR_GET_REASON(ERR_peek_error());
    const std::string text = takeReason();
    const bool isClosed = text.empty() || reason == SSL_R_UNEXPECTED_EOF_WHILE_READING;
    throw ServerFailure(
        status::kHttpForbidden,
        "TLS handshake: " + (isClosed ? "the server closed the connection" : text) + "; " + remedyFor(reason, server));
}

// Until TLS 1.2 a server that insists on a certificate of the client breaks off when all that is needed has been sent.
// By then it has proven, with the signature over its key exchange, that it has its private key.
bool isRefusedAfterProof(const SSL* session) {
    const SSL_CIPHER* const cipher = SSL_get_pending_cipher(session);
    return SSL_get_state(session) == TLS_ST_CW_FINISHED && cipher != nullptr &&
           (SSL_CIPHER_get_kx_nid(cipher) == NID_kx_ecdhe || SSL_CIPHER_get_kx_nid(cipher) == NID_kx_dhe);
}

void shakeHands(SSL* session, const Connection& connection, const ServerToAsk& server, const Deadline& deadline) {
    ERR_clear_error();
    for (int result = SSL_connect(session); result != 1; result = SSL_connect(session)) {
        switch (SSL_get_error(session, result)) {
            case SSL_ERROR_WANT_READ:
                connection.wait(POLLIN, "TLS handshake: the server did not answer");
                break;
            case SSL_ERROR_WANT_WRITE:
                connection.wait(POLLOUT, "TLS handshake: the server did not receive what was sent");
                break;
            default:
                if (isRefusedAfterProof(session)) {
                    return;
                }
                if (deadline.millisecondsLeft() == 0) {
                    deadline.fail("TLS handshake: the server did not complete it");
                }
                failHandshake(server);
        }
    }
}

Bytes encodingOf(const X509* certificate) {
    unsigned char* der = nullptr;
    const int size = i2d_X509(certificate, &der);
    const auto freeIt = [](unsigned char* octets) { OPENSSL_free(octets); };
    const std::unique_ptr<unsigned char, decltype(freeIt)> owner(der, freeIt);
    if (size <= 0) {
        throw std::bad_alloc();
    }
    return {der, der + size};
}

// The TLS feature status_request. An extension that cannot be read may require it.
bool requiresStaple(const X509* certificate) {
    constexpr long kStatusRequest = TLSEXT_TYPE_status_request;
    int found = 0;
    const std::unique_ptr<TLS_FEATURE, decltype(&TLS_FEATURE_free)> features(
        static_cast<TLS_FEATURE*>(X509_get_ext_d2i(certificate, NID_tlsfeature, &found, nullptr)), TLS_FEATURE_free);
    if (!features) {
        constexpr int kAbsent = -1;
        return found != kAbsent;
    }
    for (int i = 0; i < sk_ASN1_INTEGER_num(features.get()); ++i) {
        if (ASN1_INTEGER_get(sk_ASN1_INTEGER_value(features.get(), i)) == kStatusRequest) {
            return true;
        }
    }
    return false;
}

ServerCertificates sentIn(SSL* session) {
    ServerCertificates sent;
    const STACK_OF(X509)* const chain = SSL_get_peer_cert_chain(session);
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        X509* const certificate = sk_X509_value(chain, i);
        sent.chain.push_back({encodingOf(certificate), X509_self_signed(certificate, 1) == 1});
    }
    if (sent.chain.empty()) {
        throw ServerFailure(status::kHttpForbidden, "TLS handshake: the server sent no certificate; check the port");
    }
    sent.requiresStaple = requiresStaple(sk_X509_value(chain, 0));
    unsigned char* staple = nullptr;  // stays with the session
    const long size = SSL_get_tlsext_status_ocsp_resp(session, &staple);
    if (staple != nullptr && size > 0) {
        sent.staple.assign(staple, staple + size);
    }
    ERR_clear_error();
    return sent;
}

}  // namespace

ServerCertificates retrieveCertificates(const ServerToAsk& server) {
    const BrokenPipeIgnored ignored;
    const Deadline deadline(server.timeout);
    Connection connection(server.address, deadline);
    if (server.startTls != nullptr) {
        startTls(connection, *server.startTls, server.serverName.empty() ? server.address.host : server.serverName);
    }
    const Context context = makeContext();
    const Session session = makeSession(context.get(), server.serverName, connection.descriptor(), deadline);
    shakeHands(session.get(), connection, server, deadline);
    ServerCertificates sent = sentIn(session.get());
    if (SSL_is_init_finished(session.get()) == 1) {
        static_cast<void>(SSL_shutdown(session.get()));  // a farewell; its failure changes nothing
    }
    return sent;
}

}  // namespace tallow::cli
