// Replaces the operator new of a test program with one that can be made to fail. Programs that need it link
// tallow_failing_allocation; no other program gets it.
#pragma once

namespace testkit {

/// How many allocations of this thread still succeed before one fails; below 0, all do. A failure sets it to -1.
extern thread_local long allocationsLeft;

/// Counts one allocation; false for the one that fails. For allocators that do not go through operator new.
bool isAllocationGranted();

}  // namespace testkit
