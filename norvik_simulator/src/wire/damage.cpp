#include "wire/damage.hpp"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/reflection.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <vector>
#include <nlohmann/json.hpp>

#include "norvik/core_proto/header.pb.h"
#include "ovimux/dds/envelope.hpp"

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

// A list of messages somewhere in a message.
struct List {
  Message* owner = nullptr;
  const FieldDescriptor* field = nullptr;
  int length = 0;
};
constexpr size_t kFraming = 8;  // Bytes of a list entry beside its content, at most, with its owners' lengths.

List longest_list(Message& message) {
  const auto& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  List longest;
  const auto compare = [&](const List& list) { longest = list.length > longest.length ? list : longest; };
  for (const FieldDescriptor* field : fields) {
    if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) {
      continue;
    }
    if (!field->is_repeated()) {
      compare(longest_list(*reflection.MutableMessage(&message, field)));
      continue;
    }
    const int length = reflection.FieldSize(message, field);
    compare({&message, field, length});
    for (int i = 0; i < length; ++i) {
      compare(longest_list(*reflection.MutableRepeatedMessage(&message, field, i)));
    }
  }
  return longest;
}

const std::map<TopicFault, void (*)(Message&)>& spoilers() {
  static const std::map<TopicFault, void (*)(Message&)> kSpoilers = {{TopicFault::kCorrupt, corrupt},
                                                                     {TopicFault::kWrongSize, shorten},
                                                                     {TopicFault::kEmpty, empty},
                                                                     {TopicFault::kMislabel, mislabel},
                                                                     {TopicFault::kHuge, inflate}};
  return kSpoilers;
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

void empty(Message& message) {
  const auto& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->message_type() != core_proto::Header::descriptor()) {
      reflection.ClearField(&message, field);
    }
  }
}

void mislabel(Message& message) {
  change_fields(message, [](Message& part, const FieldDescriptor& field) {
    if (field.name() == "encoding" || field.name() == "format") {
      part.GetReflection()->SetString(&part, &field, "mislabelled");
    } else if (field.name() == "rows") {
      part.GetReflection()->SetUInt32(&part, &field, part.GetReflection()->GetUInt32(part, &field) + 1);
    }
  });
}

void inflate(Message& message) {
  constexpr size_t kAlmostAll = ovimux::kLargePayloadBound - 10'000;
  const List list = longest_list(message);
  const size_t size = message.ByteSizeLong();
  if (list.length == 0 || size >= kAlmostAll) {
    return;
  }
  const auto& reflection = *list.owner->GetReflection();
  const Message& pattern = reflection.GetRepeatedMessage(*list.owner, list.field, 0);
  const size_t copies = (kAlmostAll - size) / (pattern.ByteSizeLong() + kFraming);
  for (size_t i = 0; i < copies; ++i) {
    auto* const copy = reflection.AddMessage(list.owner, list.field);
    copy->CopyFrom(reflection.GetRepeatedMessage(*list.owner, list.field, 0));
  }
}

bool spoils_content(TopicFault fault) { return spoilers().count(fault) != 0; }

void spoil(Message& message, TopicFault fault) { spoilers().at(fault)(message); }

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

void mislabel_task(Message& message) {
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
