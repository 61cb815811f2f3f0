#pragma once

#include <functional>
#include <set>
#include <string>
#include <thread>

namespace norvik::ovimux {

// The IPv4 addresses of this machine's interfaces that are up and connected, each after its interface's name.
std::set<std::string> usable_addresses();

// Tells each address that this machine did not have when the watch began: an interface has another address, or came
// later. One thread, which sleeps until the kernel has news.
class AddressWatch {
 public:
  using Report = std::function<void(const std::string& address)>;

  // `report` is called on the watch's thread, once for each address. When the kernel refuses, the log says so and
  // nothing is watched.
  explicit AddressWatch(Report report);
  // Waits for a call under way.
  ~AddressWatch();
  AddressWatch(const AddressWatch&) = delete;
  AddressWatch& operator=(const AddressWatch&) = delete;

 private:
  void run();
  bool wait_for_news() const;
  bool stopped_within(int milliseconds) const;

  Report report_;
  int news_ = -1;
  int stop_ = -1;
  std::thread thread_;
};

}  // namespace norvik::ovimux
