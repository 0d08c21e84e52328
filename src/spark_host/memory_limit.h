#pragma once

#include <cstddef>
#include <optional>

namespace velorin {

// While it lives, the program gets no more memory than it has and so many bytes; does nothing
// without a number. Small blocks may come out of what was given back earlier.
class MemoryLimit {
  public:
    explicit MemoryLimit(std::optional<std::size_t> spareBytes);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

  private:
    unsigned long long before = 0;
    bool active = false;
};

}  // namespace velorin
