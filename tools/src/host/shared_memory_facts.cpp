// Looks through /dev/shm for what Fast DDS left there.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>

#include "host/file_descriptor.hpp"
#include "host/host_facts.hpp"

namespace norvik::tools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSegmentPrefix = "fastrtps_";
constexpr const char* kLockSuffix = "_el";

// The lock file of a segment ("fastrtps_0123456789abcdef_el"). Ports have one too, but hold little memory.
bool is_segment_lock(const std::string& name) {
  return name.rfind(kSegmentPrefix, 0) == 0 && name.rfind("fastrtps_port", 0) != 0 && name.size() > 3 &&
         name.compare(name.size() - 3, 3, kLockSuffix) == 0;
}

// A participant holds an exclusive lock as long as it lives. A shared one is tried, so that two doctors do not take
// each other for participants.
bool is_held(const FileDescriptor& lock) { return ::flock(lock.get(), LOCK_SH | LOCK_NB) != 0; }

void look_at_segment(const fs::path& lock_path, SharedMemoryFacts& facts) {
  std::string segment = lock_path.string();
  segment.resize(segment.size() - 3);
  const FileDescriptor lock(::open(lock_path.c_str(), O_RDONLY | O_CLOEXEC));
  const bool accessible = ::access(segment.c_str(), R_OK | W_OK) == 0;
  if (!lock.is_valid() || (is_held(lock) && !accessible)) {
    ++facts.foreign_segments;
  } else if (!is_held(lock)) {
    std::error_code error;
    const auto size = fs::file_size(segment, error);
    ++facts.stale_segments;
    facts.stale_bytes += error ? 0 : size;
  }
}

}  // namespace

SharedMemoryFacts read_shared_memory(const std::string& folder) {
  SharedMemoryFacts facts;
  struct statvfs info {};
  facts.is_usable = ::statvfs(folder.c_str(), &info) == 0 && ::access(folder.c_str(), R_OK | W_OK) == 0;
  facts.free_bytes = static_cast<uint64_t>(info.f_bavail) * info.f_frsize;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (is_segment_lock(it->path().filename().string())) {
      look_at_segment(it->path(), facts);
    }
  }
  return facts;
}

}  // namespace norvik::tools
