#include "platform/crypto/certificates/store_folder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/side_file.h"
#include "platform/support/file_stamp.h"
#include "platform/support/file_trust.h"
#include "platform/support/never_destroyed.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

constexpr std::string_view kSideFileSuffix = ".toml";

// ---- What was read before ------------------------------------------------------------------------------------------

struct Kept {
    FileStamp file;
    FileStamp side;
    std::shared_ptr<const StoreFileContent> content;
};

struct Cache {
    std::mutex mutex;
    std::map<std::string, Kept, std::less<>> files;
};

Cache& cache() {
    static NeverDestroyed<Cache> instance;
    return *instance;
}

// How the content of a file is read. What was read in one way does not count for another.
enum class Form { kFile, kBundle };

// Absolute paths are keys of the files in directories; no other key begins with a slash.
std::string keyOf(const std::string& path, Form form) {
    return form == Form::kFile ? path : "bundle:" + path;
}

std::shared_ptr<const StoreFileContent> keptContent(const std::string& key, const FileStamp& file,
                                                    const FileStamp& side) {
    const std::scoped_lock lock(cache().mutex);
    const auto found = cache().files.find(key);
    return found != cache().files.end() && found->second.file == file && found->second.side == side
               ? found->second.content
               : nullptr;
}

void keep(const std::string& key, Kept kept) {
    const std::scoped_lock lock(cache().mutex);
    cache().files.insert_or_assign(key, std::move(kept));
}

void forget(const std::string& key) {
    const std::scoped_lock lock(cache().mutex);
    cache().files.erase(key);
}

// Forgets the files of a directory that are no longer there; `names` is sorted.
void forgetOthers(const std::string& folder, const std::vector<std::string>& names) {
    const std::string prefix = folder + '/';
    const std::scoped_lock lock(cache().mutex);
    auto& files = cache().files;
    for (auto file = files.lower_bound(prefix); file != files.end() && file->first.starts_with(prefix);) {
        const std::string_view name = std::string_view(file->first).substr(prefix.size());
        file = std::binary_search(names.begin(), names.end(), name) ? std::next(file) : files.erase(file);
    }
}

// ---- Reading -------------------------------------------------------------------------------------------------------

void tell(StoreFiles& found, const std::string& path, std::string reason, bool mayBeCrl) {
    TALLOW_CRYPTO_TRACE("%s: %s\n", path.c_str(), reason.c_str());
    found.problems.push_back({path, std::move(reason), mayBeCrl});
}

std::string readFailure(int systemError) {
    return systemError == kNotRegular ? failureText(systemError) : "cannot be read: " + failureText(systemError);
}

std::string sideFileOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const size_t dot = path.rfind('.');
    const bool hasEnding = dot != std::string::npos && (slash == std::string::npos || dot > slash + 1);
    return path.substr(0, hasEnding ? dot : path.size()).append(kSideFileSuffix);
}

// What one reading of a directory or a bundle gave.
struct Reading {
    StoreFiles found;
    // A file may be missing in `found` because its name changed meanwhile.
    bool isDisturbed = false;
};

// The status of a file to read; false when there is none, or it was reported as a problem.
bool lookAt(const std::string& path, StoreKind kind, struct stat& status, Reading& reading) {
    StoreFiles& found = reading.found;
    if (::stat(path.c_str(), &status) != 0) {
        const int systemError = errno;
        struct stat link {};
        // A file that went away may have another name now; a dangling link is unreadable.
        if (systemError != ENOENT || ::lstat(path.c_str(), &link) == 0) {
            tell(found, path, readFailure(systemError), true);
        } else {
            reading.isDisturbed = true;
        }
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        if (!S_ISDIR(status.st_mode)) {
            tell(found, path, "is no regular file", endsAsCrl(path));
        }
        return false;
    }
    if (const char* const why = kind == StoreKind::kRoots ? whyUntrusted(status) : nullptr) {
        tell(found, path, why, true);
        return false;
    }
    if (static_cast<uintmax_t>(status.st_size) > kMaximumFileSize) {
        tell(found, path, readFailure(EFBIG), true);
        return false;
    }
    return true;
}

