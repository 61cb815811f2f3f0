#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "norvik/kelvorn_proto/pns_interface.pb.h"
#include "ovimux/base/client_base.hpp"

namespace norvik::sdk {

// What came of a request that is sent again while the service refuses it.
struct RequestOutcome {
  enum Kind {
    kAccepted,
    kRefused,    // a reply came, and none said SUCCESS
    kUnanswered  // none came to the first attempt
  };
  Kind kind = kUnanswered;
  std::string message;    // of the last reply
  bool repeated = false;  // sent more than once
};

// How often, and for how long each time.
struct RequestLimits {
  std::chrono::seconds wait;
  int repetitions;
};

// Sends, and sends again at once while the service does not say SUCCESS. Without an answer to the first attempt it is
// not repeated; without one to a repetition it is.
template <typename Request>
RequestOutcome send_repeatedly(
    const std::shared_ptr<ovimux::SerializationClient<Request, kelvorn_proto::NavigationResponse>>& client,
    const std::shared_ptr<const Request>& request, const RequestLimits& limits) {
  const auto is_success = [](const auto& reply) {
    return reply && reply->status() == kelvorn_proto::NavigationResponse::SUCCESS;
  };
  RequestOutcome outcome;
  auto reply = client ? client->SendRequest(request, limits.wait) : nullptr;
  if (!reply) {
    return outcome;
  }
  outcome.message = reply->msg();
  for (int i = 0; i < limits.repetitions && !is_success(reply); ++i) {
    outcome.repeated = true;
    reply = client->SendRequest(request, limits.wait);
    if (reply) {
      outcome.message = reply->msg();
    }
  }
  outcome.kind = is_success(reply) ? RequestOutcome::kAccepted : RequestOutcome::kRefused;
  return outcome;
}

}  // namespace norvik::sdk
