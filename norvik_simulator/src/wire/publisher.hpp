#pragma once

#include <functional>
#include <memory>
#include <string>

#include "wire/damage.hpp"
#include "wire/environment.hpp"

namespace norvik::simulator {

// Lets the planned faults happen to what goes out on a topic. Used by one thread.
class PublisherCore {
 public:
  PublisherCore(Environment& environment, std::string topic, const ovimux::Qos& qos);

  PlannedTopicFault take_fault() { return environment_.faults.take_topic_fault(topic_); }
  // Calls `publish`, now, later, or never.
  void send(const PlannedTopicFault& fault, std::function<void()> publish);

 private:
  void send_garbage(const std::string& payload);

  Environment& environment_;
  const std::string topic_;
  const ovimux::Qos qos_;
  std::shared_ptr<ovimux::RawWriter> garbage_writer_;  // Made when it is needed first.
};

// Readers that a writer of the node has now.
template <typename Writer>
bool has_matched_readers(const Writer& writer) {
  const auto* dds = dynamic_cast<const ovimux::DDSDataWriterBase*>(writer.get());
  return dds != nullptr && dds->matched_reader_count() > 0;
}

template <typename T>
class Publisher {
 public:
  Publisher(Environment& environment, const std::string& topic, const ovimux::Qos& qos = {})
      : core_(environment, topic, qos), writer_(environment.node.CreateWriter<T>(topic, qos)) {}

  bool has_readers() const { return has_matched_readers(writer_); }

  void publish(const std::shared_ptr<T>& message) {
    if (!writer_) {
      return;
    }
    const PlannedTopicFault fault = core_.take_fault();
    core_.send(fault, [writer = writer_, sent = damaged(message, fault.fault)] { writer->Publish(sent); });
  }

 private:
  static std::shared_ptr<T> damaged(const std::shared_ptr<T>& message, TopicFault fault) {
    if (!spoils_content(fault)) {
      return message;
    }
    auto copy = std::make_shared<T>(*message);
    spoil(*copy, fault);
    return copy;
  }

  PublisherCore core_;
  std::shared_ptr<ovimux::SerializationWriter<T>> writer_;
};

// For topics that carry JSON text.
class TextPublisher {
 public:
  TextPublisher(Environment& environment, const std::string& topic, const ovimux::Qos& qos = {})
      : core_(environment, topic, qos), writer_(environment.node.CreateWriter(topic, qos, true)) {}

  bool has_readers() const { return has_matched_readers(writer_); }
  void publish(const std::string& text);

 private:
  PublisherCore core_;
  std::shared_ptr<ovimux::RawWriter> writer_;
};

}  // namespace norvik::simulator
