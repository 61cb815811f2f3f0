#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "wire/damage.hpp"
#include "wire/environment.hpp"

namespace norvik::simulator {

// Answers requests on bytes, and lets the planned faults happen to the answers.
class ServiceServerCore {
 public:
  using Bytes = std::vector<uint8_t>;
  struct Handlers {
    std::function<std::string(const Bytes&)> answer;
    std::function<std::string(const Bytes&)> reject;
    // Makes an answer that of another task; none where answers do not name theirs.
    std::function<std::string(const std::string&)> mislabel{};
  };

  ServiceServerCore(const std::string& service, const ovimux::RpcQos& qos, Environment& environment, Handlers handlers,
                    const std::string& request_type = "raw");

 private:
  void handle(const ovimux::RequestContext& context, const Bytes& request);

  const std::string service_;
  Environment& environment_;
  const Handlers handlers_;
  ovimux::ServiceServerBase server_;  // Last: requests arrive as soon as it exists.
};

// A service on bytes.
using RawServiceServer = ServiceServerCore;

// A service with typed messages. `handle` makes the answer to a request; `refuse` makes the one that says that a
// request was not carried out, and why.
template <typename Req, typename Resp>
class ServiceServer {
 public:
  using Handle = std::function<Resp(const Req&)>;
  using Refuse = std::function<Resp(const Req&, const std::string& reason)>;

  ServiceServer(const std::string& service, const ovimux::RpcQos& qos, Environment& environment, Handle handle,
                Refuse refuse)
      : core_(service, qos, environment, {make_answer(std::move(handle), refuse), make_rejection(refuse), mislabelled},
              ovimux::PayloadCodec<Req>::type_name()) {}

 private:
  static bool parse(const ServiceServerCore::Bytes& bytes, Req& request) {
    return request.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
  }

  static auto make_answer(Handle handle, Refuse refuse) {
    return [handle = std::move(handle), refuse = std::move(refuse)](const ServiceServerCore::Bytes& bytes) {
      Req request;
      const Resp response = parse(bytes, request) ? handle(request) : refuse(request, "malformed request");
      return response.SerializeAsString();
    };
  }

  static std::string mislabelled(const std::string& bytes) {
    Resp response;
    response.ParseFromString(bytes);
    mislabel_task(response);
    return response.SerializeAsString();
  }

  static auto make_rejection(Refuse refuse) {
    return [refuse = std::move(refuse)](const ServiceServerCore::Bytes& bytes) {
      Req request;
      parse(bytes, request);
      return refuse(request, "rejected by an injected fault").SerializeAsString();
    };
  }

  ServiceServerCore core_;
};

}  // namespace norvik::simulator
