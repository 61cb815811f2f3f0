#include "messages/payload_text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

namespace norvik::tools {
namespace {

constexpr int kDeepestJson = 64;

// What the first byte of a UTF-8 sequence promises.
struct Utf8Lead {
  uint8_t mask;
  uint8_t value;
  size_t length;
  uint32_t smallest;  // A smaller code point would have a shorter form.
};
constexpr std::array<Utf8Lead, 4> kUtf8Leads = {{
    {0x80, 0x00, 1, 0x00},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
}};

bool is_printable(uint32_t code_point) {
  if (code_point < 0x20) {
    return code_point == '\t' || code_point == '\n' || code_point == '\r';
  }
  const bool is_control = code_point >= 0x7F && code_point < 0xA0;
  const bool is_surrogate = code_point >= 0xD800 && code_point < 0xE000;
  return !is_control && !is_surrogate && code_point <= 0x10FFFF;
}

// The length of the printable character at `at`; 0 if there is none.
size_t printable_length(const Bytes& bytes, size_t at) {
  const auto lead = std::find_if(kUtf8Leads.begin(), kUtf8Leads.end(),
                                 [&](const Utf8Lead& l) { return (bytes[at] & l.mask) == l.value; });
  if (lead == kUtf8Leads.end() || at + lead->length > bytes.size()) {
    return 0;
  }
  uint32_t code_point = bytes[at] & static_cast<uint8_t>(~lead->mask);
  for (size_t i = 1; i < lead->length; ++i) {
    if ((bytes[at + i] & 0xC0) != 0x80) {
      return 0;
    }
    code_point = code_point << 6U | (bytes[at + i] & 0x3FU);
  }
  return code_point >= lead->smallest && is_printable(code_point) ? lead->length : 0;
}

}  // namespace

bool is_plain_text(const Bytes& bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const size_t length = printable_length(bytes, at);
    if (length == 0) {
      return false;
    }
    at += length;
  }
  return true;
}

std::optional<nlohmann::ordered_json> parse_json(const Bytes& bytes) {
  using Json = nlohmann::ordered_json;
  bool too_deep = false;
  // Refusing what lies too deep keeps the value shallow while the rest is read.
  const auto refuse_depth = [&too_deep](int depth, Json::parse_event_t /*event*/, Json& /*value*/) {
    too_deep = too_deep || depth > kDeepestJson;
    return depth <= kDeepestJson;
  };
  Json value = Json::parse(bytes.begin(), bytes.end(), refuse_depth, false);
  return too_deep || value.is_discarded() ? std::nullopt : std::optional<Json>(std::move(value));
}

std::string hex_text(const Bytes& bytes, size_t limit) {
  std::string text;
  for (size_t i = 0; i < std::min(bytes.size(), limit); ++i) {
    text += fmt::format("{}{:02x}", i == 0 ? "" : " ", bytes[i]);
  }
  return bytes.size() <= limit ? text : fmt::format("{} … {} more bytes", text, bytes.size() - limit);
}

void shorten_strings(nlohmann::ordered_json& value, size_t limit) {
  if (value.is_structured()) {
    for (auto& element : value) {
      shorten_strings(element, limit);
    }
  } else if (value.is_string() && value.get_ref<const std::string&>().size() > limit) {
    const auto& text = value.get_ref<const std::string&>();
    value = fmt::format("{}… {} characters", text.substr(0, limit), text.size());
  }
}

}  // namespace norvik::tools
