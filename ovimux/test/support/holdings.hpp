#pragma once

#include <dirent.h>

#include <cstddef>
#include <fstream>
#include <ostream>
#include <string>

namespace norvik::ovimux::test {

inline size_t entries(const char* folder) {
  size_t count = 0;
  DIR* const directory = opendir(folder);
  while (readdir(directory) != nullptr) {
    ++count;
  }
  closedir(directory);
  return count;
}

// What this process holds and must not get more of, whatever its peers and its network do.
struct Holdings {
  size_t threads = entries("/proc/self/task");
  size_t descriptors = entries("/proc/self/fd");
  size_t shared_memory = mapped_shared_memory();

  static size_t mapped_shared_memory() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
      count += line.find("/dev/shm/") != std::string::npos ? 1 : 0;
    }
    return count;
  }
  bool within(const Holdings& limit) const {
    return threads <= limit.threads && descriptors <= limit.descriptors && shared_memory <= limit.shared_memory;
  }
};

inline std::ostream& operator<<(std::ostream& out, const Holdings& h) {
  return out << h.threads << " threads, " << h.descriptors << " descriptors, " << h.shared_memory << " mappings";
}

}  // namespace norvik::ovimux::test
