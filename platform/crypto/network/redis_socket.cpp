#include "platform/crypto/network/redis_socket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/support/fork_gate.h"

namespace tallow::platform {

namespace {

using std::chrono::steady_clock;

int millisecondsUntil(RedisDeadline deadline) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 3600000));
}

// Certificates in PEM, up to the first block that cannot be read. An encrypted one must not make OpenSSL ask for a
// password on the terminal.
bool addRoots(X509_STORE* store, const std::string& pem) {
    const BioPtr file(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    const auto noPassword = [](char*, int, int, void*) { return -1; };
    int numAdded = 0;
    while (file) {
        const X509Ptr root(PEM_read_bio_X509(file.get(), nullptr, noPassword, nullptr));
        if (!root) {
            break;
        }
        numAdded += X509_STORE_add_cert(store, root.get());
    }
    return numAdded > 0;
}

bool isNumericAddress(const std::string& host) {
    return host.find(':') != std::string::npos || host.find_first_not_of("0123456789.") == std::string::npos;
}

}  // namespace

bool RedisSocket::fail(std::string fault) {
    if (fault_.empty()) {
        fault_ = std::move(fault);
    }
    return false;
}

bool RedisSocket::wait(short events, RedisDeadline deadline) {
    for (;;) {
        pollfd waited{socket_->get(), events, 0};
        int error = 0;
        const int count = [&] {
            const ForkGate::Outside waiting;  // which may change errno
            const int found = ::poll(&waited, 1, millisecondsUntil(deadline));
            error = errno;
            return found;
        }();
        if (count > 0) {
            return true;
        }
        if (count == 0 || error != EINTR) {
            return fail(count == 0 ? "no answer in time" : std::strerror(error));
        }
    }
}

bool RedisSocket::connectTo(const HostAddress& address, RedisDeadline deadline) {
    socket_ = std::make_unique<Descriptor>(
        ::socket(address.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket_->valid()) {
        return fail(std::strerror(errno));
    }
    const int on = 1;
    static_cast<void>(::setsockopt(socket_->get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
    if (::connect(socket_->get(), reinterpret_cast<const sockaddr*>(&address.address), address.size) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return fail(std::strerror(errno));
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (!wait(POLLOUT, deadline)) {
        return false;
    }
    return ::getsockopt(socket_->get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0
               ? true
               : fail(std::strerror(error));
}

bool RedisSocket::connect(const RedisServer& server, RedisDeadline deadline) {
    const std::vector<HostAddress> addresses = lookUpHost(server.address.host, server.address.port, deadline, fault_);
    // Each address gets its share of the time, so that one that is silent does not hide the others.
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        const RedisDeadline now = steady_clock::now();
        const auto share = (deadline - now) / static_cast<int>(addresses.size() - i);
        fault_.clear();
        if (connectTo(addresses[i], now + share)) {
            return !server.address.useTls || beginTls(server, deadline);
        }
    }
    return false;
}

// ---- TLS
// -------------------------------------------------------------------------------------------------------------

bool RedisSocket::beginTls(const RedisServer& server, RedisDeadline deadline) {
    context_.reset(SSL_CTX_new(TLS_client_method()));
    if (!context_ || SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION) != 1 ||
        !addRoots(SSL_CTX_get_cert_store(context_.get()), server.roots)) {
        return fail("TLS: no certificate in the file of roots");
    }
    tls_.reset(SSL_new(context_.get()));
    BIO* const in = BIO_new(BIO_s_mem());
    BIO* const out = BIO_new(BIO_s_mem());
    if (!tls_ || in == nullptr || out == nullptr) {
        BIO_free(in);
        BIO_free(out);
        return fail("TLS: out of memory");
    }
    SSL_set_bio(tls_.get(), in, out);
    SSL_set_verify(tls_.get(), SSL_VERIFY_PEER, nullptr);
    const std::string& host = server.address.host;
    const bool isNamed =
        isNumericAddress(host)
            ? X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls_.get()), host.c_str()) == 1
            : SSL_set1_host(tls_.get(), host.c_str()) == 1 && SSL_set_tlsext_host_name(tls_.get(), host.c_str()) == 1;
    if (!isNamed) {
        return fail("TLS: the host cannot be verified");
    }
    for (;;) {
        if (callTls([this] { return SSL_connect(tls_.get()); }) == 1) {
            return flushTls(deadline);
        }
        if (!continueTls(deadline)) {
            return false;
        }
    }
}

// SSL_get_error needs an empty queue of errors, but this one may hold errors of the program; and after a fatal error
// SSL_want_read may still say that more is wanted. An error of the call comes after the marker, or in place of it.
template <typename Call>
int RedisSocket::callTls(Call call) {
    ERR_set_mark();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long marker = ERR_peek_last_error();
    const int result = call();
    const unsigned long last = ERR_peek_last_error();
    tlsError_ = last == marker ? 0 : last;
    ERR_pop_to_mark();
    return result;
}

bool RedisSocket::flushTls(RedisDeadline deadline) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(SSL_get_wbio(tls_.get()), &data);
    const bool isSent = size <= 0 || sendPlain({data, static_cast<std::size_t>(size)}, deadline);
    static_cast<void>(BIO_reset(SSL_get_wbio(tls_.get())));
    return isSent;
}