// Sets on the first certificate what its side file says.
void applySide(const std::string& path, StoreFileContent& content, FileStamp& stamp) {
    if (content.certificates.empty()) {
        return;
    }
    const SideFileResult result = applySideFile(path, *content.certificates.front());
    stamp = result.wasRead ? FileStamp::of(result.status) : stamp;
    if (!result.problem.empty()) {
        content.problems.push_back({path, result.problem, false});
        content.isFinal &= result.wasRead;
    }
}

// The content of a file, freshly read, and kept if a further change of it would show.
std::shared_ptr<const StoreFileContent> readContent(const std::string& path, Form form, FileStamp side,
                                                    Reading& reading) {
    const std::string key = keyOf(path, form);
    forget(key);
    int systemError = 0;
    const timespec begun = currentTime();
    const std::optional<WholeFile> file = readWholeFile(path, kMaximumFileSize, systemError);
    if (!file) {
        if (systemError != ENOENT) {
            tell(reading.found, path, readFailure(systemError), true);
        }
        reading.isDisturbed |= systemError == ENOENT;
        return nullptr;
    }
    const auto parse = form == Form::kBundle ? parseBundle : parseStoreFile;
    auto content = std::make_shared<StoreFileContent>(
        parse({reinterpret_cast<const BYTE*>(file->content.data()), file->content.size()}, path));
    if (side.size >= 0) {
        applySide(sideFileOf(path), *content, side);
    }
    for (const StoreProblem& problem : content->problems) {
        TALLOW_CRYPTO_TRACE("%s: %s\n", (problem.path.empty() ? path : problem.path).c_str(), problem.reason.c_str());
    }
    const FileStamp stamp = FileStamp::of(file->status);
    if (content->isFinal && stamp.isSettled(begun) && (side.size < 0 || side.isSettled(begun))) {
        keep(key, {stamp, side, content});
    }
    return content;
}

void addFile(const std::string& path, Form form, bool hasSide, StoreKind kind, Reading& reading) {
    struct stat status {};
    if (!lookAt(path, kind, status, reading)) {
        return;
    }
    struct stat side {};
    const FileStamp sideStamp =
        hasSide && ::stat(sideFileOf(path).c_str(), &side) == 0 ? FileStamp::of(side) : FileStamp();
    std::shared_ptr<const StoreFileContent> content = keptContent(keyOf(path, form), FileStamp::of(status), sideStamp);
    if (content == nullptr) {
        content = readContent(path, form, sideStamp, reading);
    }
    if (content != nullptr) {
        reading.found.files.push_back({path, std::move(content)});
    }
}

bool isAbsolute(const std::string& path) {
    return !path.empty() && path.front() == '/';
}

// Whether only trusted users can add or replace roots in the directory.
bool isTrusted(const std::string& folder, const struct stat& status, StoreFiles& found) {
    struct stat above {};
    const std::string stores = directoryOf(folder);
    const char* const why = whyUntrusted(status);
    if (why != nullptr) {
        tell(found, folder, why, true);
        return false;
    }
    if (::stat(stores.c_str(), &above) != 0) {
        tell(found, stores, readFailure(errno), true);
        return false;
    }
    if (const char* const whyAbove = whyUntrustedAbove(above)) {
        tell(found, stores, whyAbove, true);
        return false;
    }
    return true;
}

