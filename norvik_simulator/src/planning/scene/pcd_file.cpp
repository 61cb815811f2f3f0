#include "planning/scene/pcd_file.hpp"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>

namespace norvik::simulator::planning {

namespace {

constexpr size_t kMostPoints = 20'000'000;
constexpr size_t kMostFieldBytes = 65'536;  // Of one point.

struct Field {
  std::string name;
  size_t size = 4;    // Bytes of one value.
  char type = 'F';    // F, I or U.
  size_t count = 1;   // Values of one point.
  size_t offset = 0;  // Bytes before it in a point.

  size_t bytes() const { return size * count; }
};

struct Header {
  std::vector<Field> fields;
  size_t width = 0;
  size_t height = 1;
  size_t points = 0;
  std::string data;
  size_t end = 0;  // Where the data begins.

  size_t point_bytes() const { return fields.empty() ? 0 : fields.back().offset + fields.back().bytes(); }
};

template <typename T>
bool read_list(std::istringstream& line, std::vector<Field>& fields, T Field::*member) {
  for (Field& field : fields) {
    if (!(line >> field.*member)) {
      return false;
    }
  }
  return true;
}

bool read_header_line(const std::string& text, Header& header) {
  std::istringstream line(text);
  std::string key;
  line >> key;
  if (key == "FIELDS") {
    for (Field field; line >> field.name;) {
      header.fields.push_back(field);
    }
    return !header.fields.empty();
  }
  if (key == "SIZE") return read_list(line, header.fields, &Field::size);
  if (key == "TYPE") return read_list(line, header.fields, &Field::type);
  if (key == "COUNT") return read_list(line, header.fields, &Field::count);
  if (key == "WIDTH") return static_cast<bool>(line >> header.width);
  if (key == "HEIGHT") return static_cast<bool>(line >> header.height);
  if (key == "POINTS") return static_cast<bool>(line >> header.points);
  if (key == "DATA") return static_cast<bool>(line >> header.data);
  return true;  // VERSION, VIEWPOINT, comments.
}

bool set_offsets(Header& header) {
  size_t offset = 0;
  for (Field& field : header.fields) {
    if (field.size == 0 || field.size > 8 || field.count > kMostFieldBytes) {
      return false;
    }
    field.offset = offset;
    offset += field.bytes();
    if (offset > kMostFieldBytes) {
      return false;
    }
  }
  return offset > 0;
}

bool read_header(const std::string& text, Header& header) {
  while (header.data.empty()) {
    const size_t end = text.find('\n', header.end);
    if (end == std::string::npos || !read_header_line(text.substr(header.end, end - header.end), header)) {
      return false;
    }
    header.end = end + 1;
  }
  if (header.points == 0 && header.height > 0 && header.width <= kMostPoints / header.height) {
    header.points = header.width * header.height;
  }
  return header.points > 0 && header.points <= kMostPoints && set_offsets(header);
}

template <typename T>
double load(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return static_cast<double>(value);
}

double read_value(const Field& field, const char* bytes) {
  switch (field.type) {
    case 'F':
      return field.size == 8 ? load<double>(bytes) : field.size == 4 ? load<float>(bytes) : std::nan("");
    case 'I':
      return field.size == 4 ? load<int32_t>(bytes) : field.size == 2 ? load<int16_t>(bytes) : std::nan("");
    case 'U':
      return field.size == 4 ? load<uint32_t>(bytes) : field.size == 2 ? load<uint16_t>(bytes) : std::nan("");
    default:
      return std::nan("");
  }
}

using Axes = std::array<size_t, 3>;  // Of the fields x, y and z.

bool find_axes(const Header& header, Axes& axes) {
  constexpr std::array<const char*, 3> kNames = {"x", "y", "z"};
  for (size_t axis = 0; axis < axes.size(); ++axis) {
    axes[axis] = header.fields.size();
    for (size_t i = 0; i < header.fields.size(); ++i) {
      if (header.fields[i].name == kNames[axis] && header.fields[i].count == 1) {
        axes[axis] = i;
      }
    }
    if (axes[axis] == header.fields.size()) {
      return false;
    }
  }
  return true;
}

bool read_ascii(const std::string& text, const Header& header, const Axes& axes, std::vector<KDL::Vector>& points) {
  std::istringstream lines(text.substr(header.end));
  std::string word;
  for (size_t n = 0; n < header.points; ++n) {
    KDL::Vector point;
    for (size_t f = 0; f < header.fields.size(); ++f) {
      for (size_t i = 0; i < header.fields[f].count; ++i) {
        if (!(lines >> word)) {
          return false;
        }
        for (int axis = 0; axis < 3; ++axis) {
          if (axes[static_cast<size_t>(axis)] == f) {
            point(axis) = std::strtod(word.c_str(), nullptr);  // Knows "nan".
          }
        }
      }
    }
    points.push_back(point);
  }
  return true;
}

// `start(field)` is where the field's value of the first point is, `step(field)` the way to that of the next one.
template <typename Start, typename Step>
void read_packed(const char* bytes, const Header& header, const Axes& axes, Start start, Step step,
                 std::vector<KDL::Vector>& points) {
  points.resize(header.points);
  for (int axis = 0; axis < 3; ++axis) {
    const Field& field = header.fields[axes[static_cast<size_t>(axis)]];
    const char* value = bytes + start(field);
    for (size_t n = 0; n < header.points; ++n, value += step(field)) {
      points[n](axis) = read_value(field, value);
    }
  }
}

bool read_binary(const std::string& text, const Header& header, const Axes& axes, std::vector<KDL::Vector>& points) {
  if ((text.size() - header.end) / header.point_bytes() < header.points) {
    return false;
  }
  read_packed(
      text.data() + header.end, header, axes, [](const Field& field) { return field.offset; },
      [&](const Field&) { return header.point_bytes(); }, points);
  return true;
}

// The data of one field after the other, compressed as a whole.
bool read_compressed(const std::string& text, const Header& header, const Axes& axes,
                     std::vector<KDL::Vector>& points) {
  std::array<uint32_t, 2> sizes;  // Compressed and not.
  if (text.size() - header.end < sizeof sizes) {
    return false;
  }
  std::memcpy(sizes.data(), text.data() + header.end, sizeof sizes);
  const size_t begin = header.end + sizeof sizes;
  if (text.size() - begin < sizes[0] || sizes[1] != header.points * header.point_bytes()) {
    return false;
  }
  const auto bytes = lzf_decompress(text.data() + begin, sizes[0], sizes[1]);
  if (!bytes) {
    return false;
  }
  read_packed(
      bytes->data(), header, axes, [&](const Field& field) { return field.offset * header.points; },
      [](const Field& field) { return field.bytes(); }, points);
  return true;
}

}  // namespace

// A control byte below 32 is followed by that many bytes and one more, as they are. Any other repeats bytes of the
// output: its upper three bits are the length less 2 (7: the next byte is added), the rest and one byte the distance
// less 1.
std::optional<std::vector<char>> lzf_decompress(const char* data, size_t size, size_t full_size) {
  constexpr size_t kMostPerByte = 264 / 2;  // Three bytes give 264 at most; a wrong size must not reserve memory.
  if (full_size / kMostPerByte > size) {
    return std::nullopt;
  }
  std::vector<char> out;
  out.reserve(full_size);
  const auto byte = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(data[i])); };
  size_t i = 0;
  while (i < size) {
    const size_t control = byte(i++);
    if (control < 32) {
      const size_t count = control + 1;
      if (count > size - i || count > full_size - out.size()) {
        return std::nullopt;
      }
      out.insert(out.end(), data + i, data + i + count);
      i += count;
      continue;
    }
    size_t count = (control >> 5) + 2;
    if (count == 9 && i < size) {
      count += byte(i++);
    }
    if (i >= size) {
      return std::nullopt;
    }
    const size_t distance = ((control & 31) << 8) + byte(i++) + 1;
    if (distance > out.size() || count > full_size - out.size()) {
      return std::nullopt;
    }
    for (size_t n = 0; n < count; ++n) {
      out.push_back(out[out.size() - distance]);  // May overlap what it writes.
    }
  }
  return out.size() == full_size ? std::optional(std::move(out)) : std::nullopt;
}

std::optional<std::vector<KDL::Vector>> parse_pcd(const std::string& text) {
  using Reader = bool (*)(const std::string&, const Header&, const Axes&, std::vector<KDL::Vector>&);
  constexpr std::array<std::pair<const char*, Reader>, 3> kReaders = {
      {{"ascii", read_ascii}, {"binary", read_binary}, {"binary_compressed", read_compressed}}};
  Header header;
  Axes axes;
  if (!read_header(text, header) || !find_axes(header, axes)) {
    return std::nullopt;
  }
  std::vector<KDL::Vector> points;
  for (const auto& [name, reader] : kReaders) {
    if (header.data == name && reader(text, header, axes, points)) {
      return points;
    }
  }
  return std::nullopt;
}

ShapeResult read_point_cloud(const std::string& path, double resolution) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  auto points = file ? parse_pcd(text.str()) : std::nullopt;
  if (!points) {
    return {{Reason::kInvalidInput, "cannot read the point cloud " + path}, {}};
  }
  return make_point_cloud(std::move(*points), resolution);
}

}  // namespace norvik::simulator::planning
