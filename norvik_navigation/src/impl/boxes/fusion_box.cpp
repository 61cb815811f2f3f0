#include "impl/boxes/fusion_box.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <limits>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr char kNamePrefix[] = "sdk_box_";
constexpr uint32_t kBoxesInRequest = 1;
constexpr size_t kWord = 4;
constexpr int32_t kMostSides = 100;
constexpr int32_t kPoseNumbers = 7;
// What no box can be shorter than: four counts, one side, the pose.
constexpr size_t kShortestBox = kWord * (4 + 1 + kPoseNumbers);

void put_word(uint8_t*& cursor, uint32_t word) {
  for (size_t i = 0; i < kWord; ++i) {
    *cursor++ = static_cast<uint8_t>(word >> (8 * i));
  }
}

void put_floats(uint8_t*& cursor, const std::vector<float>& values) {
  put_word(cursor, static_cast<uint32_t>(values.size()));
  for (const float value : values) {
    uint32_t word = 0;
    std::memcpy(&word, &value, kWord);
    put_word(cursor, word);
  }
}

void put_string(uint8_t*& cursor, const std::string& text) {
  put_word(cursor, static_cast<uint32_t>(text.size()));
  cursor = std::copy(text.begin(), text.end(), cursor);
}

size_t bytes_left(const uint8_t* cursor, const uint8_t* end) { return static_cast<size_t>(end - cursor); }

// The caller has looked whether there are four bytes.
uint32_t take_word(const uint8_t*& cursor) {
  uint32_t word = 0;
  for (size_t i = 0; i < kWord; ++i) {
    word |= static_cast<uint32_t>(*cursor++) << (8 * i);
  }
  return word;
}

bool take_count(const uint8_t*& cursor, const uint8_t* end, const char* field, int32_t& count) {
  if (bytes_left(cursor, end) < kWord) {
    SDK_LOG(error) << "reply buffer too short when reading " << field << " length";
    return false;
  }
  count = static_cast<int32_t>(take_word(cursor));
  return true;
}

bool take_floats(const uint8_t*& cursor, const uint8_t* end, const char* field, int32_t least, int32_t most,
                 std::vector<float>& values) {
  int32_t count = 0;
  if (!take_count(cursor, end, field, count)) {
    return false;
  }
  if (count < least || count > most || bytes_left(cursor, end) < kWord * static_cast<size_t>(count)) {
    SDK_LOG(error) << "invalid " << field << " length: " << count;
    return false;
  }
  values.resize(static_cast<size_t>(count));
  for (float& value : values) {
    const uint32_t word = take_word(cursor);
    std::memcpy(&value, &word, kWord);
  }
  return true;
}

bool take_string(const uint8_t*& cursor, const uint8_t* end, const char* field, std::string& text) {
  int32_t length = 0;
  if (!take_count(cursor, end, field, length)) {
    return false;
  }
  if (length < 0 || bytes_left(cursor, end) < static_cast<size_t>(length)) {
    SDK_LOG(error) << "invalid " << field << " length: " << length;
    return false;
  }
  text.assign(cursor, cursor + length);
  cursor += length;
  return true;
}

// Not-a-number is not within.
bool fits_float(double value) { return std::abs(value) <= std::numeric_limits<float>::max(); }

bool is_sendable(const Pose& pose) {
  const std::array<double, 7> numbers{pose.x, pose.y, pose.z, pose.qx, pose.qy, pose.qz, pose.qw};
  return std::all_of(numbers.begin(), numbers.end(), fits_float) &&
         std::any_of(numbers.begin() + 3, numbers.end(), [](double part) { return part != 0.0; });
}

std::vector<float> scalar_first(const Pose& pose) {
  const auto narrow = [](double value) { return static_cast<float>(value); };
  return {narrow(pose.x),  narrow(pose.y),  narrow(pose.z), narrow(pose.qw),
          narrow(pose.qx), narrow(pose.qy), narrow(pose.qz)};
}

size_t bytes_of(const std::string& text) { return kWord + text.size(); }
size_t bytes_of(const std::vector<float>& values) { return kWord + kWord * values.size(); }

}  // namespace

bool is_valid_box(const BoxInfo& box) {
  const auto is_side = [](float side) { return side > 0.0F && fits_float(side); };
  return std::all_of(box.box_size.begin(), box.box_size.end(), is_side) && !box.parent_link_name.empty() &&
         is_sendable(box.box_pose);
}

