#pragma once

#include <functional>
#include <set>
#include <string>
#include <thread>

namespace norvik::ovimux {

// The IPv4 addresses of this machine's interfaces that are up and connected, as "NUMBER: INTERFACE ADDRESS". An
// interface that is taken out and put in again has another number.
std::set<std::string> usable_addresses();

// Tells when this machine has an address that it did not have when the watch began, or told last: an interface has
// another address, or came later. One thread, which sleeps until the kernel has news.
class AddressWatch {
 public:
  // With the new addresses. False asks to be called again in a second.
  using Report = std::function<bool(const std::string& addresses)>;

  // `report` is called on the watch's thread, once the addresses have settled. When the kernel refuses, the log says so
  // and nothing is watched.
  explicit AddressWatch(Report report);
  // Waits for a call under way.
  ~AddressWatch();
  AddressWatch(const AddressWatch&) = delete;
  AddressWatch& operator=(const AddressWatch&) = delete;

 private:
  void run();
  bool wait_for_news() const;
  bool has_news_within(int milliseconds) const;
  bool stopped_within(int milliseconds) const;
  void report(const std::string& addresses);

  Report report_;
  int news_ = -1;
  int stop_ = -1;
  std::set<std::string> known_;
  std::thread thread_;
};

}  // namespace norvik::ovimux
