#include "dds/transport/address_watch.hpp"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <array>
#include <system_error>
#include <utility>

#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

// News come in flocks, and an interface that comes up is not connected at once.
constexpr int kSettleMilliseconds = 200;

int open_news() {
  const int news = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
  if (news >= 0 && bind(news, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    close(news);
    return -1;
  }
  return news;
}

// What they say does not matter: the addresses are read afterwards.
void drain(int news) {
  std::array<char, 8192> buffer{};
  while (recv(news, buffer.data(), buffer.size(), 0) > 0) {
  }
}

}  // namespace

std::set<std::string> usable_addresses() {
  std::set<std::string> addresses;
  ifaddrs* all = nullptr;
  if (getifaddrs(&all) != 0) {
    return addresses;
  }
  for (const ifaddrs* one = all; one != nullptr; one = one->ifa_next) {
    std::array<char, INET_ADDRSTRLEN> text{};
    if (one->ifa_addr != nullptr && one->ifa_addr->sa_family == AF_INET && (one->ifa_flags & IFF_RUNNING) != 0U) {
      inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(one->ifa_addr)->sin_addr, text.data(), text.size());
      addresses.insert(std::string(one->ifa_name) + " " + text.data());
    }
  }
  freeifaddrs(all);
  return addresses;
}

AddressWatch::AddressWatch(Report report)
    : report_(std::move(report)), news_(open_news()), stop_(eventfd(0, EFD_CLOEXEC)) {
  if (news_ < 0 || stop_ < 0) {
    OVIMUX_LOG(kWarning) << "changes of network addresses cannot be watched";
    return;
  }
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error& error) {
    OVIMUX_LOG(kWarning) << "changes of network addresses cannot be watched: " << error.what();
  }
}

AddressWatch::~AddressWatch() {
  if (thread_.joinable()) {
    eventfd_write(stop_, 1);
    thread_.join();
  }
  close(news_);
  close(stop_);
}

void AddressWatch::run() {
  auto known = usable_addresses();
  while (wait_for_news()) {
    for (const auto& address : usable_addresses()) {
      if (known.insert(address).second) {
        report_(address);
      }
    }
  }
}

// False when the watch is to stop.
bool AddressWatch::wait_for_news() const {
  std::array<pollfd, 2> both = {{{stop_, POLLIN, 0}, {news_, POLLIN, 0}}};
  poll(both.data(), both.size(), -1);
  if (stopped_within(kSettleMilliseconds)) {
    return false;
  }
  drain(news_);
  return true;
}

bool AddressWatch::stopped_within(int milliseconds) const {
  pollfd stop{stop_, POLLIN, 0};
  return poll(&stop, 1, milliseconds) > 0;
}

}  // namespace norvik::ovimux
