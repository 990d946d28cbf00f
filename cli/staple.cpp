#include "cli/staple.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <tuple>

#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "cli/certificates_to_check.h"
#include "cli/check_result_of.h"
#include "cli/error_text.h"
#include "cli/hook.h"
#include "cli/input_files.h"
#include "cli/network.h"
#include "cli/output_file.h"
#include "cli/replaced_files.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestResponse = 1U << 20;  // that of an exchange

Options optionsOf(const StapleOptions& options, const RunInputs& inputs, const RunNetwork& network) {
    Options asking;
    network.apply(asking);
    if (!options.url.empty()) {
        asking.responders = {options.url};
    }
    asking.nonce = Nonce::kOff;
    asking.maxAge = options.maxAge;
    asking.hashOid = inputs.hashOid();
    asking.useCache = true;
    return asking;
}

// "www.example.org" for "certs/www.example.org.pem".
std::string nameIn(const std::string& path) {
    std::string name = fs::path(path).filename().string();
    for (const std::string_view ending : {".pem", ".crt", ".cer", ".der"}) {
        if (name.size() > ending.size() && name.ends_with(ending)) {
            name.resize(name.size() - ending.size());
            break;
        }
    }
    return name;
}

bool isMissing(const fs::file_status& status) {
    return status.type() == fs::file_type::not_found;
}

// The response in a file that may be missing. What is too large for one, or no regular file, proves nothing.
std::optional<Bytes> readResponse(const std::string& path) {
    std::error_code error;
    if (isMissing(fs::status(path, error))) {
        return std::nullopt;
    }
    try {
        const std::string content = readRegularFile(path, kLargestResponse);
        return Bytes(content.begin(), content.end());
    } catch (const InputError& mistake) {
        if (mistake.code() == status::kFileNotFound) {
            throw;  // it cannot be opened
        }
        return Bytes();
    }
}

bool isNewer(const Verdict& fetched, const Verdict& inFile) {
    const auto dates = [](const Verdict& verdict) { return std::tie(verdict.thisUpdate, verdict.producedAt); };
    return inFile.answer == Answer::kUnproven || dates(fetched) > dates(inFile);
}

// Remembers that the hook must run for a response, until it has succeeded: also when this run is interrupted.
class HookMark {
public:
    explicit HookMark(const fs::path& response)
        : path_((response.parent_path() / ("." + response.filename().string() + ".hook")).string()) {}

    bool exists() const { return ::access(path_.c_str(), F_OK) == 0; }
    void make() const {
        const int file = ::open(path_.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
        if (file < 0) {
            throw InputError(path_, std::string("cannot be written: ") + std::strerror(errno));
        }
        ::close(file);
    }
    void remove() const { ::unlink(path_.c_str()); }

private:
    std::string path_;
};

// One run works in a directory at a time: two would run the hook for the same change, or overtake each other.
//
// A file that only its user can open is locked: a lock of the directory could be held by everybody who may read it. The
// file stays, since a run that waits for a removed one would not exclude the next. No response has its name.
class DirectoryLock {
public:
    /// Waits for another run, no longer than this. Throws std::runtime_error after that, and when the file cannot be
    /// opened. A file system without locks, or a directory that cannot be written, is used without them.
    DirectoryLock(const std::string& path, std::chrono::milliseconds longest) : file_(opened(path)) {
        constexpr std::chrono::milliseconds kPause{50};
        const auto end = std::chrono::steady_clock::now() + longest;
        while (file_ >= 0 && ::flock(file_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            if (std::chrono::steady_clock::now() > end) {
                ::close(file_);
                throw std::runtime_error(path + ": another run has been at work here for " +
                                         std::to_string(longest.count() / 1000) + " s; try again when it has ended");
            }
            std::this_thread::sleep_for(kPause);
        }
    }
    ~DirectoryLock() {
        if (file_ >= 0) {
            ::close(file_);
        }
    }
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

private:
    static int opened(const std::string& directory) {
        const std::string path = (fs::path(directory) / ".tallow.lock").string();
        const int file =
            ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
        const int error = errno;
        if (file < 0 && ::access(directory.c_str(), W_OK) == 0) {
            throw std::runtime_error(path + ": cannot be opened: " + std::strerror(error) +
                                     "; run as the user that it belongs to, or remove it");
        }
        return file;
    }

    const int file_;
};

class Run {
public:
    explicit Run(const StapleOptions& options)
        : options_(options), inputs_(options), network_(options), files_(readCertificateFiles(options.certificates)) {
        constexpr std::chrono::seconds kLongestWait{30};
        std::error_code error;
        if (!fs::is_directory(options.directory, error)) {
            throw InputError("--out " + options.directory, "is no directory; name one that exists");
        }
        requireNames();
        lock_.emplace(options.directory, options.timeout.value_or(kLongestWait));
        requireInputsKept(options, outputs());
        inputs_.add(files_.certificates, files_.crls);
        checker_.emplace(inputs_.trust(), optionsOf(options, inputs_, network_));
    }

