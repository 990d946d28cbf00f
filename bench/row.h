// One row of the table: the same task done by OpenSSL and by the library.
//
//   addRow("decode certificate", [] {
//       const Bytes der = ...;  // made only when the row is measured, and never timed
//       return Row{.openssl = [=](std::size_t) { ... }, .tallow = [=](std::size_t) { ... }};
//   });
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

namespace bench {

/// Does the task once. `call` counts the calls of this contender since the last `prepare`, from 0.
using Action = std::function<void(std::size_t call)>;

/// What a time means: the processor time of this program, or the time until a child process has ended.
enum class Clock { kProcessor, kElapsed };

inline constexpr std::size_t kAnyNumber = 1000000;

struct Row {
    Action openssl;
    Action tallow;
    /// Makes what the next `calls` calls of each contender use; not timed. A row of new certificates makes that many
    /// here, so no contender ever sees one twice. Null when all calls use the same data.
    std::function<void(std::size_t calls)> prepare = nullptr;
    std::size_t maxCalls = kAnyNumber;  // in a round; bounds what `prepare` has to make
    Clock clock = Clock::kProcessor;
};

void addRow(std::string name, std::function<Row()> make);

/// A row whose figure is the time of an entry in the row `large`, relative to that in the row `small`. Both must have
/// been added.
void addEntryCost(std::string name, std::string large, std::size_t largeEntries, std::string small,
                  std::size_t smallEntries);

/// A contender that did not do its task must not look fast.
inline void expect(bool condition) {
    if (!condition) {
        throw std::runtime_error("a contender got a wrong result");
    }
}

// One for each family, in a file of that name.
void addDecodeRows();
void addRequestRows();
void addVerifyRows();
void addCrlRows();
void addCommandRows();

}  // namespace bench
