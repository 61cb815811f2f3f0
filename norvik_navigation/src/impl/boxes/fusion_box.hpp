#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <norvik_sdk/navigation_types.hpp>

namespace norvik::sdk {

// The binary protocol of the box service. Everything is little-endian and 32 bits wide, without padding: a string is
// its length and its bytes, an array its count and its numbers. A box is size, pose, name, parent link; its pose has
// the scalar of the quaternion first.

// A box as the service knows it.
struct FusionBoxInfo {
  std::vector<float> box_size;
  std::vector<float> box_pose;  // x, y, z, qw, qx, qy, qz
  std::string box_name;         // "sdk_box_" and the tag, if this library made it
  std::string parent_link_name;
};

// Whether the box can be sent: sides above 0, a parent link, a pose of numbers.
bool is_valid_box(const BoxInfo& box);

// Fills `fusion` and adds the bytes of the box to `total_size`. INVALID_INPUT, with a log line, for a box that is not
// valid.
NaviStatus convert_box_info_to_fusion_box(const BoxInfo& box, FusionBoxInfo& fusion, size_t& total_size);

// Gives the name and adds its bytes to `total_size`.
void convert_box_tag_to_fusion_box_name(int32_t box_tag, std::string& name, size_t& total_size);

// "sdk_box_" and the tag.
std::string fusion_box_name(int32_t box_tag);

// These two write at `cursor` and advance it; the caller has reserved the bytes.
void serialize_fusion_box_info(uint8_t*& cursor, const std::vector<float>& box_size, const std::vector<float>& box_pose,
                               const std::string& box_name, const std::string& parent_link_name);
void serialize_fusion_box_name(uint8_t*& cursor, const std::string& box_name);

// Reads one box and advances `cursor`. False, with a log line that names the field, when the bytes up to `end` do not
// hold one.
bool deserialize_fusion_box_info(const uint8_t*& cursor, const uint8_t* end, FusionBoxInfo& fusion);

// A box with fewer than three sides gets zeros.
BoxInfo convert_fusion_box_to_box_info(const FusionBoxInfo& fusion);

// The tag in a name of this library; -1, with a log line, for any other.
int32_t parse_box_tag_from_fusion_box_name(const std::string& name);

// Whole requests, and what their replies hold. `total_size` is what the conversions above counted, begun with 4.
std::string make_add_box_request(const FusionBoxInfo& fusion, size_t total_size);
std::string make_remove_box_request(const std::string& name, size_t total_size);
std::string make_get_box_request();
// The boxes of a reply, as many as are whole; empty, with a log line, for one that is no list.
std::vector<BoxInfo> read_box_list(const std::string& reply);

}  // namespace norvik::sdk
