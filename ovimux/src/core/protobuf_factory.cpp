#include "ovimux/core/protobuf_factory.hpp"

#include <google/protobuf/descriptor.h>

namespace norvik::ovimux {

ProtobufFactory* ProtobufFactory::Instance(bool /*create*/) {
  static auto* const instance = new ProtobufFactory;
  return instance;
}

void ProtobufFactory::GetDescriptorString(const std::string& type, std::string* text) const {
  const auto* descriptor = google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(type);
  if (descriptor != nullptr) {
    *text = descriptor->DebugString();
  }
}

}  // namespace norvik::ovimux
