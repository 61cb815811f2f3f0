#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "wire/endpoint_info.hpp"
#include "wire/environment.hpp"
#include "wire/service.hpp"

namespace norvik::simulator {

struct ServiceEntry {
  std::string name;
  std::vector<std::string> models;  // Lower case; empty for all.
  std::vector<EndpointInfo> endpoints;
  std::function<std::unique_ptr<Service>(Environment&)> make;
};

// Every service there is.
const std::vector<ServiceEntry>& service_table();
// Those of one model ("k2", "r5"), and what they have on the wire.
std::vector<const ServiceEntry*> services_of(const std::string& model);
std::vector<EndpointInfo> endpoints_of(const std::string& model);

}  // namespace norvik::simulator
