#include "platform/crypto/certificates/tls_roots.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <mutex>
#include <string>
#include <utility>

#include "platform/crypto/base/openssl_handles.h"
#include "platform/support/file_stamp.h"
#include "platform/support/never_destroyed.h"

namespace tallow::platform {

namespace {

struct Roots {
    std::mutex mutex;
    std::string file;
    FileStamp stamp;
    X509StorePtr store;  // of the file with this stamp
};

Roots& roots() {
    static NeverDestroyed<Roots> instance;
    return *instance;
}

// As libcurl does by default: a server's own certificate in the file, or that of an intermediate CA, suffices.
X509StorePtr readRoots(const std::string& file) {
    X509StorePtr store(X509_STORE_new());
    const bool isRead = store != nullptr && X509_STORE_load_file(store.get(), file.c_str()) == 1 &&
                        X509_STORE_set_flags(store.get(), X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN) == 1;
    return isRead ? std::move(store) : nullptr;
}

// The system's error at opening it, which OpenSSL does not pass on reliably; 0 when it opens.
int faultOf(const std::string& file) {
    const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (opened < 0) {
        return errno;
    }
    ::close(opened);
    return 0;
}

X509_STORE* referenceTo(const X509StorePtr& store) {
    return store != nullptr && X509_STORE_up_ref(store.get()) == 1 ? store.get() : nullptr;
}

}  // namespace

X509_STORE* tlsRoots(const std::string& file, int& error) {
    const timespec begun = currentTime();
    struct stat status {};
    error = ::stat(file.c_str(), &status) != 0 ? errno
            : S_ISDIR(status.st_mode)          ? EISDIR
            : !S_ISREG(status.st_mode)         ? EINVAL
                                               : 0;
    if (error != 0) {
        return nullptr;
    }
    const FileStamp stamp = FileStamp::of(status);
    const std::scoped_lock lock(roots().mutex);
    if (roots().store != nullptr && roots().file == file && roots().stamp == stamp) {
        return referenceTo(roots().store);
    }
    X509StorePtr store = readRoots(file);
    error = store == nullptr ? faultOf(file) : 0;
    X509_STORE* const reference = referenceTo(store);
    // A change while it was read shows in the next stamp, unless the clock of the file system stood still.
    if (reference != nullptr && stamp.isSettled(begun)) {
        roots().file = file;
        roots().stamp = stamp;
        roots().store = std::move(store);
    }
    return reference;
}

}  // namespace tallow::platform
