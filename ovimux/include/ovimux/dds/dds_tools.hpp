#pragma once

#include "ovimux/export.hpp"
#include "ovimux/qos.hpp"

namespace norvik::ovimux {

// The DDS quality of an endpoint, as far as it depends on its Qos. Everything is reliable and keep-last.
struct EndpointPolicy {
  bool large = false;    // The 10 MB envelope.
  bool latched = false;  // Transient-local: a late joiner gets the last sample.
  int depth = 0;         // Samples kept.
};

class OVIMUX_EXPORT DDSTools {
 public:
  static DDSTools* Instance(bool create = true);

  // Derives the Qos of the two channels of a client or server.
  void TransformQos(const RpcQos& rpc_qos, Qos& request, Qos& response) const;

  static EndpointPolicy PolicyOf(const Qos& qos);
};

}  // namespace norvik::ovimux
