#include "core/topology_peers.hpp"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include "dds/dds_thread.hpp"
#include "dds/entity_state.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::ovimux {

using eprosima::fastdds::dds::SampleInfo;
using eprosima::fastrtps::rtps::InstanceHandle_t;
using eprosima::fastrtps::types::ReturnCode_t;

// Announcements are rare, so they are parsed on the DDS thread. A process is known by its writer; when the writer is
// unmatched, because the process ended or its lease ran out, its announcement goes.
class TopologyPeers::Listener : public eprosima::fastdds::dds::DataReaderListener, public EntityState {
 public:
  void on_data_available(eprosima::fastdds::dds::DataReader* reader) override {
    const DdsThreadScope dds_thread;
    Envelope envelope;
    SampleInfo info;
    while (reader->take_next_sample(&envelope, &info) == ReturnCode_t::RETCODE_OK) {
      auto state = std::make_shared<proto::TopologyState>();
      if (info.valid_data && envelope.pkg_len >= 0 &&
          state->ParseFromArray(envelope.raw_data.data(), static_cast<int>(envelope.raw_data.size()))) {
        const std::lock_guard<std::mutex> lock(mutex_);
        states_[info.publication_handle] = std::move(state);
      }
    }
  }

  void on_subscription_matched(eprosima::fastdds::dds::DataReader* /*reader*/,
                               const eprosima::fastdds::dds::SubscriptionMatchedStatus& status) override {
    const DdsThreadScope dds_thread;
    if (status.current_count_change < 0) {
      const std::lock_guard<std::mutex> lock(mutex_);
      states_.erase(status.last_publication_handle);
    }
  }

  void on_entity_gone() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    states_.clear();
  }

  std::vector<std::shared_ptr<const proto::TopologyState>> snapshot() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::shared_ptr<const proto::TopologyState>> result;
    for (const auto& [writer, state] : states_) {
      result.push_back(state);
    }
    return result;
  }

 private:
  mutable std::mutex mutex_;
  std::map<InstanceHandle_t, std::shared_ptr<const proto::TopologyState>> states_;
};

TopologyPeers::TopologyPeers(const Qos& qos)
    : listener_(std::make_shared<Listener>()),
      reader_(DDSNodeFactory::Instance()->CreateReader(kTopologyTopic, listener_, qos, nullptr)) {}

TopologyPeers::~TopologyPeers() { DDSNodeFactory::Instance()->DeleteReader(reader_, true); }

std::vector<std::shared_ptr<const proto::TopologyState>> TopologyPeers::snapshot() const {
  return listener_->snapshot();
}

}  // namespace norvik::ovimux
