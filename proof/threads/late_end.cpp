#include "proof/threads/late_end.h"

#include <unistd.h>

namespace proof {

namespace {

unsigned waiting = 0;

[[gnu::destructor]] void waitNow() {
    ::usleep(waiting * 1000);
}

}  // namespace

void waitAtEnd(unsigned milliseconds) {
    waiting = milliseconds;
}

}  // namespace proof
