#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor_database.h>
#include <google/protobuf/dynamic_message.h>

#include <string>

#include "messages/payload_text.hpp"
#include "network/picture.hpp"

namespace norvik::tools {

// Turns messages of one type into JSON with the schemas that the processes announce, or with those that this release
// was built with if nobody announces the type. Used by one thread.
class MessageDecoder {
 public:
  struct Result {
    std::string json;   // Empty on failure.
    std::string error;  // Why.
  };

  MessageDecoder(const Picture& picture, std::string type);
  // `file_descriptor_set` is a serialised google.protobuf.FileDescriptorSet, in any order.
  MessageDecoder(const std::string& file_descriptor_set, std::string type);

  // Whether the schemas describe the type.
  bool is_usable() const { return descriptor_ != nullptr; }

  // Every field is printed, also one that has its default value. Never throws, whatever the bytes are.
  Result decode(const Bytes& bytes);

 private:
  // Announced schemas may be broken; what uses them fails then, and need not be told where.
  class SilentErrors : public google::protobuf::DescriptorPool::ErrorCollector {
    void AddError(const std::string& /*file*/, const std::string& /*element*/,
                  const google::protobuf::Message* /*descriptor*/, ErrorLocation /*location*/,
                  const std::string& /*message*/) override {}
  };

  void add_schemas(const std::string& file_descriptor_set);
  void find_type();

  const std::string type_;
  SilentErrors errors_;
  google::protobuf::SimpleDescriptorDatabase schemas_;
  google::protobuf::DescriptorPool pool_{&schemas_, &errors_};
  google::protobuf::DynamicMessageFactory factory_{&pool_};
  const google::protobuf::Descriptor* descriptor_ = nullptr;
};

}  // namespace norvik::tools
