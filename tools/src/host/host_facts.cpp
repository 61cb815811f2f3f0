#include "host/host_facts.hpp"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace norvik::tools {
namespace {

constexpr int kMaxDomain = 232;

int64_t number_in(const std::string& path) {
  int64_t number = 0;
  std::istringstream(file_text(path)) >> number;
  return number;
}

// Where Fast DDS looks for profiles.
std::string find_profile_file() {
  std::string path = environment_text("FASTRTPS_DEFAULT_PROFILES_FILE");
  if (path.empty() && environment_text("SKIP_DEFAULT_XML_FILE") != "1") {
    path = "DEFAULT_FASTRTPS_PROFILES.xml";
  }
  std::error_code ignored;
  return !path.empty() && std::filesystem::exists(path, ignored) ? path : "";
}

}  // namespace

std::string environment_text(const char* name) {
  const char* text = std::getenv(name);
  return text != nullptr ? text : "";
}

std::string file_text(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::optional<int> parse_domain(const std::string& text) {
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  return *end == '\0' && value >= 0 && value <= kMaxDomain ? std::optional<int>(static_cast<int>(value)) : std::nullopt;
}

HostFacts read_host_facts() {
  HostFacts facts;
  facts.domain_text = environment_text("OVIMUX_DOMAIN_ID");
  facts.localhost_text = environment_text("OVIMUX_LOCALHOST_ONLY");
  facts.profile_file = find_profile_file();
  facts.first_ephemeral_port = static_cast<int>(number_in("/proc/sys/net/ipv4/ip_local_port_range"));
  facts.interfaces = read_interfaces();
  facts.shared_memory = read_shared_memory("/dev/shm");
  facts.receive_buffer_limit = number_in("/proc/sys/net/core/rmem_max");
  facts.send_buffer_limit = number_in("/proc/sys/net/core/wmem_max");
  return facts;
}

}  // namespace norvik::tools
