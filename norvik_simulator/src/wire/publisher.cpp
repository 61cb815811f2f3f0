#include "wire/publisher.hpp"

namespace norvik::simulator {

PublisherCore::PublisherCore(Environment& environment, std::string topic, const ovimux::Qos& qos)
    : environment_(environment), topic_(std::move(topic)), qos_(qos) {}

void PublisherCore::send(const PlannedTopicFault& fault, std::function<void()> publish) {
  switch (fault.fault) {
    case TopicFault::kSilent:
    case TopicFault::kDrop:
      break;
    case TopicFault::kMalformed:
      send_garbage(*fault.payload);
      break;
    case TopicFault::kDuplicate:
      publish();
      publish();
      break;
    case TopicFault::kDelay:
      environment_.delays.run_after(fault.delay, std::move(publish));
      break;
    default:
      publish();
      break;
  }
}

void PublisherCore::send_garbage(const std::string& payload) {
  if (!garbage_writer_) {
    garbage_writer_ = environment_.node.CreateWriter(topic_, qos_, false);
  }
  if (garbage_writer_) {
    garbage_writer_->Publish(payload);
  }
}

void TextPublisher::publish(const std::string& text) {
  if (!writer_) {
    return;
  }
  const PlannedTopicFault fault = core_.take_fault();
  std::string sent = fault.fault == TopicFault::kCorrupt     ? corrupt(text)
                     : fault.fault == TopicFault::kWrongSize ? retype(text)
                                                             : text;
  core_.send(fault, [writer = writer_, sent = std::move(sent)] { writer->Publish(sent); });
}

}  // namespace norvik::simulator
