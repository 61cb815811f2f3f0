#include "wire/damage.hpp"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/reflection.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>

#include "norvik/core_proto/header.pb.h"

namespace norvik::simulator {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

using Change = std::function<void(Message& message, const FieldDescriptor& field)>;

// `change` is called for every field that is set and holds no message.
void change_fields(Message& message, const Change& change) {
  if (message.GetDescriptor() == core_proto::Header::descriptor()) {
    return;
  }
  const auto& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) {
      change(message, *field);
    } else if (!field->is_repeated()) {
      change_fields(*reflection.MutableMessage(&message, field), change);
    } else {
      for (int i = 0; i < reflection.FieldSize(message, field); ++i) {
        change_fields(*reflection.MutableRepeatedMessage(&message, field, i), change);
      }
    }
  }
}

void change_bytes(Message& message, const FieldDescriptor& field,
                  const std::function<std::string(const std::string&)>& change) {
  if (field.type() == FieldDescriptor::TYPE_BYTES && !field.is_repeated()) {
    const auto& reflection = *message.GetReflection();
    reflection.SetString(&message, &field, change(reflection.GetString(message, &field)));
  }
}

template <typename T>
void fill(Message& message, const FieldDescriptor& field, T value) {
  const auto& reflection = *message.GetReflection();
  if (field.is_repeated()) {
    auto values = reflection.GetMutableRepeatedFieldRef<T>(&message, &field);
    for (int i = 0; i < values.size(); ++i) {
      values.Set(i, value);
    }
  } else if constexpr (std::is_same_v<T, double>) {
    reflection.SetDouble(&message, &field, value);
  } else {
    reflection.SetFloat(&message, &field, value);
  }
}

}  // namespace

void corrupt(Message& message) {
  change_fields(message, [](Message& part, const FieldDescriptor& field) {
    change_bytes(part, field, [](const std::string& bytes) { return std::string(bytes.size(), '\xa5'); });
    if (field.cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
      fill(part, field, std::numeric_limits<double>::quiet_NaN());
    } else if (field.cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
      fill(part, field, std::numeric_limits<float>::quiet_NaN());
    }
  });
}

void shorten(Message& message) {
  change_fields(message, [](Message& part, const FieldDescriptor& field) {
    change_bytes(part, field, [](const std::string& bytes) { return bytes.substr(0, bytes.size() * 2 / 3); });
  });
}

std::string damaged_reply(const std::string& response, ReplyFault fault) {
  constexpr size_t kCountSize = 4;
  std::string damaged = response;
  switch (fault) {
    case ReplyFault::kShort:
      damaged.resize(std::min<size_t>(damaged.size(), kCountSize - 1));
      break;
    case ReplyFault::kNegativeCount:
      damaged.replace(0, kCountSize, "\xfb\xff\xff\xff", kCountSize);
      break;
    case ReplyFault::kHugeCount:
      damaged.replace(0, kCountSize, "\xff\xff\xff\x7f", kCountSize);
      break;
    case ReplyFault::kGarbage:
      for (size_t i = 0; i < damaged.size(); ++i) {
        damaged[i] = static_cast<char>(i * 167 + 41);
      }
      break;
    default:
      break;
  }
  return damaged;
}

void mislabel(Message& message) {
  const FieldDescriptor* field = message.GetDescriptor()->FindFieldByName("task_id");
  if (field != nullptr && field->type() == FieldDescriptor::TYPE_STRING && !field->is_repeated()) {
    message.GetReflection()->SetString(&message, field, "another_task");
  }
}

std::string corrupt(const std::string& json_text) { return json_text.substr(0, json_text.size() * 2 / 3) + "\xa5{"; }

std::string retype(const std::string& json_text) {
  auto json = nlohmann::json::parse(json_text, nullptr, false);
  for (auto& value : json) {
    value = nlohmann::json::array({value});
  }
  return json.dump();
}

}  // namespace norvik::simulator
