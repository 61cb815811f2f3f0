// Lists the network interfaces and tries multicast on each.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <memory>

#include "host/file_descriptor.hpp"
#include "host/host_facts.hpp"

namespace norvik::tools {
namespace {

// A group for local experiments, on a port that the system chooses, so that nobody else is disturbed.
constexpr const char* kTestGroup = "239.255.77.77";
constexpr int kArrivalLimitMs = 200;

// Sends a datagram to a group on the interface and waits for the copy that the system hands back. Proves addresses,
// routes and local filters; what switches do with multicast only another machine can tell.
bool try_multicast(in_addr interface) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t length = sizeof(address);
  ip_mreq membership{{}, interface};
  ::inet_pton(AF_INET, kTestGroup, &membership.imr_multiaddr);
  const bool is_ready =
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
      ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
      ::setsockopt(socket.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)) == 0 &&
      ::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof(interface)) == 0;
  address.sin_addr = membership.imr_multiaddr;
  const char byte = 0;
  if (!is_ready || ::sendto(socket.get(), &byte, 1, 0, reinterpret_cast<const sockaddr*>(&address), length) != 1) {
    return false;
  }
  pollfd polled{socket.get(), POLLIN, 0};
  return ::poll(&polled, 1, kArrivalLimitMs) == 1;
}

in_addr address_of(const ifaddrs& entry) { return reinterpret_cast<const sockaddr_in*>(entry.ifa_addr)->sin_addr; }

InterfaceFacts describe(const ifaddrs& entry) {
  const in_addr address = address_of(entry);
  std::array<char, INET_ADDRSTRLEN> text{};
  ::inet_ntop(AF_INET, &address, text.data(), text.size());
  InterfaceFacts facts;
  facts.name = entry.ifa_name;
  facts.address = text.data();
  facts.is_loopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
  facts.is_up = (entry.ifa_flags & IFF_UP) != 0;
  facts.has_multicast = (entry.ifa_flags & IFF_MULTICAST) != 0;
  return facts;
}

template <typename Visit>
void for_each_ipv4(Visit visit) {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) {
    return;
  }
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, ::freeifaddrs);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
      visit(*entry);
    }
  }
}

}  // namespace

std::vector<InterfaceFacts> read_interfaces() {
  std::vector<InterfaceFacts> interfaces;
  for_each_ipv4([&interfaces](const ifaddrs& entry) {
    interfaces.push_back(describe(entry));
    InterfaceFacts& facts = interfaces.back();
    facts.multicast_arrives = facts.is_up && try_multicast(address_of(entry));
  });
  return interfaces;
}

std::vector<std::string> list_addresses() {
  std::vector<std::string> addresses;
  for_each_ipv4([&addresses](const ifaddrs& entry) { addresses.push_back(describe(entry).address); });
  return addresses;
}

}  // namespace norvik::tools
