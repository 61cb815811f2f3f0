#include "publisher.hpp"

namespace norvik::simulator {

PublisherCore::PublisherCore(Environment& environment, std::string topic, const ovimux::Qos& qos)
    : environment_(environment), topic_(std::move(topic)), qos_(qos) {}

bool PublisherCore::pass() {
  const TopicFault fault = environment_.faults.topic_fault(topic_);
  if (fault == TopicFault::kMalformed) {
    if (!garbage_writer_) {
      garbage_writer_ = environment_.node.CreateWriter(topic_, qos_, false);
    }
    if (garbage_writer_) {
      // A field of a type that does not exist, and a length far behind the end.
      garbage_writer_->Publish(std::string("\x0f\xff\xff\xff\xff\x7fgarbage"));
    }
  }
  return fault == TopicFault::kNone;
}

}  // namespace norvik::simulator
