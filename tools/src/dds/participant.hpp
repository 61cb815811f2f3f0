#pragma once

#include <map>
#include <memory>
#include <string>

#include "dds/discovery.hpp"
#include "dds/listen_target.hpp"

namespace eprosima::fastdds::dds {
class DataReader;
class DataReaderListener;
class DomainParticipantFactory;
class Subscriber;
class Topic;
}  // namespace eprosima::fastdds::dds

namespace norvik::tools {

// The DDS participant of the tool, with the settings that programs of this library have. It reads and never writes.
// Used by one thread.
class Participant {
 public:
  Participant();
  ~Participant();
  Participant(const Participant&) = delete;
  Participant& operator=(const Participant&) = delete;

  // Whether DDS could be started; if not, nothing is ever found.
  bool is_open() const { return participant_ != nullptr; }
  const Discovery& discovery() const { return discovery_; }

  // The name that every run of the tool goes by.
  const std::string& name() const { return name_; }

  // A reader that the writers of `target` match, with RawSample samples. `history`: a latched topic's last sample is
  // wanted too. Null when DDS refuses.
  eprosima::fastdds::dds::DataReader* create_reader(const ListenTarget& target, bool history,
                                                    eprosima::fastdds::dds::DataReaderListener& listener);
  // Waits for a running call of the listener.
  void delete_reader(eprosima::fastdds::dds::DataReader* reader);

 private:
  struct TopicUse {
    eprosima::fastdds::dds::Topic* topic = nullptr;
    int users = 0;
  };
  eprosima::fastdds::dds::Topic* acquire_topic(const ListenTarget& target);
  void release_topic(const std::string& name);

  Discovery discovery_;
  std::shared_ptr<eprosima::fastdds::dds::DomainParticipantFactory> factory_;
  eprosima::fastdds::dds::DomainParticipant* participant_ = nullptr;
  std::string name_;
  std::map<std::string, TopicUse> topics_;
};

}  // namespace norvik::tools
