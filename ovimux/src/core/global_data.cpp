#include "ovimux/core/global_data.hpp"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <memory>

namespace norvik::ovimux {
namespace {

std::string read_process_name() {
  std::array<char, 4096> path{};
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
  const std::string text(path.data(), length > 0 ? static_cast<size_t>(length) : 0);
  return text.substr(text.rfind('/') + 1);
}

std::string read_host_name() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

// The first IPv4 address of an interface that is up and no loopback, else the loopback address.
std::string read_host_ip() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) {
    return "127.0.0.1";
  }
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    const bool usable = (entry->ifa_flags & IFF_UP) != 0 && (entry->ifa_flags & IFF_LOOPBACK) == 0;
    if (!usable || entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
      continue;
    }
    const auto* address = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
    std::array<char, INET_ADDRSTRLEN> text{};
    if (inet_ntop(AF_INET, &address->sin_addr, text.data(), text.size()) != nullptr) {
      return text.data();
    }
  }
  return "127.0.0.1";
}

// FNV-1a, so that every process gives a name the same id.
uint64_t hash_name(const std::string& name, uint64_t seed) {
  uint64_t hash = 14695981039346656037ULL ^ seed;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  }
  return hash;
}

}  // namespace

GlobalData* GlobalData::Instance(bool /*create*/) {
  static auto* const instance = new GlobalData;
  return instance;
}

GlobalData::GlobalData()
    : process_id_(getpid()),
      process_name_(read_process_name()),
      host_name_(read_host_name()),
      host_ip_(read_host_ip()) {}

uint64_t GlobalData::RegisterChannel(const std::string& name) { return hash_name(name, 0); }

uint64_t GlobalData::RegisterService(const std::string& name) { return hash_name(name, 1); }

int GlobalData::ThreadId() {
  static thread_local const int id = static_cast<int>(syscall(SYS_gettid));
  return id;
}

void GlobalData::GetTimeStamp(DataTimestamp* timestamp) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  timestamp->sec = static_cast<uint32_t>(now.tv_sec);
  timestamp->nsec = static_cast<uint32_t>(now.tv_nsec);
}

}  // namespace norvik::ovimux
