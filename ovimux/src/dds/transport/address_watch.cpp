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
#include <cerrno>
#include <system_error>
#include <utility>

#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

// News come in flocks, and an interface that comes up is not connected at once. Somewhere they may never stop.
constexpr int kSettleMilliseconds = 200;
constexpr int kMostFlocks = 10;
constexpr int kRetryMilliseconds = 1000;

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
      addresses.insert(std::to_string(if_nametoindex(one->ifa_name)) + ": " + one->ifa_name + " " + text.data());
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
  known_ = usable_addresses();
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
  while (wait_for_news()) {
    auto now = usable_addresses();
    std::string added;
    for (const auto& address : now) {
      if (known_.count(address) == 0) {
        added += (added.empty() ? "" : ", ") + address;
      }
    }
    if (!added.empty()) {  // One that is only missing may come back, and would be what it was.
      known_ = std::move(now);
      report(added);
    }
  }
}

void AddressWatch::report(const std::string& addresses) {
  while (!report_(addresses) && !stopped_within(kRetryMilliseconds)) {
  }
}

// False when the watch is to stop.
bool AddressWatch::wait_for_news() const {
  has_news_within(-1);
  for (int flock = 0; flock < kMostFlocks && has_news_within(kSettleMilliseconds); ++flock) {
  }
  return !stopped_within(0);
}

// False as well, and at once, when the watch is to stop. -1 stands for ever.
bool AddressWatch::has_news_within(int milliseconds) const {
  std::array<pollfd, 2> both = {{{stop_, POLLIN, 0}, {news_, POLLIN, 0}}};
  while (poll(both.data(), both.size(), milliseconds) < 0 && errno == EINTR) {
  }
  drain(news_);
  return both[0].revents == 0 && both[1].revents != 0;
}

bool AddressWatch::stopped_within(int milliseconds) const {
  pollfd stop{stop_, POLLIN, 0};
  return poll(&stop, 1, milliseconds) > 0;
}

}  // namespace norvik::ovimux