    const std::vector<ToCheck>& toCheck() const { return files_.toCheck; }

    void renew(const ToCheck& next, StapleResult& result) const {
        if (next.failure) {
            std::rethrow_exception(next.failure);
        }
        result.answer.subject = text::subjectOf(next.certificate.get());
        result.answer.serial = text::serialOf(next.certificate.get());
        if (isOneOfSeveral(next)) {
            throw InputError(next.label,
                             "is one of several certificates in its file, and a response belongs to one; name a file "
                             "for each of them");
        }
        result.file.path = pathOf(next);
        const Input certificate = encodingOf(next.certificate);
        if (options_.onlyWhenDue) {
            look(certificate, inputs_.issuerOf(next.certificate), result.file);
            const Verdict& inFile = result.file.verdict;
            if (result.file.isProven() && middleOf(inFile, options_.maxAge) > std::chrono::system_clock::now()) {
                result.action = StapleAction::kNotDue;
                return;
            }
        }
        std::optional<OutputFile> output;
        open(output, result);
        const Verdict fetched = checker_->fetchStaple(certificate, inputs_.issuerOf(next.certificate));
        fill(result.answer, fetched);
        const Bytes& found = fetched.evidence.issuerCertificate;
        look(certificate, found.empty() ? inputs_.issuerOf(next.certificate) : Input(found), result.file);
        decide(fetched, output, result);
    }

    /// Runs the command of the user for each response that was written since it last succeeded.
    std::optional<HookResult> runHook(const std::vector<StapleResult>& results) const {
        HookResult hook;
        for (const StapleResult& result : results) {
            if (!options_.hook.empty() && !result.file.path.empty() && HookMark(result.file.path).exists()) {
                hook.changed.push_back(result.file.path);
            }
        }
        if (hook.changed.empty()) {
            return std::nullopt;
        }
        hook.failure = cli::runHook(options_.hook, hook.changed);
        for (const std::string& path : hook.changed) {
            if (hook.failure.empty()) {
                HookMark(path).remove();
            }
        }
        return hook;
    }

private:
    // The label of a certificate that is alone in its file is the path.
    bool isOneOfSeveral(const ToCheck& next) const {
        const std::vector<std::string>& paths = options_.certificates;
        return std::find(paths.begin(), paths.end(), next.label) == paths.end();
    }

    std::string pathOf(const ToCheck& next) const {
        const std::string name = options_.name.empty() ? nameIn(next.label) : options_.name;
        return (fs::path(options_.directory) / (name + ".ocsp")).string();
    }

    std::vector<std::string> outputs() const {
        std::vector<std::string> paths;
        for (const ToCheck& next : files_.toCheck) {
            paths.push_back(pathOf(next));
        }
        return paths;
    }