NaviStatus convert_box_info_to_fusion_box(const BoxInfo& box, FusionBoxInfo& fusion, size_t& total_size) {
  if (!is_valid_box(box)) {
    SDK_LOG(error) << "invalid bounding box input";
    return NaviStatus::INVALID_INPUT;
  }
  fusion.box_size.assign(box.box_size.begin(), box.box_size.end());
  fusion.box_pose = scalar_first(box.box_pose);
  convert_box_tag_to_fusion_box_name(box.box_tag, fusion.box_name, total_size);
  fusion.parent_link_name = box.parent_link_name;
  total_size += bytes_of(fusion.box_size) + bytes_of(fusion.box_pose) + bytes_of(fusion.parent_link_name);
  return NaviStatus::SUCCESS;
}

void convert_box_tag_to_fusion_box_name(int32_t box_tag, std::string& name, size_t& total_size) {
  name = fusion_box_name(box_tag);
  total_size += bytes_of(name);
}

std::string fusion_box_name(int32_t box_tag) { return kNamePrefix + std::to_string(box_tag); }

void serialize_fusion_box_info(uint8_t*& cursor, const std::vector<float>& box_size, const std::vector<float>& box_pose,
                               const std::string& box_name, const std::string& parent_link_name) {
  put_floats(cursor, box_size);
  put_floats(cursor, box_pose);
  put_string(cursor, box_name);
  put_string(cursor, parent_link_name);
}

void serialize_fusion_box_name(uint8_t*& cursor, const std::string& box_name) { put_string(cursor, box_name); }

bool deserialize_fusion_box_info(const uint8_t*& cursor, const uint8_t* end, FusionBoxInfo& fusion) {
  return take_floats(cursor, end, "box_size", 1, kMostSides, fusion.box_size) &&
         take_floats(cursor, end, "box_pose", kPoseNumbers, kPoseNumbers, fusion.box_pose) &&
         take_string(cursor, end, "box_name", fusion.box_name) &&
         take_string(cursor, end, "parent_link_name", fusion.parent_link_name);
}

BoxInfo convert_fusion_box_to_box_info(const FusionBoxInfo& fusion) {
  BoxInfo box;
  const size_t sides = std::min(fusion.box_size.size(), box.box_size.size());
  std::copy_n(fusion.box_size.begin(), sides, box.box_size.begin());
  const std::vector<float>& pose = fusion.box_pose;
  if (pose.size() == static_cast<size_t>(kPoseNumbers)) {
    box.box_pose = {pose[0], pose[1], pose[2], pose[4], pose[5], pose[6], pose[3]};
  }
  box.box_tag = parse_box_tag_from_fusion_box_name(fusion.box_name);
  box.parent_link_name = fusion.parent_link_name;
  return box;
}

int32_t parse_box_tag_from_fusion_box_name(const std::string& name) {
  constexpr size_t kPrefixSize = sizeof(kNamePrefix) - 1;
  if (name.compare(0, kPrefixSize, kNamePrefix) != 0) {
    SDK_LOG(error) << "invalid sdk box name: " << name;
    return -1;
  }
  try {
    return std::stoi(name.substr(kPrefixSize));
  } catch (const std::exception&) {
    SDK_LOG(error) << "failed to parse sdk box tag from name: " << name;
    return -1;
  }
}

std::string make_add_box_request(const FusionBoxInfo& fusion, size_t total_size) {
  std::string request(total_size, '\0');
  auto* cursor = reinterpret_cast<uint8_t*>(request.data());
  put_word(cursor, kBoxesInRequest);
  serialize_fusion_box_info(cursor, fusion.box_size, fusion.box_pose, fusion.box_name, fusion.parent_link_name);
  return request;
}

std::string make_remove_box_request(const std::string& name, size_t total_size) {
  std::string request(total_size, '\0');
  auto* cursor = reinterpret_cast<uint8_t*>(request.data());
  put_word(cursor, kBoxesInRequest);
  serialize_fusion_box_name(cursor, name);
  return request;
}

std::string make_get_box_request() { return std::string(1, '\x01'); }

std::vector<BoxInfo> read_box_list(const std::string& reply) {
  if (reply.size() < kWord) {
    SDK_LOG(error) << "get bounding box response invalid";
    return {};
  }
  const auto* cursor = reinterpret_cast<const uint8_t*>(reply.data());
  const uint8_t* const end = cursor + reply.size();
  const auto count = static_cast<int32_t>(take_word(cursor));
  if (count < 0) {
    SDK_LOG(error) << "get bounding box response count invalid: " << count;
    return {};
  }
  std::vector<BoxInfo> boxes;
  boxes.reserve(std::min(static_cast<size_t>(count), bytes_left(cursor, end) / kShortestBox));
  for (int32_t index = 0; index < count; ++index) {
    FusionBoxInfo fusion;
    if (!deserialize_fusion_box_info(cursor, end, fusion)) {
      SDK_LOG(error) << "failed to deserialize bounding box index: " << index;
      break;
    }
    boxes.push_back(convert_fusion_box_to_box_info(fusion));
  }
  return boxes;
}

}  // namespace norvik::sdk
