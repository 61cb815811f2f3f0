#include "ovimux/dds/dds_tools.hpp"

namespace norvik::ovimux {
namespace {

constexpr int kSmallDepth = 100;
constexpr int kLargeDepth = 8;
constexpr int kLatchedDepth = 1;

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
  policy.depth = policy.latched ? kLatchedDepth : (policy.large ? kLargeDepth : kSmallDepth);
  return policy;
}

}  // namespace norvik::ovimux
