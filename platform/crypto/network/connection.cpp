#include "platform/crypto/network/connection.h"

#include <fcntl.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/certificates/tls_roots.h"
#include "platform/crypto/network/broken_pipe_guard.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

// All connections of the process and of those that it was forked from.
struct Connections {
    std::mutex mutex;
    std::set<Connection*> all;
    std::uint32_t cleaned = ForkGate::generation();  // the process that has no copies of another one's
};

Connections& connections() {
    static NeverDestroyed<Connections> instance;
    return *instance;
}

// Freeing a handle without the option would change the process's handling of SIGPIPE, too.
CURL* newHandle() noexcept {
    CURL* const handle = curl_easy_init();
    if (handle != nullptr) {
        static_cast<void>(curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L));
    }
    return handle;
}

}  // namespace

Connection::Connection() : easy_(newHandle()) {
    const std::scoped_lock lock(connections().mutex);
    connections().all.insert(this);
}

Connection::~Connection() {
    {
        const std::scoped_lock lock(connections().mutex);
        connections().all.erase(this);
    }
    if (!isOwn() && !isSeparate()) {
        static_cast<void>(easy_.release());
        static_cast<void>(multi_.release());
        return;
    }
    closeHandle();
    const BrokenPipeGuard guard;
    multi_.reset();
}

void Connection::closeHandle() noexcept {
    if (multi_ && easy_) {
        const BrokenPipeGuard guard;
        curl_multi_remove_handle(multi_.get(), easy_.get());
    }
    easy_.reset();
}

Connection::Descriptor Connection::Descriptor::of(int number) noexcept {
    struct stat status {};
    return number >= 0 && ::fstat(number, &status) == 0 ? Descriptor{number, status.st_ino} : Descriptor{};
}

// A daemon closes all that it inherits, and its own files then have the numbers.
bool Connection::Descriptor::isThere() const noexcept {
    return number < 0 || of(number).inode == inode;
}

void Connection::Descriptor::close() noexcept {
    if (number >= 0 && isThere()) {
        ::close(number);
    }
    *this = {};
}

std::array<Connection::Descriptor*, 6> Connection::descriptors() noexcept {
    return {&open_[0], &open_[1], &open_[2], &open_[3], &wakeUp_[0], &wakeUp_[1]};
}

// In a child of fork there is no other thread: it never goes on with what it did.
bool Connection::isUsedElsewhere() const noexcept {
    return user_ && ::pthread_equal(*user_, ForkGate::survivor()) == 0;
}

// libcurl would read from the parent's connection and end its TLS.
bool Connection::isSeparate() noexcept {
    const std::array<Descriptor*, 6> all = descriptors();
    const auto isThere = [](const Descriptor* descriptor) { return descriptor->isThere(); };
    if (!isLost_ && (isUsedElsewhere() || !std::all_of(all.begin(), all.end(), isThere) || !replaceSockets())) {
        isLost_ = true;
        for (Descriptor* const descriptor : all) {
            descriptor->close();
        }
    }
    return !isLost_;
}

bool Connection::replaceSockets() noexcept {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    ::close(ends[1]);
    const bool isReplaced = std::all_of(open_.begin(), open_.end(), [&ends](const Descriptor& socket) {
        return socket.number < 0 || ::dup3(ends[0], socket.number, O_CLOEXEC) == socket.number;
    });
    ::close(ends[0]);
    for (Descriptor& socket : open_) {
        socket = Descriptor::of(socket.number);
    }
    return isReplaced;
}

void Connection::closeCopies() {
    const std::scoped_lock lock(connections().mutex);
    if (std::exchange(connections().cleaned, ForkGate::generation()) != ForkGate::generation()) {
        for (Connection* const connection : connections().all) {
            if (!connection->isOwn()) {
                static_cast<void>(connection->isSeparate());
            }
        }
    }
}

