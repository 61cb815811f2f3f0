#pragma once

#include <memory>
#include <string>

#include "environment.hpp"

namespace norvik::simulator {

// Lets the planned faults happen to what goes out on a topic. Used by one thread.
class PublisherCore {
 public:
  PublisherCore(Environment& environment, std::string topic, const ovimux::Qos& qos);

  // True when the regular message is to go out.
  bool pass();

 private:
  Environment& environment_;
  const std::string topic_;
  const ovimux::Qos qos_;
  std::shared_ptr<ovimux::RawWriter> garbage_writer_;  // Made when it is needed first.
};

template <typename T>
class Publisher {
 public:
  Publisher(Environment& environment, const std::string& topic, const ovimux::Qos& qos = {})
      : core_(environment, topic, qos), writer_(environment.node.CreateWriter<T>(topic, qos)) {}

  void publish(const std::shared_ptr<T>& message) {
    if (core_.pass() && writer_) {
      writer_->Publish(message);
    }
  }

 private:
  PublisherCore core_;
  std::shared_ptr<ovimux::SerializationWriter<T>> writer_;
};

}  // namespace norvik::simulator
