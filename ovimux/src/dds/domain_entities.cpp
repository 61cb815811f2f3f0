#include "dds/domain_entities.hpp"

#include "core/exit_handler.hpp"
#include "dds/dds_statics.hpp"
#include "dds/endpoint_qos.hpp"
#include "dds/envelope/envelope_type.hpp"
#include "dds/participant.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/log.hpp"

namespace norvik::ovimux {

bool DomainEntities::open() {
  if (participant_ != nullptr) {
    return true;
  }
  const bool first = factory_ == nullptr;
  if (first) {
    factory_ = dds::DomainParticipantFactory::get_shared_instance();
    make_dds_statics();
    register_exit_handler();
  }
  participant_ = create_participant(*factory_);
  if (participant_ == nullptr) {
    return false;
  }
  for (const bool large : {false, true}) {
    dds::TypeSupport(new EnvelopeType(large)).register_type(participant_);
  }
  publisher_ = participant_->create_publisher(dds::PUBLISHER_QOS_DEFAULT);
  subscriber_ = participant_->create_subscriber(dds::SUBSCRIBER_QOS_DEFAULT);
  if (publisher_ == nullptr || subscriber_ == nullptr) {
    close();
    return false;
  }
  if (first) {
    warm_up();
    register_exit_handler();  // Now that Fast DDS has made its own statics, so that it closes before they are gone.
  }
  return true;
}

// Makes one writer and one reader, so that the statics which Fast DDS makes with its first endpoints exist before the
// exit handler is registered and are destroyed after it has run. The two stay until the end: an endpoint that goes
// while a peer is being discovered leaves a gap in what the peer is told, and a gap is only closed with the next
// heartbeat of discovery, up to a second later. Until then the peer would not see the endpoints that came after it.
void DomainEntities::warm_up() {
  const EndpointPolicy policy = DDSTools::PolicyOf(Qos{});
  const std::string name = "ovimux/warm_up/" + std::to_string(GlobalData::Instance()->process_id());
  make_writer(name, nullptr, policy);
  make_reader(name, nullptr, policy);
}

void DomainEntities::close() {
  if (participant_ == nullptr) {
    return;
  }
  participant_->delete_contained_entities();
  factory_->delete_participant(participant_);
  participant_ = nullptr;
  topics_.clear();
}

dds::Topic* DomainEntities::acquire_topic(const std::string& name, bool large) {
  const std::string type_name = EnvelopeType(large).getName();
  auto& use = topics_[name];
  if (use.topic == nullptr) {
    use.topic = participant_->create_topic(name, type_name, dds::TOPIC_QOS_DEFAULT);
  }
  if (use.topic == nullptr || use.topic->get_type_name() != type_name) {
    OVIMUX_LOG(kError) << "DDS topic could not be created, topic: " << name << ", type: " << type_name
                       << (use.topic != nullptr ? ": this process uses it with the other envelope" : "");
    if (use.users == 0) {
      topics_.erase(name);
    }
    return nullptr;
  }
  ++use.users;
  return use.topic;
}

void DomainEntities::release_topic(const std::string& name) {
  const auto it = topics_.find(name);
  if (it != topics_.end() && --it->second.users == 0) {
    participant_->delete_topic(it->second.topic);
    topics_.erase(it);
  }
}

dds::DataWriter* DomainEntities::make_writer(const std::string& topic, dds::DataWriterListener* listener,
                                             const EndpointPolicy& policy) {
  auto* const dds_topic = acquire_topic(topic, policy.large);
  if (dds_topic == nullptr) {
    return nullptr;
  }
  auto* const writer =
      publisher_->create_datawriter(dds_topic, make_writer_qos(policy), listener, writer_status_mask());
  if (writer == nullptr) {
    OVIMUX_LOG(kError) << "DDS writer could not be created, topic: " << topic;
    release_topic(topic);
  }
  return writer;
}

dds::DataReader* DomainEntities::make_reader(const std::string& topic, dds::DataReaderListener* listener,
                                             const EndpointPolicy& policy) {
  auto* const dds_topic = acquire_topic(topic, policy.large);
  if (dds_topic == nullptr) {
    return nullptr;
  }
  auto* const reader =
      subscriber_->create_datareader(dds_topic, make_reader_qos(policy), listener, reader_status_mask());
  if (reader == nullptr) {
    OVIMUX_LOG(kError) << "DDS reader could not be created, topic: " << topic;
    release_topic(topic);
  }
  return reader;
}

void DomainEntities::remove(dds::DataWriter& writer) {
  const std::string topic = writer.get_topic()->get_name();
  writer.set_listener(nullptr);
  publisher_->delete_datawriter(&writer);
  release_topic(topic);
}

void DomainEntities::remove(dds::DataReader& reader) {
  const std::string topic = reader.get_topicdescription()->get_name();
  reader.set_listener(nullptr);
  subscriber_->delete_datareader(&reader);
  release_topic(topic);
}

}  // namespace norvik::ovimux