// As curl_easy_perform, which gives no sign of when it waits.
CURLcode Connection::perform() noexcept {
    constexpr int kLongestPauseMs = 1000;  // unless libcurl needs a shorter one; then the progress is looked at
    constexpr int kPauseOfLookupMs = 10;
    if (!multi_) {
        std::array<int, 2> wakeUp;
        multi_ = makeMultiHandle(wakeUp);
        wakeUp_ = {Descriptor::of(wakeUp[0]), Descriptor::of(wakeUp[1])};
    }
    const BrokenPipeGuard guard;
    if (!multi_ || curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK) {
        return CURLE_OUT_OF_MEMORY;
    }
    CURLMcode code = CURLM_OK;
    for (int numRunning = 1; code == CURLM_OK && numRunning > 0;) {
        code = curl_multi_perform(multi_.get(), &numRunning);
        if (code == CURLM_OK && numRunning > 0 && mayHoldLock()) {
            code = curl_multi_poll(multi_.get(), nullptr, 0, kPauseOfLookupMs, nullptr);
        } else if (code == CURLM_OK && numRunning > 0) {
            const ForkGate::Outside waiting;
            code = curl_multi_poll(multi_.get(), nullptr, 0, kLongestPauseMs, nullptr);
        }
    }
    int numLeft = 0;
    const CURLMsg* const message = code == CURLM_OK ? curl_multi_info_read(multi_.get(), &numLeft) : nullptr;
    return message == nullptr ? CURLE_OUT_OF_MEMORY : message->data.result;
}

int Connection::onLookup(void* /*lookup*/, void* /*reserved*/, void* target) {
    static_cast<Connection*>(target)->lookupBegun_ = Clock::now();
    return 0;
}

// libcurl looks up names in a thread of its own. The C library has a lock while it reads its configuration, and would
// leave it held in a child of fork; then it waits for the name server without one.
bool Connection::mayHoldLock() const noexcept {
    constexpr std::chrono::milliseconds kLongest{50};
    return lookupBegun_ && Clock::now() < *lookupBegun_ + kLongest;
}

// Called with each address that a name resolves to.
curl_socket_t Connection::onOpenSocket(void* target, curlsocktype /*purpose*/, curl_sockaddr* address) {
    auto& connection = *static_cast<Connection*>(target);
    Reach& reach = connection.reach;
    connection.lookupBegun_.reset();
    // The server has closed the connection that was kept: a new handle makes a new one.
    if (connection.isReused_) {
        return CURL_SOCKET_BAD;
    }
    if (reach.refuses(classOf(address->addr))) {
        reach.refused.emplace();
        std::memcpy(&*reach.refused, &address->addr, std::min<std::size_t>(address->addrlen, sizeof *reach.refused));
        return CURL_SOCKET_BAD;
    }
    const curl_socket_t opened = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    reach.hasNoDescriptor = opened < 0 && (errno == EMFILE || errno == ENFILE);
    const auto isFree = [](const Descriptor& one) { return one.number < 0; };
    *std::find_if(connection.open_.begin(), connection.open_.end() - 1, isFree) = Descriptor::of(opened);
    return opened;
}

int Connection::onCloseSocket(void* target, curl_socket_t socket) {
    for (Descriptor& one : static_cast<Connection*>(target)->open_) {
        one = one.number == socket ? Descriptor{} : one;
    }
    return ::close(socket);
}

// OpenSSL skips some messages without returning to libcurl, which looks at the time only then. A server that sends them
// faster than they are read would keep it busy for ever, so reading fails when the time is over.
long Connection::endReadingAtDeadline(BIO* source, int operation, const char* /*octets*/, std::size_t /*size*/,
                                      int /*argument*/, long /*number*/, int result, std::size_t* /*processed*/) {
    const auto* const connection = reinterpret_cast<const Connection*>(BIO_get_callback_arg(source));
    return operation == BIO_CB_READ && Clock::now() >= connection->deadline ? -1 : result;
}

