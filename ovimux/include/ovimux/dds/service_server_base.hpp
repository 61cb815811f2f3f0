#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ovimux/core/manager.hpp"
#include "ovimux/dds/sample_identity.hpp"
#include "ovimux/export.hpp"
#include "ovimux/qos.hpp"

namespace norvik::ovimux {

// What an answer needs to know of its request.
struct RequestContext {
  SampleIdentity request;
  uint32_t rpc_seq = 0;
};

// The answering side of a service, on bytes. The handler runs on the worker pool, one request at a time; answers may be
// sent from there or later, from any thread, any number of times. Announced to the topology as a server of messages of
// `request_type`.
class OVIMUX_EXPORT ServiceServerBase {
 public:
  using Handler = std::function<void(const RequestContext&, const std::vector<uint8_t>& request)>;

  ServiceServerBase(const std::string& service, const RpcQos& rpc_qos, Handler handler,
                    const std::string& request_type = "raw");
  ~ServiceServerBase();
  ServiceServerBase(const ServiceServerBase&) = delete;
  ServiceServerBase& operator=(const ServiceServerBase&) = delete;

  bool is_open() const;

  // Sends `response` to the client that made the request. A request may arrive before the client's reader is
  // discovered; an answer written then would be lost, so this blocks for it, at most one second.
  bool Reply(const RequestContext& context, const std::string& response);

 private:
  class RequestListener;
  class ResponseWriter;

  std::shared_ptr<RequestListener> listener_;
  std::unique_ptr<ResponseWriter> writer_;
  Membership membership_;
};

}  // namespace norvik::ovimux
