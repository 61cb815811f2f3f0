// The binary protocol of boxes.

#include <cmath>
#include <limits>

#include "fake_service.hpp"
#include "impl/boxes/fusion_box.hpp"

namespace norvik::test {
namespace {

using sdk::BoxInfo;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string word(uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(value >> shift);
  }
  return bytes;
}

std::string text(const std::string& value) { return word(static_cast<uint32_t>(value.size())) + value; }

// 0.0 is 0, 1.0 is 0x3f800000, 2.0 is 0x40000000, 3.0 is 0x40400000.
constexpr uint32_t kOne = 0x3f800000;
const std::string kSides = word(3) + word(kOne) + word(0x40000000) + word(0x40400000);
const std::string kIdentity = word(7) + word(0) + word(0) + word(0) + word(kOne) + word(0) + word(0) + word(0);

BoxInfo example() { return {{1, 2, 3}, {}, 7, "base_link"}; }

TEST(Boxes, GoOutByteForByte) {
  SdkLogCapture log;
  FakeNavigation navigation;
  EXPECT_EQ(navigation.add_bounding_box(example()), NaviStatus::SUCCESS);
  const auto add = navigation.box_client->calls().back();
  EXPECT_EQ(add.request, word(1) + kSides + kIdentity + text("sdk_box_7") + text("base_link"));
  EXPECT_EQ(add.request.size(), 78U);
  EXPECT_EQ(add.timeout, std::chrono::seconds(5));
  EXPECT_TRUE(log.has("info",
                      "add bounding box request: box_tag=7, box_name=sdk_box_7, parent_link_name=base_link, "
                      "box_size=[1, 2, 3], box_pose.position=[0, 0, 0], box_pose.orientation=[0, 0, 0, 1]"));
  EXPECT_TRUE(log.has("info", "add bounding box got response_flag = 0"));

  navigation.box_reply = "\xff";
  EXPECT_EQ(navigation.remove_bounding_box(-12), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation.box_client->calls().back().request, word(1) + text("sdk_box_-12"));
  EXPECT_TRUE(log.has("info", "remove bounding box request: box_tag=-12, box_name=sdk_box_-12"));
  EXPECT_TRUE(log.has("info", "remove bounding box got response_flag = 255"));

  navigation.box_reply = "";
  EXPECT_EQ(navigation.add_bounding_box(example()), NaviStatus::REQUEST_FAILED);
  EXPECT_TRUE(log.has("error", "add bounding box response invalid"));
}

TEST(Boxes, ComeBackWithTheScalarWhereItBelongs) {
  SdkLogCapture log;
  FakeNavigation navigation;
  const std::string pose = word(7) + word(kOne) + word(0) + word(0) + word(0) + word(0) + word(0) + word(kOne);
  navigation.box_reply = word(2) + kSides + pose + text("sdk_box_+42nd") + text("l") +  //
                         word(1) + word(kOne) + kIdentity + text("table") + text("");
  const auto boxes = navigation.get_bounding_box();
  EXPECT_EQ(navigation.box_client->calls().back().request, std::string(1, '\x01'));
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(boxes[0].box_tag, 42);
  EXPECT_EQ(boxes[0].box_pose.x, 1.0);
  EXPECT_EQ(boxes[0].box_pose.qz, 1.0);
  EXPECT_EQ(boxes[0].box_pose.qw, 0.0);
  EXPECT_EQ(boxes[1].box_tag, -1);
  EXPECT_EQ(boxes[1].box_size, (std::array<float, 3>{1, 0, 0}));
  EXPECT_TRUE(log.has("error", "invalid sdk box name: table"));
}

TEST(Boxes, OfBrokenRepliesAreReadAsFarAsTheyGo) {
  const std::string good = kSides + kIdentity + text("sdk_box_7") + text("base_link");
  const struct {
    std::string reply;
    size_t boxes;
    std::vector<std::string> errors;
  } rows[] = {
      {"", 0, {"get bounding box response invalid"}},
      {"abc", 0, {"get bounding box response invalid"}},
      {word(0), 0, {}},
      {word(0xffffffff), 0, {"get bounding box response count invalid: -1"}},
      {word(0x7fffffff) + good,
       1,
       {"reply buffer too short when reading box_size length", "failed to deserialize bounding box index: 1"}},
      {word(1) + word(0), 0, {"invalid box_size length: 0", "failed to deserialize bounding box index: 0"}},
      {word(1) + word(101) + std::string(404, 'x'),
       0,
       {"invalid box_size length: 101", "failed to deserialize bounding box index: 0"}},
      {word(1) + word(2) + word(0), 0, {"invalid box_size length: 2", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides,
       0,
       {"reply buffer too short when reading box_pose length", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides + word(6) + kIdentity,
       0,
       {"invalid box_pose length: 6", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides + kIdentity + "abc",
       0,
       {"reply buffer too short when reading box_name length", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides + kIdentity + word(0x80000000),
       0,
       {"invalid box_name length: -2147483648", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides + kIdentity + text("sdk_box_1") + word(2) + "a",
       0,
       {"invalid parent_link_name length: 2", "failed to deserialize bounding box index: 0"}},
      {word(1) + kSides + kIdentity + text("sdk_box_") + text("l"),
       1,
       {"failed to parse sdk box tag from name: sdk_box_"}},
      {word(1) + kSides + kIdentity + text("sdk_box_2147483648") + text("l"),
       1,
       {"failed to parse sdk box tag from name: sdk_box_2147483648"}},
  };
  for (const auto& row : rows) {
    SdkLogCapture log;
    EXPECT_EQ(sdk::read_box_list(row.reply).size(), row.boxes);
    EXPECT_EQ(log.texts("error"), row.errors);
  }
}

TEST(Boxes, ThatAreNoneAreRefusedBeforeAnythingElse) {
  SdkLogCapture log;
  FakeNavigation navigation;
  navigation.drop_clients();
  std::vector<BoxInfo> boxes(6, example());
  boxes[0].box_size[2] = 0.0F;
  boxes[1].box_size[0] = std::nanf("");
  boxes[2].box_size[1] = kInfinity;
  boxes[3].parent_link_name.clear();
  boxes[4].box_pose.x = 1e39;  // Single precision does not hold it.
  boxes[5].box_pose.qw = 0.0;
  for (const BoxInfo& box : boxes) {
    EXPECT_EQ(navigation.add_bounding_box(box), NaviStatus::INVALID_INPUT);
    EXPECT_EQ(navigation.api().attach_box_to_link(box), NaviStatus::INVALID_INPUT);
  }
  EXPECT_EQ(log.texts("error").size(), 12U);
  EXPECT_TRUE(log.has("error", "invalid bounding box input"));
  EXPECT_TRUE(log.has("error", "invalid attach box input"));
}

TEST(Boxes, NeedTheirService) {
  SdkLogCapture log;
  FakeNavigation navigation;
  const auto all_fail = [&] {
    EXPECT_EQ(navigation.add_bounding_box(example()), NaviStatus::REQUEST_FAILED);
    EXPECT_EQ(navigation.remove_bounding_box(1), NaviStatus::REQUEST_FAILED);
    EXPECT_TRUE(navigation.get_bounding_box().empty());
    EXPECT_TRUE(navigation.box_client->calls().empty());
  };
  navigation.box_client->servers = 0;
  all_fail();
  navigation.drop_clients();
  all_fail();
  for (const std::string name : {"add", "remove", "get"}) {
    EXPECT_TRUE(log.has("error", "fusion " + name + " box server is not connected"));
    EXPECT_TRUE(log.has("error", "fusion " + name + " box client is not initialized"));
  }
}

}  // namespace
}  // namespace norvik::test
