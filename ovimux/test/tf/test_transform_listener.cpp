#include "ovimux/tf2_ovimux/transform_listener.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ovimux/node.hpp"
#include "tf_messages.hpp"

namespace norvik::ovimux::tf2_ovimux {
namespace {

using tf2_proto::TF2Message;

std::shared_ptr<TF2Message> bundle(std::initializer_list<spatial_proto::TransformMsg> transforms) {
  auto message = std::make_shared<TF2Message>();
  for (const auto& transform : transforms) {
    *message->add_transforms() = transform;
  }
  return message;
}

TEST(TransformListenerTest, WithoutANodeItSaysSoAndItsCallbacksStillFeed) {
  const auto buffer = make_buffer();
  ::testing::internal::CaptureStdout();
  TransformListener listener(buffer, nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "TransformListener node empty, create failed.\n");

  listener.dynamic_subscription_callback(nullptr);
  listener.dynamic_subscription_callback(
      bundle({make_transform("map", "map", 5), make_transform("map", "base", 5)}));  // The bad one is skipped.
  listener.static_subscription_callback(bundle({make_transform("base", "tool", 5)}));
  EXPECT_TRUE(buffer->canTransform("map", "tool", at(5)));
  EXPECT_TRUE(buffer->canTransform("base", "tool", at(6))) << "static frames hold at any time";
  EXPECT_FALSE(buffer->canTransform("map", "base", at(6)));
}

TEST(TransformListenerTest, FeedsFromTheTopicsAndDiesWhileTheyAreBusy) {
  const auto node = std::make_unique<Node>("tf_test_node", "");
  Qos latched;
  latched.opaque_5 = 5;
  latched.opaque_6 = 1;
  const auto static_writer = node->CreateWriter<TF2Message>("/ovimux_tf_static", latched);
  const auto dynamic_writer = node->CreateWriter<TF2Message>("/ovimux_tf", Qos());
  ASSERT_TRUE(static_writer && dynamic_writer);
  ASSERT_TRUE(static_writer->Publish(*bundle({make_transform("base", "tool", 0)})));  // Before anyone listens.

  std::atomic<bool> stop{false};
  std::thread publisher([&] {
    for (int64_t stamp = 1; !stop; ++stamp) {
      dynamic_writer->Publish(*bundle({make_transform("map", "base", stamp * 1000000)}));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  for (int round = 0; round < 5; ++round) {
    const auto buffer = make_buffer();
    const auto listener = std::make_unique<TransformListener>(buffer, node.get());
    EXPECT_TRUE(buffer->canTransform("map", "tool", at(0), milliseconds(10000))) << "round " << round;
  }
  stop = true;
  publisher.join();
}

}  // namespace
}  // namespace norvik::ovimux::tf2_ovimux
