#include "ovimux/dds/dds_data_writer.hpp"

#include <algorithm>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include "dds/dds_thread.hpp"
#include "dds/endpoint_qos.hpp"
#include "dds/token.hpp"
#include "ovimux/core/global_data.hpp"

namespace norvik::ovimux {
namespace {

// Reports readers that ask for more than the writer offers; nothing else interests a plain writer.
class WriterListener : public eprosima::fastdds::dds::DataWriterListener {
 public:
  explicit WriterListener(std::string topic) : topic_(std::move(topic)) {}

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
};

}  // namespace

DDSDataWriterBase::DDSDataWriterBase(const std::string& topic, const Qos& qos)
    : factory_(DDSNodeFactory::Instance(true)),
      writer_(factory_->CreateWriter(topic, std::make_shared<WriterListener>(topic), qos)),
      token_(draw_token()),
      tid_(GlobalData::ThreadId()) {}

unsigned DDSDataWriterBase::matched_reader_count() const {
  eprosima::fastdds::dds::PublicationMatchedStatus status;
  factory_->UseWriter(writer_, [&status](DataWriter& writer) { writer.get_publication_matched_status(status); });
  return static_cast<unsigned>(std::max(0, status.current_count));
}

DDSDataWriterBase::~DDSDataWriterBase() { factory_->DeleteWriter(writer_, true); }

}  // namespace norvik::ovimux