// The first message is ours: nothing was read before.
void Connection::onTlsMessage(int /*isSent*/, int /*version*/, int /*type*/, const void* /*octets*/,
                              std::size_t /*size*/, SSL* session, void* target) {
    static_cast<Connection*>(target)->session_ = session;
    BIO* const source = SSL_get_rbio(session);
    BIO_set_callback_arg(source, static_cast<char*>(target));
    BIO_set_callback_ex(source, endReadingAtDeadline);
}

// libcurl and some releases of OpenSSL write the keys of TLS connections to the file that SSLKEYLOGFILE names. This
// runs after either has set its callback.
CURLcode Connection::onTlsContext(CURL* /*easy*/, void* context, void* target) {
    auto* const tls = static_cast<SSL_CTX*>(context);
    X509_STORE* const roots = tlsRoots(systemBundle(), static_cast<Connection*>(target)->rootsError_);
    if (roots == nullptr) {
        return CURLE_SSL_CACERT_BADFILE;
    }
    SSL_CTX_set_cert_store(tls, roots);  // which releases them
    SSL_CTX_set_keylog_callback(tls, nullptr);
    SSL_CTX_set_msg_callback(tls, onTlsMessage);
    SSL_CTX_set_msg_callback_arg(tls, target);
    return CURLE_OK;
}

curl_socket_t Connection::activeSocket() const noexcept {
    if (!easy_) {
        return socket_;
    }
    curl_socket_t socket = CURL_SOCKET_BAD;
    return curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &socket) == CURLE_OK ? socket : CURL_SOCKET_BAD;
}

// Octets may wait in the socket or, once read with the end of the answer, inside OpenSSL.
bool Connection::isSilent(curl_socket_t socket) const noexcept {
    pollfd waiting{socket, POLLIN | POLLRDHUP, 0};
    return socket != CURL_SOCKET_BAD && ::poll(&waiting, 1, 0) == 0 &&
           (session_ == nullptr || SSL_has_pending(session_) == 0);
}

bool Connection::isLeftClean(std::size_t sizeSent) const {
    long numNew = 0;
    long version = 0;
    curl_off_t sent = -1;
    return isOwn() && curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &numNew) == CURLE_OK &&
           numNew == (isReused_ ? 0 : 1) &&  // no second one, of a login
           curl_easy_getinfo(easy_.get(), CURLINFO_HTTP_VERSION, &version) == CURLE_OK &&
           version == CURL_HTTP_VERSION_1_1 &&
           curl_easy_getinfo(easy_.get(), CURLINFO_SIZE_UPLOAD_T, &sent) == CURLE_OK &&
           sent == static_cast<curl_off_t>(sizeSent) && isSilent(activeSocket());
}

std::uint64_t Connection::octetsReceived() const noexcept {
    std::uint64_t most = 0;
    for (const Descriptor& socket : open_) {
        tcp_info info{};
        socklen_t size = sizeof info;
        if (socket.number >= 0 && ::getsockopt(socket.number, IPPROTO_TCP, TCP_INFO, &info, &size) == 0) {
            most = std::max<std::uint64_t>(most, info.tcpi_bytes_received);
        }
    }
    return most;
}

void Connection::park() noexcept {
    socket_ = activeSocket();
    curl_off_t microseconds = 0;
    static_cast<void>(curl_easy_getinfo(easy_.get(), CURLINFO_STARTTRANSFER_TIME_T, &microseconds));
    answeredAfter_ = std::chrono::milliseconds(microseconds / 1000);
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    auto* const address = reinterpret_cast<sockaddr*>(&peer);
    peerClass_ = ::getpeername(socket_, address, &size) == 0 ? classOf(*address) : AddressClass::kSpecial;
    isReused_ = true;
    closeHandle();
    user_.reset();
}

bool Connection::resume() noexcept {
    user_ = ::pthread_self();
    easy_.reset(newHandle());
    return easy_ != nullptr;
}

bool Connection::isQuiet() const noexcept {
    return isSilent(socket_);
}

void Connection::hangUp() noexcept {
    ::shutdown(socket_, SHUT_RDWR);
}

}  // namespace tallow::platform
