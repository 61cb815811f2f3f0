#include "dds/participant.hpp"

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include "dds/raw_type.hpp"
#include "ovimux/dds/bare_dds.hpp"

namespace norvik::tools {
namespace {

namespace dds = eprosima::fastdds::dds;
using eprosima::fastrtps::types::ReturnCode_t;

constexpr int kDepth = 100;
constexpr int kLargeDepth = 8;
constexpr uint32_t kNanosecondsPerMillisecond = 1000000;

// Asks for no more than every writer offers, so that all of them match.
dds::DataReaderQos reader_qos(const ListenTarget& target, bool history) {
  dds::DataReaderQos qos;
  const bool latched = history && target.is_latched && target.is_reliable;
  qos.reliability().kind = target.is_reliable ? dds::RELIABLE_RELIABILITY_QOS : dds::BEST_EFFORT_RELIABILITY_QOS;
  qos.durability().kind = latched ? dds::TRANSIENT_LOCAL_DURABILITY_QOS : dds::VOLATILE_DURABILITY_QOS;
  qos.ownership().kind = target.is_exclusive ? dds::EXCLUSIVE_OWNERSHIP_QOS : dds::SHARED_OWNERSHIP_QOS;
  for (const int16_t representation : target.representations) {
    qos.type_consistency().representation.m_value.push_back(static_cast<dds::DataRepresentationId>(representation));
  }
  qos.history().kind = dds::KEEP_LAST_HISTORY_QOS;
  qos.history().depth = target.dds_type == ovimux::kLargeEnvelopeName ? kLargeDepth : kDepth;
  qos.resource_limits().max_instances = 1;
  qos.resource_limits().max_samples = qos.history().depth;
  qos.resource_limits().max_samples_per_instance = qos.history().depth;
  qos.resource_limits().allocated_samples = 0;
  qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::DYNAMIC_REUSABLE_MEMORY_MODE;
  qos.data_sharing().off();
  qos.reliable_reader_qos().times.heartbeatResponseDelay = {0, 0};
  qos.reliable_reader_qos().times.initialAcknackDelay = {0, 5 * kNanosecondsPerMillisecond};
  return qos;
}

dds::SubscriberQos subscriber_qos(const ListenTarget& target) {
  dds::SubscriberQos qos;
  for (const std::string& name : target.partitions) {
    qos.partition().push_back(name.c_str());
  }
  return qos;
}

}  // namespace

// Discovery must not begin before its listener is there.
Participant::Participant() : factory_(dds::DomainParticipantFactory::get_shared_instance()) {
  dds::DomainParticipantFactoryQos qos;
  qos.entity_factory().autoenable_created_entities = false;
  factory_->set_qos(qos);
  participant_ = ovimux::CreateBareParticipant(*factory_);
  if (participant_ != nullptr) {
    name_ = participant_->get_qos().name().to_string();
    participant_->set_listener(&discovery_, dds::StatusMask::none());
    participant_->enable();
  }
}

Participant::~Participant() {
  if (participant_ != nullptr) {
    participant_->delete_contained_entities();
    factory_->delete_participant(participant_);
  }
}

dds::DataReader* Participant::create_reader(const ListenTarget& target, bool history,
                                            dds::DataReaderListener& listener) {
  dds::Topic* topic = participant_ != nullptr ? acquire_topic(target) : nullptr;
  if (topic == nullptr) {
    return nullptr;
  }
  dds::Subscriber* subscriber = participant_->create_subscriber(subscriber_qos(target));
  dds::DataReader* reader =
      subscriber != nullptr ? subscriber->create_datareader(topic, reader_qos(target, history), &listener) : nullptr;
  if (reader == nullptr) {
    participant_->delete_subscriber(subscriber);
    release_topic(target.topic);
  }
  return reader;
}

void Participant::delete_reader(dds::DataReader* reader) {
  const std::string topic = reader->get_topicdescription()->get_name();
  const auto* subscriber = reader->get_subscriber();
  reader->set_listener(nullptr);
  const_cast<dds::Subscriber*>(subscriber)->delete_datareader(reader);
  participant_->delete_subscriber(subscriber);
  release_topic(topic);
}

// Null for a topic that is being read with another type.
dds::Topic* Participant::acquire_topic(const ListenTarget& target) {
  TopicUse& use = topics_[target.topic];
  if (use.users == 0) {
    if (participant_->find_type(target.dds_type).empty()) {
      dds::TypeSupport(new RawType(target.dds_type, target.is_keyed)).register_type(participant_);
    }
    use.topic = participant_->create_topic(target.topic, target.dds_type, dds::TOPIC_QOS_DEFAULT);
  }
  if (use.topic == nullptr || use.topic->get_type_name() != target.dds_type) {
    return nullptr;
  }
  ++use.users;
  return use.topic;
}

void Participant::release_topic(const std::string& name) {
  const auto it = topics_.find(name);
  if (--it->second.users == 0) {
    participant_->delete_topic(it->second.topic);
    topics_.erase(it);
  }
}

}  // namespace norvik::tools
