#include "navigation/box_protocol.hpp"

#include <cstring>

namespace norvik::simulator {

namespace {

constexpr uint32_t kMostBoxes = 1000;  // Of one request.
constexpr uint32_t kMostSides = 100;
constexpr uint32_t kLongestName = 4096;

class Reader {
 public:
  explicit Reader(const Bytes& bytes) : bytes_(bytes) {}

  bool is_at_end() const { return place_ == bytes_.size(); }

  bool read(uint32_t& value) {
    if (bytes_.size() - place_ < sizeof(value)) {
      return false;
    }
    value = 0;
    for (size_t i = 0; i < sizeof(value); ++i) {
      value |= static_cast<uint32_t>(bytes_[place_++]) << (8 * i);
    }
    return true;
  }

  bool read(float& value) {
    uint32_t bits = 0;
    const bool good = read(bits);
    std::memcpy(&value, &bits, sizeof(value));
    return good;
  }

  bool read(std::string& text) {
    uint32_t length = 0;
    if (!read(length) || length > kLongestName || bytes_.size() - place_ < length) {
      return false;
    }
    text.assign(bytes_.begin() + static_cast<std::ptrdiff_t>(place_),
                bytes_.begin() + static_cast<std::ptrdiff_t>(place_ + length));
    place_ += length;
    return true;
  }

  template <typename Floats>
  bool read_floats(Floats& floats) {
    bool good = true;
    for (float& value : floats) {
      good = good && read(value);
    }
    return good;
  }

  bool read(WireBox& box) {
    uint32_t sides = 0;
    if (!read(sides) || sides == 0 || sides > kMostSides) {
      return false;
    }
    box.size.resize(sides);
    uint32_t numbers = 0;
    return read_floats(box.size) && read(numbers) && numbers == box.pose.size() && read_floats(box.pose) &&
           read(box.name) && read(box.parent_link);
  }

 private:
  const Bytes& bytes_;
  size_t place_ = 0;
};

template <typename Item>
std::optional<std::vector<Item>> read_list(const Bytes& request) {
  Reader reader(request);
  uint32_t count = 0;
  if (!reader.read(count) || count == 0 || count > kMostBoxes) {
    return std::nullopt;
  }
  std::vector<Item> items;
  for (uint32_t i = 0; i < count; ++i) {
    items.emplace_back();
    if (!reader.read(items.back())) {
      return std::nullopt;
    }
  }
  return reader.is_at_end() ? std::optional(std::move(items)) : std::nullopt;
}

void write(std::string& bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
  }
}

template <typename Floats>
void write_floats(std::string& bytes, const Floats& floats) {
  write(bytes, static_cast<uint32_t>(floats.size()));
  for (const float value : floats) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    write(bytes, bits);
  }
}

void write(std::string& bytes, const std::string& text) {
  write(bytes, static_cast<uint32_t>(text.size()));
  bytes += text;
}

}  // namespace

std::optional<std::vector<WireBox>> read_boxes(const Bytes& request) { return read_list<WireBox>(request); }

std::optional<std::vector<std::string>> read_names(const Bytes& request) { return read_list<std::string>(request); }

std::string write_boxes(const std::vector<WireBox>& boxes) {
  std::string bytes;
  write(bytes, static_cast<uint32_t>(boxes.size()));
  for (const WireBox& box : boxes) {
    write_floats(bytes, box.size);
    write_floats(bytes, box.pose);
    write(bytes, box.name);
    write(bytes, box.parent_link);
  }
  return bytes;
}

}  // namespace norvik::simulator
