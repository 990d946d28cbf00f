// A library whose destructor runs after those of the project, since it is linked after them.
#pragma once

namespace proof {

/// How long the process waits when all other destructors have run; 0 at first.
void waitAtEnd(unsigned milliseconds);

}  // namespace proof
