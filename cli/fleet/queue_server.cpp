#include "cli/fleet/queue_server.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

#include "checker/text/safe_text.h"
#include "cli/input_files.h"
#include "platform/support/support_service.h"

namespace tallow::cli {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstPause{500};
constexpr milliseconds kLongestPause{30000};
constexpr milliseconds kTick{100};
constexpr unsigned kTimeoutMs = 5000;

QueueReply copied(const CRYPTO_REDIS_VALUE& value) {
    QueueReply reply{value.dwKind, std::string(value.pbText, value.cbText), value.iValue};
    for (DWORD i = 0; i < value.cValue; ++i) {
        reply.parts.push_back(copied(value.rgValue[i]));
    }
    return reply;
}

CRYPTO_REDIS* opened(const QueueOptions& options) {
    CRYPTO_REDIS_SERVER server{};
    server.cbSize = sizeof server;
    server.szUrl = options.url.c_str();
    server.szUser = options.user.c_str();
    server.szPasswordFile = options.passwordFile.c_str();
    server.szCaFile = options.caFile.c_str();
    CRYPTO_REDIS* const redis = crypto_redis_open(&server);
    if (redis == nullptr) {
        throw std::bad_alloc();
    }
    return redis;
}

// The group is missing after the server lost its data; the caller makes it again.
bool isOfGroup(const QueueReply& reply) {
    return reply.text.starts_with("NOGROUP") || reply.text.starts_with("BUSYGROUP");
}

// The first word of an error, such as OOM, and what it means here: what follows may repeat the command.
std::string codeOf(const std::string& error) {
    constexpr std::size_t kLongestCode = 32;
    // Some versions of the server report a right that is missing in a script without its own code.
    if (error.find("The user executing the script can't") != std::string::npos) {
        return "NOPERM";
    }
    const std::string code = error.substr(0, error.find(' '));
    if (code == "WRONGTYPE") {
        return code + ", a key that begins with tallow: is not of a queue; remove it at the server";
    }
    const bool isCode = code.size() <= kLongestCode &&
                        code.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == std::string::npos;
    return isCode ? code : "an error without a code";
}

// Errors that only the administrator can end. They stand at the end, also of what the service says about the login.
bool isMissingRight(std::string_view fault) {
    return fault.ends_with(": NOAUTH") || fault.ends_with(": WRONGPASS") || fault.ends_with(": NOPERM");
}

}  // namespace

const QueueReply& QueueReply::at(std::size_t index) const {
    static const QueueReply kNone;
    return index < parts.size() ? parts[index] : kNone;
}

QueueServer::QueueServer(const QueueOptions& options) : options_(options) {
    Handle redis(opened(options));
    if (const std::string mistake = crypto_redis_fault(redis.get()); !mistake.empty()) {
        throw InputError("--queue", mistake);
    }
    idle_.push_back(std::move(redis));
}

QueueServer::Handle QueueServer::take() {
    const std::scoped_lock lock(mutex_);
    if (idle_.empty()) {
        return Handle(opened(options_));
    }
    Handle last = std::move(idle_.back());
    idle_.pop_back();
    return last;
}

std::optional<QueueReply> QueueServer::askOnce(const Words& words, const Bounds& bounds, std::string& fault) {
    Handle redis = take();
    std::vector<CRYPT_DATA_BLOB> blobs;
    for (const std::string& word : words) {
        // The record has no constant form; the service only reads it.
        blobs.push_back({static_cast<DWORD>(word.size()),
                         const_cast<BYTE*>(reinterpret_cast<const BYTE*>(word.data()))});  // NOLINT
    }
    const CRYPTO_REDIS_VALUE* reply = nullptr;
    if (crypto_redis_ask(redis.get(), blobs.data(), static_cast<DWORD>(blobs.size()), kTimeoutMs + bounds.waitMs,
                         static_cast<DWORD>(bounds.largestReply), &reply) == FALSE) {
        if (GetLastError() == ERROR_MORE_DATA && bounds.returnsTooLarge) {
            QueueReply none;
            none.isTooLarge = true;
            return none;
        }
        fault = crypto_redis_fault(redis.get());
        return std::nullopt;
    }
    QueueReply copy = copied(*reply);
    crypto_redis_release(redis.get());
    // After another error the name may lead to another server by now: to the new one after a failover, for example.
    if (copy.kind != CRYPTO_REDIS_ERROR || isOfGroup(copy)) {
        const std::scoped_lock lock(mutex_);
        idle_.push_back(std::move(redis));
    }
    return copy;
}

void QueueServer::noteLost(const std::string& fault, bool isFinal) {
    const std::scoped_lock lock(mutex_);
    if (!std::exchange(isLost_, true)) {
        std::cerr << "tallow: " + text::safeLine(options_.url + ": " + fault) +
                         (isFinal ? "; check the user, the password file and the rights\n" : "; trying again\n");
    }
}

void QueueServer::noteBack() {
    const std::scoped_lock lock(mutex_);
    if (std::exchange(isLost_, false)) {
        answeringSince_ = std::chrono::steady_clock::now();
        std::cerr << "tallow: " + text::safeLine(options_.url) + ": answers again\n";
    }
}

std::chrono::steady_clock::time_point QueueServer::answeringSince() {
    const std::scoped_lock lock(mutex_);
    return answeringSince_;
}

std::optional<QueueReply> QueueServer::ask(const Words& words, const Patience& givesUp, const Bounds& bounds) {
    const auto begun = std::chrono::steady_clock::now();
    const auto lost = [begun] {
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begun);
    };
    for (milliseconds pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
        std::string fault;
        std::optional<QueueReply> reply = askOnce(words, bounds, fault);
        if (reply && (reply->kind != CRYPTO_REDIS_ERROR || isOfGroup(*reply))) {
            noteBack();
            return reply;
        }
        fault = reply ? "the server refuses " + words.front() + ": " + codeOf(reply->text) : fault;
        const bool isFinal = isMissingRight(fault) && givesUp(milliseconds::max());
        noteLost(fault, isFinal);
        if (isFinal) {
            return std::nullopt;
        }
        const auto end = std::chrono::steady_clock::now() + pause;
        while (std::chrono::steady_clock::now() < end) {
            if (givesUp(lost())) {
                return std::nullopt;
            }
            std::this_thread::sleep_for(kTick);
        }
    }
}

QueueServer::Patience patienceOf(std::chrono::seconds time) {
    return [time](milliseconds lost) { return lost >= time; };
}

}  // namespace tallow::cli
