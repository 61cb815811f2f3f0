#include "dds/transport/shared_memory_files.hpp"

#include <sys/stat.h>
#include <sys/statvfs.h>

namespace norvik::ovimux {

std::string shared_memory_port_file(uint32_t port) { return "/dev/shm/fastrtps_port" + std::to_string(port); }

FileId file_id(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<FileId>(info.st_ino) : 0;
}

uint64_t free_shared_memory() {
  struct statvfs info {};
  return statvfs("/dev/shm", &info) == 0 ? static_cast<uint64_t>(info.f_bavail) * info.f_frsize : 0;
}

}  // namespace norvik::ovimux
