#include "dds/transport/segment_sender.hpp"

namespace norvik::ovimux {
namespace {

using eprosima::fastdds::rtps::LocatorsIterator;
using eprosima::fastrtps::rtps::Locator_t;

// The base class has no virtual destructor, and nobody deletes through it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Passes locators on and reports the shared memory ports among them.
class ReportedLocators final : public LocatorsIterator {
 public:
  ReportedLocators(LocatorsIterator& locators, PortWatch& ports) : locators_(locators), ports_(ports) {}

  LocatorsIterator& operator++() override {
    const Locator_t& passed = *locators_;
    if (passed.kind == LOCATOR_KIND_SHM) {
      ports_.sends_to(passed.port);
    }
    ++locators_;
    return *this;
  }
  bool operator==(const LocatorsIterator& other) const override { return locators_ == other; }
  bool operator!=(const LocatorsIterator& other) const override { return locators_ != other; }
  const Locator_t& operator*() const override { return *locators_; }

 private:
  LocatorsIterator& locators_;
  PortWatch& ports_;
};

#pragma GCC diagnostic pop

}  // namespace

SegmentSender::SegmentSender() : ports_([](uint32_t port) { return file_id(shared_memory_port_file(port)); }) {}

std::unique_ptr<SegmentSender> SegmentSender::make(const Descriptor& descriptor) {
  std::unique_ptr<SegmentSender> sender(new SegmentSender);
  sender->transport_.reset(descriptor.create_transport());
  Locator_t any;
  any.kind = LOCATOR_KIND_SHM;
  const bool made = sender->transport_->init() && sender->transport_->OpenOutputChannel(sender->resources_, any);
  return made ? std::move(sender) : nullptr;
}

bool SegmentSender::send(const uint8_t* data, uint32_t size, Locators& begin, Locators& end,
                         const std::chrono::steady_clock::time_point& deadline) {
  ReportedLocators reported(begin, ports_);
  const bool sent = resources_.front()->send(data, size, &reported, &end, deadline);
  ports_.sent();
  return sent;
}

}  // namespace norvik::ovimux
