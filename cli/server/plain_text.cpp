#include "cli/server/plain_text.h"

#include <algorithm>

#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr std::size_t kMostLines = 64;
constexpr std::size_t kMostOctets = 64U << 10;

[[noreturn]] void failAtLimit(const char* limit) {
    throw ServerFailure(status::kInvalidData, std::string("the server sends ") + limit +
                                                  " before TLS; check the port and the protocol (--starttls)");
}

}  // namespace

void PlainText::receiveMore() {
    char octets[kLongestLine];
    if (received_ == kMostOctets) {
        failAtLimit("more than 64 KiB");
    }
    const std::size_t count = wire_.receive(octets, std::min(sizeof octets, kMostOctets - received_));
    if (count == 0) {
        throw ServerFailure(status::kHttpConnectionLost,
                            "the server closed the connection before TLS; check the port and the protocol "
                            "(--starttls)");
    }
    buffer_.append(octets, count);
    received_ += count;
}

std::string PlainText::line() {
    if (numLines_++ == kMostLines) {
        failAtLimit("more than 64 lines");
    }
    std::size_t end = buffer_.find('\n');
    while (end == std::string::npos && buffer_.size() <= kLongestLine) {
        const std::size_t searched = buffer_.size();
        receiveMore();
        end = buffer_.find('\n', searched);
    }
    if (end == std::string::npos || end > kLongestLine) {
        failAtLimit("a line of more than 4 KiB");
    }
    std::string line = buffer_.substr(0, end);
    buffer_.erase(0, end + 1);
    line.resize(line.size() - (line.ends_with('\r') ? 1 : 0));
    return line;
}

std::string PlainText::octets(std::size_t count) {
    if (count > kMostOctets) {
        failAtLimit("more than 64 KiB");
    }
    while (buffer_.size() < count) {
        receiveMore();
    }
    std::string octets = buffer_.substr(0, count);
    buffer_.erase(0, count);
    return octets;
}

void PlainText::requireNothingLeft() const {
    if (!buffer_.empty()) {
        throw ServerFailure(status::kInvalidData,
                            "the server sent more plain text after its go-ahead for TLS, as an attacker on the network "
                            "would; check the network between here and the server");
    }
}

}  // namespace tallow::cli
