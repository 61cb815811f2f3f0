#include "wire/occupied.hpp"

#include <memory>
#include <thread>

namespace norvik::simulator {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLook{5};

struct Candidate {
  std::string service;
  std::shared_ptr<ovimux::RawClient> client;
};

std::vector<Candidate> open_clients(ovimux::Node& node, const std::vector<std::string>& services) {
  ovimux::RpcQos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  std::vector<Candidate> candidates;
  for (const std::string& service : services) {
    if (auto client = node.CreateClient(service, qos, false)) {
      candidates.push_back({service, std::move(client)});
    }
  }
  return candidates;
}

}  // namespace

std::optional<std::string> find_occupied(ovimux::Node& node, const std::vector<std::string>& services,
                                         std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  const auto candidates = open_clients(node, services);
  do {
    for (const Candidate& candidate : candidates) {
      if (candidate.client->GetMatchedServerCount() > 0) {
        return candidate.service;
      }
    }
    std::this_thread::sleep_for(kLook);
  } while (Clock::now() < deadline);
  return std::nullopt;
}

}  // namespace norvik::simulator
