#pragma once

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include <memory>
#include <string>
#include <unordered_map>

#include "ovimux/dds/dds_tools.hpp"

namespace norvik::ovimux {

namespace dds = eprosima::fastdds::dds;

// The participant and what hangs on it. For one thread at a time: in this version of Fast DDS a reader that is created
// while a writer is deleted, or the reverse, ends in a segmentation fault.
class DomainEntities {
 public:
  // Makes the participant unless it is there. False when DDS refuses.
  bool open();
  bool is_open() const { return participant_ != nullptr; }
  // Deletes everything. Waits for the calls of listeners.
  void close();

  // Null, with one log record, when DDS refuses.
  dds::DataWriter* make_writer(const std::string& topic, dds::DataWriterListener* listener,
                               const EndpointPolicy& policy);
  dds::DataReader* make_reader(const std::string& topic, dds::DataReaderListener* listener,
                               const EndpointPolicy& policy);
  // Wait for a running call of the listener.
  void remove(dds::DataWriter& writer);
  void remove(dds::DataReader& reader);

 private:
  struct TopicUse {
    dds::Topic* topic = nullptr;
    int users = 0;
  };

  void warm_up();
  dds::Topic* acquire_topic(const std::string& name, bool large);
  void release_topic(const std::string& name);

  // Held for the life of the process, so that the DDS library's own singleton outlives every user of it.
  std::shared_ptr<dds::DomainParticipantFactory> factory_;
  dds::DomainParticipant* participant_ = nullptr;
  dds::Publisher* publisher_ = nullptr;
  dds::Subscriber* subscriber_ = nullptr;
  std::unordered_map<std::string, TopicUse> topics_;
};

}  // namespace norvik::ovimux
