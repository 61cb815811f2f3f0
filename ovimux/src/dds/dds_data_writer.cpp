#include "ovimux/dds/dds_data_writer.hpp"

#include <algorithm>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include "dds/dds_thread.hpp"
#include "dds/endpoint_qos.hpp"
#include "dds/entity_state.hpp"
#include "dds/token.hpp"
#include "ovimux/core/global_data.hpp"

namespace norvik::ovimux {
namespace {

// Counts the readers, and reports those that ask for more than the writer offers.
class WriterListener : public eprosima::fastdds::dds::DataWriterListener, public EntityState {
 public:
  WriterListener(std::string topic, std::shared_ptr<std::atomic<unsigned>> readers)
      : topic_(std::move(topic)), readers_(std::move(readers)) {}

  void on_publication_matched(eprosima::fastdds::dds::DataWriter* /*writer*/,
                              const eprosima::fastdds::dds::PublicationMatchedStatus& status) override {
    const DdsThreadScope dds_thread;
    *readers_ = static_cast<unsigned>(std::max(0, status.current_count));
  }

  void on_entity_gone() override { *readers_ = 0; }

  void on_offered_incompatible_qos(eprosima::fastdds::dds::DataWriter* /*writer*/,
                                   const eprosima::fastdds::dds::OfferedIncompatibleQosStatus& status) override {
    const DdsThreadScope dds_thread;
    if (status.total_count == status.total_count_change) {  // The first time only.
      OVIMUX_LOG(kWarning) << "a reader requests more than this writer offers and stays unmatched, policy: "
                           << policy_name(status.last_policy_id) << ", topic: " << topic_;
    }
  }

 private:
  const std::string topic_;
  const std::shared_ptr<std::atomic<unsigned>> readers_;
};

}  // namespace

DDSDataWriterBase::DDSDataWriterBase(const std::string& topic, const Qos& qos)
    : factory_(DDSNodeFactory::Instance(true)),
      writer_(factory_->CreateWriter(topic, std::make_shared<WriterListener>(topic, matched_readers_), qos)),
      token_(draw_token()),
      tid_(GlobalData::ThreadId()) {}

DDSDataWriterBase::~DDSDataWriterBase() { factory_->DeleteWriter(writer_, true); }

}  // namespace norvik::ovimux
