#include "cli/server/deadline.h"

#include <algorithm>
#include <limits>

#include "cli/server/server_failure.h"
#include "handles/status.h"

namespace tallow::cli {

int Deadline::millisecondsLeft() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

std::string Deadline::limit() const {
    constexpr int kSecond = 1000;
    const auto count = limit_.count();
    return count % kSecond == 0 ? std::to_string(count / kSecond) + " s" : std::to_string(count) + " ms";
}

void Deadline::fail(const std::string& what) const {
    throw ServerFailure(status::kHttpTimeout,
                        what + " within " + limit() + "; check the address and the network, or raise --timeout");
}

}  // namespace tallow::cli
