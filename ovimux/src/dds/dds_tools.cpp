#include "ovimux/dds/dds_tools.hpp"

#include <algorithm>

namespace norvik::ovimux {
namespace {

constexpr int kSmallDepth = 100;
constexpr int kLargeDepth = 8;
constexpr int kLatchedDepth = 1;
constexpr int kDeepest = 1000;

// Samples kept of what is not latched. The memory of a history grows with what is in it, up to depth times the size of
// a message.
int stream_depth(const Qos& qos) {
  if (qos.opaque_26 > 0) {
    return std::min(qos.opaque_26, kDeepest);
  }
  return qos.payload_kind == kLargePayloadKind ? kLargeDepth : kSmallDepth;
}

}  // namespace

DDSTools* DDSTools::Instance(bool /*create*/) {
  static auto* const instance = new DDSTools;
  return instance;
}

void DDSTools::TransformQos(const RpcQos& rpc_qos, Qos& request, Qos& response) const {
  request = Qos{};
  request.core_kind = rpc_qos.core_kind;
  request.payload_kind = rpc_qos.payload_kind;
  response = request;
}

EndpointPolicy DDSTools::PolicyOf(const Qos& qos) {
  EndpointPolicy policy;
  policy.large = qos.payload_kind == kLargePayloadKind;
  policy.latched = qos.opaque_3 != 0 || qos.opaque_6 != 0;
  policy.depth = policy.latched ? kLatchedDepth : stream_depth(qos);
  return policy;
}

}  // namespace norvik::ovimux
