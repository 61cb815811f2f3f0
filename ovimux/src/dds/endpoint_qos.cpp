#include "dds/endpoint_qos.hpp"

namespace norvik::ovimux {
namespace {

using namespace eprosima::fastdds::dds;  // NOLINT(google-build-using-namespace)

constexpr uint32_t kNanosecondsPerMillisecond = 1000000;

// What writers and readers have in common.
template <typename EndpointQos>
void apply_policy(const EndpointPolicy& policy, EndpointQos& qos) {
  qos.reliability().kind = RELIABLE_RELIABILITY_QOS;
  qos.durability().kind = policy.latched ? TRANSIENT_LOCAL_DURABILITY_QOS : VOLATILE_DURABILITY_QOS;
  qos.history().kind = KEEP_LAST_HISTORY_QOS;
  qos.history().depth = policy.depth;
  qos.resource_limits().max_instances = 1;
  qos.resource_limits().max_samples = policy.depth;
  qos.resource_limits().max_samples_per_instance = policy.depth;
  qos.resource_limits().allocated_samples = 0;
  // Slots take what a sample needs and keep it for the next one, instead of reserving the maximum.
  qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::DYNAMIC_REUSABLE_MEMORY_MODE;
  // Data sharing loses samples of a full history and pins the history in /dev/shm.
  qos.data_sharing().off();
}

}  // namespace

DataWriterQos make_writer_qos(const EndpointPolicy& policy) {
  DataWriterQos qos;
  apply_policy(policy, qos);
  qos.publish_mode().kind = SYNCHRONOUS_PUBLISH_MODE;
  // The defaults, seconds and milliseconds, would be paid on every repair of a large sample.
  qos.reliable_writer_qos().times.heartbeatPeriod = {0, 100 * kNanosecondsPerMillisecond};
  qos.reliable_writer_qos().times.nackResponseDelay = {0, 0};
  return qos;
}

DataReaderQos make_reader_qos(const EndpointPolicy& policy) {
  DataReaderQos qos;
  apply_policy(policy, qos);
  qos.reliable_reader_qos().times.heartbeatResponseDelay = {0, 0};
  qos.reliable_reader_qos().times.initialAcknackDelay = {0, 5 * kNanosecondsPerMillisecond};
  return qos;
}

StatusMask writer_status_mask() { return StatusMask::publication_matched() << StatusMask::offered_incompatible_qos(); }

StatusMask reader_status_mask() {
  return StatusMask::data_available() << StatusMask::subscription_matched() << StatusMask::sample_lost()
                                      << StatusMask::requested_incompatible_qos();
}

const char* policy_name(uint32_t policy_id) {
  switch (policy_id) {
    case DURABILITY_QOS_POLICY_ID:
      return "durability";
    case RELIABILITY_QOS_POLICY_ID:
      return "reliability";
    case HISTORY_QOS_POLICY_ID:
      return "history";
    case DATAREPRESENTATION_QOS_POLICY_ID:
      return "data representation";
    case TYPECONSISTENCYENFORCEMENT_QOS_POLICY_ID:
      return "type consistency";
    default:
      return "other";
  }
}

}  // namespace norvik::ovimux
