#include "platform/crypto/network/cache_server.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/crypto/base/service_call.h"
#include "platform/crypto/certificates/system_store.h"
#include "platform/crypto/network/check_scope.h"
#include "platform/support/file_trust.h"
#include "platform/support/fork_gate.h"
#include "platform/support/never_destroyed.h"
#include "platform/support/settings_table.h"
#include "platform/support/whole_file.h"

namespace tallow::platform {

namespace {

constexpr std::size_t kLargestSecret = 4096;
constexpr std::size_t kShortestKey = 32;
constexpr std::size_t kLargestRoots = std::size_t{8} << 20;

// The content of a file that decides whom to trust. On failure it is empty, with the cause in `fault`.
std::string readTrusted(const std::string& path, std::size_t largest, bool isSecret, std::string& fault) {
    int systemError = 0;
    std::optional<WholeFile> file = readWholeFile(path, largest, systemError);
    std::string problem = file ? whyUntrustedFile(path, file->status) : failureText(systemError);
    if (problem.empty() && isSecret && (file->status.st_mode & S_IROTH) != 0) {
        problem = "can be read by every user (chmod o-r)";
    }
    if (!problem.empty()) {
        fault = path + ": " + problem;
        return {};
    }
    return std::move(file->content);
}

std::string readSecret(const std::string& path, std::string& fault) {
    std::string secret = readTrusted(path, kLargestSecret, true, fault);
    while (secret.ends_with('\n') || secret.ends_with('\r')) {
        secret.pop_back();
    }
    if (fault.empty() && secret.empty()) {
        fault = path + ": is empty";
    }
    return secret;
}

bool isReadable(const setting::Text& text) {
    return textValueOf(text).source != TextValue::Source::kUnreadable;
}

bool isSet(const setting::Text& text) {
    const TextValue value = textValueOf(text);
    return value.source == TextValue::Source::kUnreadable || !value.text.empty();
}

// Whether an error leaves hope for other commands. Others, such as LOADING, are about the server.
bool concernsOneCommand(const std::string& code) {
    constexpr std::array<std::string_view, 8> kCodes{"ASK",        "MISCONF", "MOVED",    "NOPERM",
                                                     "NOREPLICAS", "OOM",     "READONLY", "WRONGTYPE"};
    return std::ranges::find(kCodes, code) != kCodes.end();
}

// How long the outermost check of this thread has waited; outside of a check nothing is added up. A record of a check
// may lie where an earlier one was, but then with another deadline.
std::chrono::steady_clock::duration& waitOfThisCheck() {
    struct Wait {
        const CRYPTO_CHECK* check = nullptr;
        unsigned long long deadline = 0;
        std::chrono::steady_clock::duration sum{};
    };
    constinit static thread_local Wait wait;
    const CRYPTO_CHECK* check = currentCheck();
    while (check != nullptr && check->pOuter != nullptr) {
        check = check->pOuter;
    }
    if (check == nullptr || check != wait.check || check->qwDeadline != wait.deadline) {
        wait = {check, check == nullptr ? 0 : check->qwDeadline, {}};
    }
    return wait.sum;
}

}  // namespace

CacheSettings CacheSettings::read() {
    CacheSettings settings;
    if (!isReadable(setting::cache_password_file) || !isReadable(setting::cache_ca_file)) {
        settings.name = "named in the settings";
        settings.fault = "the settings cannot be read";
        return settings;
    }
    settings.server = readRedisServer({textOf(setting::cache), textOf(setting::cache_user),
                                       textOf(setting::cache_password_file), textOf(setting::cache_ca_file)},
                                      settings.fault);
    if (settings.server.address.host.empty()) {
        settings.name = "named in the settings";
        settings.fault = "the address " + settings.fault;
        return settings;
    }
    settings.name = settings.server.address.text();
    // The current directory is not the administrator's choice.
    const std::string path = textOf(setting::cache_key_file);
    for (const std::string& file : {path, textOf(setting::cache_password_file), textOf(setting::cache_ca_file)}) {
        if (!file.empty() && file.front() != '/') {
            settings.fault = file + ": is no absolute path";
        }
    }
    if (settings.fault.empty() && isSet(setting::cache_key_file)) {
        settings.key = readSecret(path, settings.fault);
        if (settings.fault.empty() && settings.key.size() < kShortestKey) {
            settings.fault = path + ": is shorter than 32 octets; write a random one (openssl rand -hex 32)";
        }
    }
    return settings;
}

RedisServer readRedisServer(const RedisLogin& login, std::string& fault) {
    RedisServer server;
    const std::optional<RedisAddress> address = RedisAddress::read(login.url, fault);
    if (!address) {
        return server;
    }
    server.address = *address;
    server.user = login.user;
    if (!login.passwordFile.empty()) {
        server.password = readSecret(login.passwordFile, fault);
    } else if (!login.user.empty()) {
        fault = "a user is set without a password file";
    }
    if (fault.empty() && address->useTls) {
        server.roots = readTrusted(login.caFile.empty() ? systemBundle() : login.caFile, kLargestRoots, false, fault);
    }
    return server;
}

CacheServer& CacheServer::ofProcess() {
    static NeverDestroyed<CacheServer> server;
    return *server;
}

std::shared_ptr<const CacheSettings> CacheServer::settings() {
    const std::scoped_lock lock(mutex_);
    const unsigned long version = tallow::platform::settingsVersion();
    const Clock::time_point now = Clock::now();
    const bool isOther = !settings_ || settingsVersion_ != version;
    if (isOther) {
        patience_ = longestWait_;
        pausedUntil_ = {};
        nextPause_ = kFirstPause;
    }
    if (isOther || (!settings_->fault.empty() && now >= pausedUntil_)) {
        settings_ = std::make_shared<const CacheSettings>(CacheSettings::read());
        settingsVersion_ = version;
        recent_.forgetAll();
        if (!settings_->fault.empty()) {
            note(*settings_, settings_->fault);
            pause(now);
        }
    }
    return settings_->fault.empty() ? settings_ : nullptr;
}

// How long slow operations may wait now. With the lock.
CacheServer::Clock::duration CacheServer::patience(Clock::time_point now) {
    constexpr int kShare = 100;
    const Clock::duration regained = (now - std::exchange(patienceSince_, now)) / kShare;
    patience_ = std::min<Clock::duration>(longestWait_, patience_ + regained);
    return now < pausedUntil_ ? Clock::duration::zero() : patience_;
}

std::unique_ptr<RedisConnection> CacheServer::take(const std::shared_ptr<const CacheSettings>& settings) {
    const std::scoped_lock lock(mutex_);
    const Clock::time_point now = Clock::now();
    std::erase_if(idle_, [&](const Idle& idle) {
        return idle.settings != settings || idle.process != ForkGate::generation() || now - idle.since > kLongestIdle;
    });
    if (idle_.empty()) {
        return nullptr;
    }
    std::unique_ptr<RedisConnection> last = std::move(idle_.back().connection);
    idle_.pop_back();
    return last;
}

void CacheServer::keep(std::unique_ptr<RedisConnection> connection,
                       const std::shared_ptr<const CacheSettings>& settings) {
    const std::scoped_lock lock(mutex_);
    if (idle_.size() < kMaxIdle) {
        idle_.push_back({std::move(connection), settings, Clock::now(), ForkGate::generation()});
    }
}

// With the lock.
void CacheServer::note(const CacheSettings& settings, const std::string& fault) {
    TALLOW_CRYPTO_TRACE("the cache %s fails: %s\n", settings.name.c_str(), fault.c_str());
    if (firstFault_.empty()) {
        firstFault_ = "the cache " + settings.name + " was not used: " + fault;
    }
}

// With the lock. Several threads may notice the same failure.
void CacheServer::pause(Clock::time_point now) {
    patience_ = longestWait_;
    if (now >= pausedUntil_) {
        pausedUntil_ = now + nextPause_;
        nextPause_ = std::min(2 * nextPause_, kLongestPause);
    }
}

CacheServer::Reply CacheServer::exchange(const std::shared_ptr<const CacheSettings>& settings,
                                         std::span<const std::string_view> command, Clock::time_point deadline,
                                         std::size_t largestReply, std::string& fault) {
    std::unique_ptr<RedisConnection> connection = take(settings);
    Reply reply;
    if (connection && connection->isQuiet()) {
        reply = connection->ask(command, deadline, largestReply);
    }
    if (!reply) {  // a server may close an idle connection at any time
        connection.reset();
        connection = connectRedis(settings->server, deadline, fault);
        if (!connection) {
            return std::nullopt;
        }
        reply = connection->ask(command, deadline, largestReply);
    }
    if (reply) {
        keep(std::move(connection), settings);
    } else {
        fault = connection->fault();
    }
    return reply;
}

CacheServer::Reply CacheServer::ask(const std::shared_ptr<const CacheSettings>& settings,
                                    std::span<const std::string_view> command, std::size_t largestReply) {
    const Clock::time_point begun = Clock::now();
    const Clock::time_point limit = begun + [&] {
        const std::scoped_lock lock(mutex_);
        return patience(begun);
    }();
    Clock::duration& waitOfCheck = waitOfThisCheck();
    const Clock::time_point deadline = std::min({limit, checkDeadline(), begun + longestWait_ - waitOfCheck});
    if (deadline <= begun) {
        return std::nullopt;
    }
    std::string fault;
    Reply reply = exchange(settings, command, deadline, largestReply, fault);
    const Clock::time_point now = Clock::now();
    const Clock::duration wait = now - begun;
    waitOfCheck += wait;

    const bool isError = reply && reply->kind == RedisValue::Kind::kError;
    bool isUseless = isError && !concernsOneCommand(errorCodeOf(*reply));
    if (isError) {
        fault = "the server refuses " + std::string(command.front()) + ": " + errorCodeOf(*reply);
        reply.reset();
    } else if (!reply) {
        isUseless = now < deadline || deadline == limit;  // the end of the check says nothing about the server
    }
    const std::scoped_lock lock(mutex_);
    if (wait < kQuick) {
        nextPause_ = reply ? kFirstPause : nextPause_;
    } else if (patience(now) > Clock::duration::zero()) {
        patience_ -= wait;
        isUseless = isUseless || patience_ < kQuick;
    }
    if (isUseless || isError) {
        note(*settings, fault.empty() ? "it answers too slowly" : fault);
    }
    if (isUseless) {
        pause(now);
    }
    return reply;
}

const char* CacheServer::firstFault() {
    const std::scoped_lock lock(mutex_);
    return firstFault_.empty() ? nullptr : firstFault_.c_str();
}

}  // namespace tallow::platform
