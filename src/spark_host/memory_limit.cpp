#include "spark_host/memory_limit.h"

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

namespace velorin {

namespace {

std::size_t BytesInUse() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

MemoryLimit::MemoryLimit(std::optional<std::size_t> spareBytes) {
    rlimit limit{};
    if (!spareBytes || getrlimit(RLIMIT_AS, &limit) != 0) return;
    // What the program has set free would count for nothing.
    malloc_trim(0);
    before = limit.rlim_cur;
    limit.rlim_cur = BytesInUse() + *spareBytes;
    active = setrlimit(RLIMIT_AS, &limit) == 0;
}

MemoryLimit::~MemoryLimit() {
    rlimit limit{};
    if (!active || getrlimit(RLIMIT_AS, &limit) != 0) return;
    limit.rlim_cur = before;
    setrlimit(RLIMIT_AS, &limit);
}

}  // namespace velorin
