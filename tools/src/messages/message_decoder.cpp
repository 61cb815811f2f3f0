#include "messages/message_decoder.hpp"

#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/util/json_util.h>

#include <memory>
#include <utility>

#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {

MessageDecoder::MessageDecoder(const Picture& picture, std::string type) : type_(std::move(type)) {
  for (const Member& member : picture) {
    if (member.announcement) {
      add_schemas(member.announcement->file_descriptor_set());
    }
  }
  find_type();
}

MessageDecoder::MessageDecoder(const std::string& file_descriptor_set, std::string type) : type_(std::move(type)) {
  add_schemas(file_descriptor_set);
  find_type();
}

void MessageDecoder::find_type() {
  descriptor_ = pool_.FindMessageTypeByName(type_);
  if (descriptor_ == nullptr) {
    descriptor_ = google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(type_);
  }
}

// Of a file that several processes announce the first is taken.
void MessageDecoder::add_schemas(const std::string& file_descriptor_set) {
  google::protobuf::FileDescriptorSet set;
  set.ParseFromString(file_descriptor_set);
  for (const auto& file : set.file()) {
    google::protobuf::FileDescriptorProto known;
    if (!schemas_.FindFileByName(file.name(), &known)) {
      schemas_.Add(file);
    }
  }
}

MessageDecoder::Result MessageDecoder::decode(const Bytes& bytes) {
  if (!is_usable()) {
    return {"", "no schema describes " + type_};
  }
  const std::unique_ptr<google::protobuf::Message> message(factory_.GetPrototype(descriptor_)->New());
  if (!message->ParsePartialFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
    return {"", "malformed " + type_};
  }
  google::protobuf::util::JsonPrintOptions options;
  options.always_print_primitive_fields = true;
  options.preserve_proto_field_names = true;
  Result result;
  const auto status = google::protobuf::util::MessageToJsonString(*message, &result.json, options);
  if (!status.ok()) {
    return {"", type_ + " has no JSON form: " + std::string(status.message())};
  }
  return result;
}

}  // namespace norvik::tools
