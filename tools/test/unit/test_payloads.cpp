// From bytes of any kind to something that can be printed.
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/struct.pb.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "messages/message_decoder.hpp"
#include "messages/sample_text.hpp"

namespace norvik::tools {
namespace {

Bytes bytes_of(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Schemas of a type that is compiled into nothing.
std::string probe_schemas() {
  google::protobuf::FileDescriptorSet set;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(R"(
    file { name: "probe.proto" package: "probe" syntax: "proto3" dependency: "google/protobuf/struct.proto"
      message_type { name: "Reading"
        field { name: "value" number: 1 type: TYPE_DOUBLE label: LABEL_OPTIONAL }
        field { name: "count_of" number: 2 type: TYPE_INT64 label: LABEL_OPTIONAL }
        field { name: "name" number: 3 type: TYPE_STRING label: LABEL_OPTIONAL }
        field { name: "extra" number: 4 type: TYPE_MESSAGE type_name: ".google.protobuf.Value" label: LABEL_OPTIONAL }
        field { name: "next" number: 5 type: TYPE_MESSAGE type_name: ".probe.Reading" label: LABEL_OPTIONAL }
      } })",
                                                            &set));
  google::protobuf::Struct::descriptor()->file()->CopyTo(set.add_file());  // Behind what needs it.
  return set.SerializeAsString();
}

std::string nested(int depth) {
  std::string bytes;
  for (int i = 0; i < depth && bytes.size() < 0x3FFF; ++i) {
    const size_t size = bytes.size();
    std::string prefix = "\x2A";
    prefix += size < 0x80 ? std::string(1, static_cast<char>(size))
                          : std::string{static_cast<char>(size | 0x80), static_cast<char>(size >> 7)};
    bytes.insert(0, prefix);
  }
  return bytes;
}

TEST(MessageDecoder, decodes_with_announced_schemas_alone) {
  const std::string nan("\x09\x00\x00\x00\x00\x00\x00\xF8\x7F", 9);
  struct Case {
    const char* name;
    std::string bytes;
    std::string json;   // Expected within it; empty: fails.
    std::string error;  // Expected within it.
  };
  const Case cases[] = {
      {"defaults are printed", "", R"({"value":0,"count_of":"0","name":"")", ""},
      {"not a number", nan, R"("value":"NaN")", ""},
      {"unknown fields are left out", std::string("\x10\x07\xF8\x07\x01"), R"("count_of":"7")", ""},
      {"not a number in a Value", std::string("\x22\x09\x11\x00\x00\x00\x00\x00\x00\xF8\x7F", 11), "NaN", ""},
      {"cut short", nan.substr(0, 5), "", "malformed probe.Reading"},
      {"length beyond the end", "\x1A\x7F", "", "malformed"},
      {"group end without begin", "\x0C", "", "malformed"},
      {"no UTF-8", "\x1A\x02\xC3\x28", "", "malformed"},
      {"nested too deeply to read", nested(5000), "", "malformed"},
      {"nested too deeply to print", nested(90), "", "no JSON form"},
  };
  MessageDecoder decoder(probe_schemas(), "probe.Reading");
  ASSERT_TRUE(decoder.is_usable());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto result = decoder.decode(bytes_of(c.bytes));
    EXPECT_NE(result.json.find(c.json), std::string::npos) << result.json << result.error;
    EXPECT_NE(result.error.find(c.error), std::string::npos) << result.error;
    EXPECT_EQ(result.json.empty(), c.json.empty());
  }
}

TEST(MessageDecoder, what_nobody_announces_is_decoded_with_the_schemas_of_this_release) {
  MessageDecoder decoder(std::string(), "norvik.core_proto.StringValue");
  EXPECT_EQ(decoder.decode(bytes_of("\x0A\x02hi")).json, R"({"value":"hi"})");
}

TEST(MessageDecoder, broken_schemas_are_an_error_and_no_more) {
  const std::string good = probe_schemas();
  const std::pair<std::string, std::string> cases[] = {
      {"", "probe.Reading"},
      {"no descriptor set", "probe.Reading"},
      {good.substr(0, good.size() / 2), "probe.Reading"},  // The import is missing.
      {good, "probe.Other"},
      {good, ""},
  };
  for (const auto& [schemas, type] : cases) {
    SCOPED_TRACE(type + " of " + std::to_string(schemas.size()));
    MessageDecoder decoder(schemas, type);
    EXPECT_FALSE(decoder.is_usable());
    EXPECT_EQ(decoder.decode({1, 2, 3}).error, "no schema describes " + type);
  }
}

TEST(SampleText, shows_what_a_topic_without_schema_carries) {
  struct Case {
    const char* name;
    std::string payload;
    bool raw;
    std::string expected;  // The last member of the document.
  };
  const Case cases[] = {
      {"JSON", R"({"soc": 81.5})", false, R"("message":{"soc":81.5}})"},
      {"JSON, not decoded", R"({"a":1})", true, R"("text":"{\"a\":1}"})"},
      {"text", "grüß Gott\n", false, R"("text":"grüß Gott\n"})"},
      {"nothing", "", false, R"("text":""})"},
      {"control characters are no text", "a\x1B[2J", false, R"("hex":"61 1b 5b 32 4a"})"},
      {"overlong UTF-8", "\xC0\xAF", false, R"("hex":"c0 af"})"},
      {"cut UTF-8", "\xE2\x82", true, R"("hex":"e2 82"})"},
      {"C1 control", "\xC2\x9B", true, R"("hex":"c2 9b"})"},
      {"broken JSON", R"({"a":)", false, R"("text":"{\"a\":"})"},
  };
  MessageDecoder unused(std::string(), kRawType);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string text = sample_text({{}, bytes_of(c.payload)}, {"topic", kRawType, c.raw, true}, unused);
    EXPECT_NE(text.find("," + c.expected + "\n"), std::string::npos) << text;
  }
  const std::string deep = std::string(200000, '[') + std::string(200000, ']');
  EXPECT_FALSE(parse_json(bytes_of(deep)));
  SampleHeader broken;
  broken.malformed = true;
  EXPECT_NE(sample_text({broken, {}}, {"topic", "probe.Reading"}, unused).find("malformed envelope"),
            std::string::npos);
}

TEST(PayloadText, people_are_spared_long_values) {
  nlohmann::ordered_json value = {{"image", std::string(1000, 'x')}, {"list", {"short", std::string(30, 'y')}}};
  shorten_strings(value, 10);
  EXPECT_EQ(value["image"], "xxxxxxxxxx… 1000 characters");
  EXPECT_EQ(value["list"][0], "short");
  EXPECT_EQ(value["list"][1], "yyyyyyyyyy… 30 characters");
  EXPECT_EQ(hex_text({1, 2, 255}, 2), "01 02 … 1 more bytes");
}

}  // namespace
}  // namespace norvik::tools