    // One response would replace the other.
    void requireNames() const {
        std::map<std::string, std::string> files;
        for (const ToCheck& next : files_.toCheck) {
            if (next.label == "-" && options_.name.empty()) {
                throw InputError("-", "a certificate on standard input has no name; give one with --name");
            }
            if (const auto [other, isNew] = files.try_emplace(pathOf(next), next.label); !isNew) {
                throw InputError(other->first, "would be written for " + other->second + " and for " + next.label +
                                                   "; run the command once for each, with --name");
            }
        }
    }

    // What the file proves now. The issuer of its signer may have to be downloaded.
    void look(Input certificate, Input issuer, StapleFile& file) const {
        file.verdict = {};
        file.exists = true;  // also where it cannot be read
        const std::optional<Bytes> content = readResponse(file.path);
        file.exists = content.has_value();
        if (!file.exists) {
            return;
        }
        try {
            file.verdict = checker_->judge(checker_->ask(certificate, issuer), *content);
        } catch (const BadInput&) {
            // The check of the certificate reports it.
        }
    }

    // Found out before the responder is asked. What it says is reported even when it cannot be written.
    static void open(std::optional<OutputFile>& output, StapleResult& result) {
        const std::string& path = result.file.path;
        std::error_code error;
        try {
            const fs::file_status status = fs::status(path, error);
            if (!isMissing(status) && !fs::is_regular_file(status)) {
                throw InputError(path, "cannot be written: is no regular file; remove it, or choose another --name");
            }
            output.emplace(path);
        } catch (const InputError& failure) {
            result.answer.unsaved = CheckError{failure.code(), failure.what()};
        }
    }

    void decide(const Verdict& fetched, std::optional<OutputFile>& output, StapleResult& result) const {
        const bool isGood = fetched.answer == Answer::kGood;
        const bool isWanted = isGood || (options_.writesRevoked && fetched.answer != Answer::kUnproven);
        if (isWanted && isNewer(fetched, result.file.verdict)) {
            if (output && write(fetched.response, *output, result)) {
                result.file.exists = true;
                result.file.verdict = fetched;
                result.action = StapleAction::kWritten;
                return;
            }
        } else if (fetched.answer != Answer::kUnproven) {
            result.reason = !isWanted ? "responses that do not say good are written with --write-revoked"
                            : isNewer(result.file.verdict, fetched) ? "the response in the file is newer"
                                                                    : "the responder has no newer response";
        }
        result.action = result.file.isProven() ? StapleAction::kKept : StapleAction::kNone;
    }

    // The mark is made first, so that no change is forgotten.
    bool write(const Bytes& response, OutputFile& output, StapleResult& result) const {
        const HookMark mark(result.file.path);
        const bool isNew = !options_.hook.empty() && !mark.exists();
        try {
            if (isNew) {
                mark.make();
            }
            output.write(response.data(), response.size());
            return true;
        } catch (const InputError& failure) {
            if (isNew) {
                mark.remove();
            }
            result.answer.unsaved = CheckError{failure.code(), failure.what()};
            return false;
        }
    }

    const StapleOptions& options_;
    RunInputs inputs_;
    const RunNetwork network_;
    const CertificateFiles files_;
    std::optional<DirectoryLock> lock_;
    std::optional<Checker> checker_;
};

}  // namespace

StapleReport runStaple(const StapleOptions& options, const StapleUse& done) {
    const Run run(options);
    StapleReport report;
    report.staples.reserve(run.toCheck().size());
    for (const ToCheck& next : run.toCheck()) {
        StapleResult& result = report.staples.emplace_back();
        result.answer.file = next.label;
        try {
            run.renew(next, result);
        } catch (...) {
            fail(result.answer, explainCaught("keeping the response"));
        }
        result.nextRun = nextRunAfter(std::chrono::system_clock::now(), result.file, options.maxAge);
        done(result);
    }
    report.hook = run.runHook(report.staples);
    return report;
}

}  // namespace tallow::cli