bool RedisSocket::continueTls(RedisDeadline deadline) {
    const bool wantsMore = tlsError_ == 0 && SSL_want_read(tls_.get()) != 0;
    if (!flushTls(deadline)) {
        return false;
    }
    if (!wantsMore) {
        const long verified = SSL_get_verify_result(tls_.get());
        const char* const cause = verified != X509_V_OK ? X509_verify_cert_error_string(verified)
                                  : tlsError_ != 0      ? ERR_reason_error_string(tlsError_)
                                                        : nullptr;
        return fail(std::string("TLS: ") + (cause == nullptr ? "the server ended the connection" : cause));
    }
    const std::string_view octets = receivePlain(deadline);
    return !octets.empty() && (BIO_write(SSL_get_rbio(tls_.get()), octets.data(), static_cast<int>(octets.size())) ==
                                   static_cast<int>(octets.size()) ||
                               fail("TLS: out of memory"));
}

// ---- Octets
// ----------------------------------------------------------------------------------------------------------

bool RedisSocket::sendPlain(std::string_view octets, RedisDeadline deadline) {
    while (!octets.empty()) {
        const ssize_t count = ::send(socket_->get(), octets.data(), octets.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            octets.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            return fail(std::strerror(errno));
        } else if (steady_clock::now() >= deadline || !wait(POLLOUT, deadline)) {
            return fail("no answer in time");
        }
    }
    return true;
}

std::string_view RedisSocket::receivePlain(RedisDeadline deadline) {
    for (;;) {
        if (steady_clock::now() >= deadline) {  // a server that never stops sending would never make us wait
            fail("no answer in time");
            return {};
        }
        const ssize_t count = ::recv(socket_->get(), arrived_.data(), arrived_.size(), 0);
        if (count > 0) {
            return {arrived_.data(), static_cast<std::size_t>(count)};
        }
        if (count == 0) {
            fail("the server ended the connection");
            return {};
        }
        if (errno == EAGAIN ? !wait(POLLIN, deadline) : errno != EINTR && !fail(std::strerror(errno))) {
            return {};
        }
    }
}

bool RedisSocket::send(std::string_view octets, RedisDeadline deadline) {
    if (!tls_) {
        return sendPlain(octets, deadline);
    }
    constexpr std::size_t kRecord = 16384;
    while (!octets.empty()) {
        const std::string_view record = octets.substr(0, kRecord);
        const int result =
            callTls([&] { return SSL_write(tls_.get(), record.data(), static_cast<int>(record.size())); });
        if (result > 0) {
            octets.remove_prefix(static_cast<std::size_t>(result));
        }
        if (result > 0 ? !flushTls(deadline) : !continueTls(deadline)) {
            return false;
        }
    }
    return true;
}

std::string_view RedisSocket::receive(RedisDeadline deadline) {
    if (!tls_) {
        return receivePlain(deadline);
    }
    for (;;) {
        const int result =
            callTls([this] { return SSL_read(tls_.get(), decrypted_.data(), static_cast<int>(decrypted_.size())); });
        if (result > 0) {
            return {decrypted_.data(), static_cast<std::size_t>(result)};
        }
        if (!continueTls(deadline)) {
            return {};
        }
    }
}

// A TLS server sends session tickets after the handshake; they were read with the first reply, or make this false.
bool RedisSocket::isQuiet() {
    pollfd looked{socket_->get(), POLLIN, 0};
    // What TLS has not passed on yet was received with the last reply, and is none to the next command.
    const bool isRead = !tls_ || (SSL_pending(tls_.get()) == 0 && BIO_pending(SSL_get_rbio(tls_.get())) == 0);
    return fault_.empty() && isRead && ::poll(&looked, 1, 0) == 0;
}

}  // namespace tallow::platform
