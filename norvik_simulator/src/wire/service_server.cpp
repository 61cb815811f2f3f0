#include "wire/service_server.hpp"

namespace norvik::simulator {

ServiceServerCore::ServiceServerCore(const std::string& service, const ovimux::RpcQos& qos, Environment& environment,
                                     Handlers handlers, const std::string& request_type)
    : service_(service),
      environment_(environment),
      handlers_(std::move(handlers)),
      server_(
          service, qos,
          [this](const ovimux::RequestContext& context, const std::vector<uint8_t>& request) {
            handle(context, request);
          },
          request_type) {}

void ServiceServerCore::handle(const ovimux::RequestContext& context, const Bytes& request) {
  environment_.faults.count(service_);
  const PlannedReplyFault planned = environment_.faults.take_reply_fault(service_);
  if (planned.fault == ReplyFault::kReject) {
    server_.Reply(context, handlers_.reject(request));
    return;
  }
  // The other faults befall the answer only: the robot has carried the request out.
  const std::string response = handlers_.answer(request);
  switch (planned.fault) {
    case ReplyFault::kLose:
      break;
    case ReplyFault::kDelay:
      environment_.delays.run_after(planned.delay, [this, context, response] { server_.Reply(context, response); });
      break;
    case ReplyFault::kDuplicate:
      server_.Reply(context, response);
      server_.Reply(context, response);
      break;
    case ReplyFault::kWrongId:
      server_.Reply(context, handlers_.mislabel ? handlers_.mislabel(response) : response);
      break;
    default:
      server_.Reply(context, damaged_reply(response, planned.fault));
      break;
  }
}

}  // namespace norvik::simulator
