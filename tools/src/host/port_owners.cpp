#include "host/port_owners.hpp"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "host/host_facts.hpp"

namespace norvik::tools {
namespace {

namespace fs = std::filesystem;

std::optional<int> parse_pid(const std::string& name) {
  int pid = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
  return error == std::errc() && end == name.data() + name.size() ? std::optional<int>(pid) : std::nullopt;
}

// Whether the process has one of the links, such as "socket:[1234]", among its descriptors.
bool holds_one_of(const fs::path& process, const std::set<std::string>& links) {
  std::error_code error;
  for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end; entry.increment(error)) {
    std::error_code unreadable;
    if (links.count(fs::read_symlink(entry->path(), unreadable).string()) > 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::map<uint16_t, std::set<uint64_t>> inodes_of_udp_ports(const std::string& table) {
  std::map<uint16_t, std::set<uint64_t>> inodes;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    unsigned port = 0;
    unsigned long long inode = 0;
    if (std::sscanf(line.c_str(), " %*d: %*8[0-9A-Fa-f]:%4x %*s %*s %*s %*s %*s %*s %*s %llu", &port, &inode) == 2) {
      inodes[static_cast<uint16_t>(port)].insert(inode);
    }
  }
  return inodes;
}

std::optional<ProcessFacts> find_port_owner(uint16_t port) {
  const auto inodes = inodes_of_udp_ports(file_text("/proc/net/udp"));
  const auto sockets = inodes.find(port);
  if (sockets == inodes.end()) {
    return std::nullopt;
  }
  std::set<std::string> links;
  for (const uint64_t inode : sockets->second) {
    links.insert("socket:[" + std::to_string(inode) + "]");
  }
  std::optional<ProcessFacts> owner;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
    const auto pid = parse_pid(entry->path().filename().string());
    if (pid && holds_one_of(entry->path(), links)) {
      if (owner) {
        return std::nullopt;
      }
      owner = ProcessFacts{*pid, process_name(*pid)};
    }
  }
  return owner;
}

std::string process_name(int pid) {
  std::string name = file_text("/proc/" + std::to_string(pid) + "/comm");
  name.resize(std::min(name.find('\n'), name.size()));
  return name;
}

}  // namespace norvik::tools
