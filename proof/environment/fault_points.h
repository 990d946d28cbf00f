// Counts the calls of fallible functions, and makes one of them fail. fault_points.inc lists the functions; malloc and
// its relatives, fread and fwrite are points too.
//
// The definitions replace those of the libraries: in a program that links them, or by LD_PRELOAD of the shared object.
// A preloaded process takes its orders from the environment:
//
//   TALLOW_FAULT=malloc:17    the 17th call of malloc fails; without it calls are only counted
//   TALLOW_FAULT_COUNTS=FILE  a FaultState that the process shares: the caller of the process makes the file
//   TALLOW_FAULT_TRACE=1      prints the stack of the call that fails to standard error
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace proof {

inline constexpr std::size_t kMostFaultPoints = 256;

/// In memory that processes may share. All zero at first.
struct FaultState {
    std::atomic<std::uint64_t> calls[kMostFaultPoints];  // by the number of the point
    std::atomic<std::uint32_t> point;                    // what fails, with `call` not 0
    std::atomic<std::uint64_t> call;                     // counted from 1 since calls[point] was 0
    std::atomic<std::uint64_t> fired;                    // how many calls failed
    std::atomic<bool> isListOfLibcrypto;                 // the last was an OPENSSL_sk_push by libcrypto itself
};

/// The points have the numbers from 0.
std::size_t faultPointCount();
const char* faultPointName(std::size_t point);

/// Counts and fails by this state from now on; null: neither.
void useFaultState(FaultState* state);

/// Sets all counts to 0, and lets the `call`th call of the point fail, from 1; 0: none.
void armFault(std::size_t point, std::uint64_t call);
void disarmFault();

/// Blocks of malloc and its relatives that are not freed yet.
std::int64_t liveBlocks();

/// Prints the stack of a call that fails to standard error.
void traceFaults(bool isOn);

}  // namespace proof
