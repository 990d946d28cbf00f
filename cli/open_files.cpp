#include "cli/open_files.h"

#include <sys/resource.h>

#include <algorithm>
#include <utility>

namespace tallow::cli {

unsigned jobsWithinOpenFiles(unsigned wanted, unsigned filesOfJob, std::string& note) {
    constexpr rlim_t kForAll = 16;  // standard streams, lists, output files
    const rlim_t needed = kForAll + rlim_t{filesOfJob} * wanted;
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur >= needed) {
        return wanted;
    }
    const rlim_t before = std::exchange(files.rlim_cur, std::min(files.rlim_max, needed));
    const rlim_t most = ::setrlimit(RLIMIT_NOFILE, &files) == 0 ? files.rlim_cur : before;
    if (most >= needed) {
        return wanted;
    }
    const auto possible = static_cast<unsigned>(most > kForAll + filesOfJob ? (most - kForAll) / filesOfJob : 1);
    note = "tallow: --jobs: only " + std::to_string(possible) + " at a time, since at most " + std::to_string(most) +
           " files may be open; raise that limit (ulimit -n)\n";
    return possible;
}

}  // namespace tallow::cli
