#include "dds/transport/shared_memory_transport.hpp"

#include <algorithm>
#include <utility>

#include "dds/transport/shared_memory_files.hpp"
#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

using namespace eprosima::fastdds::rtps;  // NOLINT(google-build-using-namespace)
using eprosima::fastrtps::rtps::Locator_t;
using eprosima::fastrtps::rtps::PropertyPolicy;
using eprosima::fastrtps::rtps::SenderResource;

// A look costs about a microsecond a port.
constexpr std::chrono::milliseconds kLookPeriod{100};
// Far longer than messages lie in a queue that somebody reads. It also keeps a peer that comes and goes without end
// from making more than a segment a second.
constexpr std::chrono::seconds kRetirement{1};

// Receiving takes no segment, but the smallest one that Fast DDS accepts comes with it.
class ReceivingHalf : public ChainingTransportDescriptor {
 public:
  explicit ReceivingHalf(const SharedMemTransportDescriptor& whole) : ChainingTransportDescriptor(smallest(whole)) {}
  // The base class makes the transport itself, from the descriptor that it was given.
  TransportInterface* create_transport() const override { return nullptr; }

 private:
  static std::shared_ptr<TransportDescriptorInterface> smallest(const SharedMemTransportDescriptor& whole) {
    auto half = std::make_shared<SharedMemTransportDescriptor>(whole);
    half->segment_size(whole.max_message_size());
    return half;
  }
};

}  // namespace

TransportInterface* SharedMemoryDescriptor::create_transport() const { return new SharedMemoryTransport(*this); }

SharedMemoryTransport::SharedMemoryTransport(const SharedMemoryDescriptor& descriptor)
    : ChainingTransport(ReceivingHalf(descriptor)), descriptor_(descriptor) {}

bool SharedMemoryTransport::init(const PropertyPolicy* properties) {
  sender_ = SegmentSender::make(descriptor_);
  return sender_ != nullptr && ChainingTransport::init(properties);
}

bool SharedMemoryTransport::OpenOutputChannel(SendResourceList& resources, const Locator_t& locator) {
  const bool open =
      std::any_of(resources.begin(), resources.end(), [this](const auto& r) { return r->kind() == kind(); });
  return IsLocatorSupported(locator) && (open || ChainingTransport::OpenOutputChannel(resources, locator));
}

bool SharedMemoryTransport::send(SenderResource* /*resource*/, const uint8_t* data, uint32_t size,
                                 LocatorsIterator* begin, LocatorsIterator* end,
                                 const std::chrono::steady_clock::time_point& deadline) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto now = std::chrono::steady_clock::now();
  if (now >= next_look_) {
    look_at_ports(now);
  }
  return sender_->send(data, size, *begin, *end, deadline);
}

void SharedMemoryTransport::receive(TransportReceiverInterface* next, const uint8_t* data, uint32_t size,
                                    const Locator_t& local, const Locator_t& remote) {
  next->OnDataReceived(data, size, local, remote);
}

void SharedMemoryTransport::look_at_ports(TimePoint now) {
  next_look_ = now + kLookPeriod;
  if (retired_ != nullptr && now >= retired_at_ + kRetirement) {
    retired_.reset();
  }
  if (retired_ == nullptr) {
    if (const auto port = sender_->replaced_port()) {
      renew_sender(*port, now);
    }
  }
}

void SharedMemoryTransport::renew_sender(uint32_t replaced_port, TimePoint now) {
  const uint64_t needed = 2ULL * descriptor_.segment_size();
  auto successor = free_shared_memory() > needed ? SegmentSender::make(descriptor_) : nullptr;
  if (successor == nullptr) {
    if (!std::exchange(short_of_memory_, true)) {
      OVIMUX_LOG(kWarning) << "/dev/shm has no room for another " << needed
                           << " bytes: a peer that was restarted on port " << replaced_port
                           << " is not reached until it has";
    }
    return;
  }
  OVIMUX_LOG(kInfo) << "shared memory port " << replaced_port
                    << " has a new owner, sending to it instead of the old one";
  short_of_memory_ = false;
  retired_ = std::exchange(sender_, std::move(successor));
  retired_at_ = now;
}

}  // namespace norvik::ovimux
