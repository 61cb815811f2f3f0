#include "network/domain_probe.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <fmt/ranges.h>

#include <array>
#include <chrono>
#include <cstring>
#include <vector>

#include "host/file_descriptor.hpp"
#include "host/host_facts.hpp"

namespace norvik::tools {
namespace {

using Clock = std::chrono::steady_clock;

// The port numbers that the RTPS standard gives to discovery.
constexpr int kFirstPort = 7400;
constexpr int kPortsPerDomain = 250;
constexpr int kMaxDomain = 232;
constexpr const char* kDiscoveryGroup = "239.255.0.1";
constexpr std::array<char, 4> kRtpsMagic = {'R', 'T', 'P', 'S'};

constexpr std::chrono::milliseconds kListenTime{1200};

struct DomainSocket {
  int domain;
  FileDescriptor socket;
};

// Joins the discovery group of one domain; an invalid descriptor when that fails.
FileDescriptor listen_to(int domain) {
  FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int yes = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(kFirstPort + kPortsPerDomain * domain));
  ::inet_pton(AF_INET, kDiscoveryGroup, &address.sin_addr);
  ip_mreq membership{address.sin_addr, {htonl(INADDR_ANY)}};
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::setsockopt(socket.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)) != 0) {
    return FileDescriptor();
  }
  return socket;
}

// The sender of one RTPS datagram; empty when there is none.
std::string receive_sender(int socket) {
  std::array<char, 64> data{};
  sockaddr_in sender{};
  socklen_t length = sizeof(sender);
  const ssize_t size = ::recvfrom(socket, data.data(), data.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
  if (size < static_cast<ssize_t>(kRtpsMagic.size()) ||
      std::memcmp(data.data(), kRtpsMagic.data(), kRtpsMagic.size()) != 0) {
    return "";
  }
  std::array<char, INET_ADDRSTRLEN> text{};
  return ::inet_ntop(AF_INET, &sender.sin_addr, text.data(), text.size()) != nullptr ? text.data() : "";
}

void listen_to_others(int domain, std::map<int, std::set<std::string>>& found) {
  std::vector<DomainSocket> sockets;
  std::vector<pollfd> polled;
  for (int other = 0; other <= kMaxDomain; ++other) {
    FileDescriptor socket = other == domain ? FileDescriptor() : listen_to(other);
    if (socket.is_valid()) {
      polled.push_back({socket.get(), POLLIN, 0});
      sockets.push_back({other, std::move(socket)});
    }
  }
  const auto deadline = Clock::now() + kListenTime;
  for (auto now = Clock::now(); now < deadline; now = Clock::now()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count() + 1;
    ::poll(polled.data(), polled.size(), static_cast<int>(left));
    for (size_t i = 0; i < polled.size(); ++i) {
      const std::string sender = polled[i].revents != 0 ? receive_sender(polled[i].fd) : "";
      if (!sender.empty()) {
        found[sockets[i].domain].insert(sender);
      }
    }
  }
}

}  // namespace

std::optional<int> domain_of_port(int port) {
  const int offset = port - kFirstPort;
  const bool fits = offset >= 0 && offset % kPortsPerDomain == 0 && offset / kPortsPerDomain <= kMaxDomain;
  return fits ? std::optional<int>(offset / kPortsPerDomain) : std::nullopt;
}

std::set<int> domains_in_udp_table(const std::string& table) {
  std::set<int> domains;
  size_t end = 0;
  for (size_t line = 0; line < table.size(); line = end + 1) {
    end = std::min(table.find('\n', line), table.size());
    unsigned port = 0;
    if (std::sscanf(table.substr(line, end - line).c_str(), " %*d: %*[0-9A-Fa-f]:%4x", &port) == 1) {
      if (const auto domain = domain_of_port(static_cast<int>(port))) {
        domains.insert(*domain);
      }
    }
  }
  return domains;
}

std::map<int, std::string> find_other_domains(int domain, bool local) {
  std::map<int, std::set<std::string>> found;
  for (const int other : domains_in_udp_table(file_text("/proc/net/udp"))) {
    found[other].insert("this machine");
  }
  if (!local) {
    listen_to_others(domain, found);
  }
  found.erase(domain);
  std::map<int, std::string> result;
  for (const auto& [other, hosts] : found) {
    result[other] = fmt::format("{}", fmt::join(hosts, ", "));
  }
  return result;
}

}  // namespace norvik::tools
