#include "impl/wbc/common/service_watch.hpp"

#include <utility>

#include "sdk_log.hpp"

namespace norvik::sdk {

ServiceWatch::ServiceWatch(std::string service, std::function<unsigned()> server_count)
    : service_(std::move(service)), server_count_(std::move(server_count)) {}

void ServiceWatch::look_first() {
  if (const unsigned servers = server_count_(); servers > 1) {
    warn(servers);
  }
}

void ServiceWatch::look(Time now) {
  const unsigned servers = server_count_();
  if (servers <= 1) {
    several_since_ = 0;
    warned_ = false;
    return;
  }
  const Time::rep present = now.time_since_epoch().count();
  Time::rep since = 0;
  if (several_since_.compare_exchange_strong(since, present)) {
    since = present;
  }
  if (Time::duration(present - since) >= kTimeOfDeadServers) {
    warn(servers);
  }
}

void ServiceWatch::warn(unsigned servers) {
  if (!warned_.exchange(true)) {
    SDK_LOG(warning) << servers << " servers answer " << service_
                     << ", every command reaches all of them: is a second robot or simulator on this network and "
                        "domain (OVIMUX_DOMAIN_ID)?";
  }
}

}  // namespace norvik::sdk