// Reads a directory once.
Reading readFolder(const std::string& folder, StoreKind kind) {
    Reading reading;
    StoreFiles& found = reading.found;
    int systemError = 0;
    const timespec begun = currentTime();
    const std::optional<DirectoryListing> listing = readDirectory(folder, systemError);
    if (!listing) {
        if (systemError != ENOENT) {
            found.systemError = systemError;
            tell(found, folder, readFailure(systemError), true);
        }
        // One that is being replaced is missing for a moment, which shows in the directory above.
        struct stat above {};
        reading.isDisturbed = systemError == ENOENT && ::stat(directoryOf(folder).c_str(), &above) == 0 &&
                              !FileStamp::of(above).isSettled(begun);
        return reading;
    }
    found.exists = true;
    forgetOthers(folder, listing->names);
    if (kind == StoreKind::kRoots && !isTrusted(folder, listing->status, found)) {
        return reading;
    }
    found.files.reserve(listing->names.size());
    for (const std::string& name : listing->names) {
        if (!name.ends_with(kSideFileSuffix)) {
            const std::string path = std::string(folder).append(1, '/').append(name);
            const std::string side = sideFileOf(path).substr(folder.size() + 1);
            const bool hasSide = std::binary_search(listing->names.begin(), listing->names.end(), side);
            addFile(path, Form::kFile, hasSide, kind, reading);
        }
    }
    const FileStamp stamp = FileStamp::of(listing->status);
    struct stat after {};
    reading.isDisturbed |=
        !stamp.isSettled(begun) || ::stat(folder.c_str(), &after) != 0 || !(FileStamp::of(after) == stamp);
    return reading;
}

void append(StoreFiles&& read, StoreFiles& found) {
    found.exists |= read.exists;
    found.systemError = read.systemError != 0 ? read.systemError : found.systemError;
    std::move(read.files.begin(), read.files.end(), std::back_inserter(found.files));
    std::move(read.problems.begin(), read.problems.end(), std::back_inserter(found.problems));
}

}  // namespace

bool StoreFiles::isFinal() const noexcept {
    return problems.empty() &&
           std::all_of(files.begin(), files.end(), [](const StoreFile& file) { return file.content->isFinal; });
}

bool StoreFiles::mayLackCrl() const noexcept {
    return std::any_of(problems.begin(), problems.end(), [](const StoreProblem& told) { return told.mayBeCrl; }) ||
           std::any_of(files.begin(), files.end(), [](const StoreFile& file) { return file.content->mayLackCrl(); });
}

void addStoreFolder(const std::string& folder, StoreKind kind, StoreFiles& found) {
    if (!isAbsolute(folder)) {
        if (!folder.empty()) {
            tell(found, folder, "does not count: a directory of stores needs an absolute path", true);
        }
        return;
    }
    // A file renamed meanwhile can have escaped the listing, and with it the newest CRL. Once a tick of the clock has
    // passed without a change, every later change shows in the stamp of the directory.
    constexpr int kMaximumReadings = 4;
    Reading reading = readFolder(folder, kind);
    for (int i = 1; reading.isDisturbed && i < kMaximumReadings; ++i) {
        const timespec pause{0, FileStamp::kTick};
        ::nanosleep(&pause, nullptr);
        reading = readFolder(folder, kind);
    }
    if (reading.isDisturbed) {
        tell(reading.found, folder, "changes while it is read", true);
    }
    append(std::move(reading.found), found);
}

void addBundle(const std::string& path, StoreFiles& found) {
    struct stat directory {};
    if (!isAbsolute(path)) {
        if (!path.empty()) {
            tell(found, path, "does not count: a bundle of roots needs an absolute path", false);
        }
        return;
    }
    const std::string folder = directoryOf(path);
    if (::stat(folder.c_str(), &directory) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            tell(found, folder, readFailure(errno), false);
        }
        return;
    }
    if (const char* const why = whyUntrustedAbove(directory)) {
        tell(found, folder, why, false);
        return;
    }
    Reading reading;
    addFile(path, Form::kBundle, false, StoreKind::kRoots, reading);
    reading.found.exists = !reading.found.files.empty();
    append(std::move(reading.found), found);
}

}  // namespace tallow::platform
