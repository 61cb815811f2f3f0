#include "impl/wbc/targets/target_dispatcher.hpp"
#include "wbc_fixture.hpp"

namespace norvik::sdk {
namespace {

using tavrinox_proto::TavrinoXError;
using ::testing::_;
using ::testing::A;
using ::testing::ElementsAre;
using ::testing::Return;
using Target = tavrinox_proto::TavrinoXTarget;
using Writer = test::MockWriter<Target>;
using Client = test::MockClient<Target, TavrinoXError>;

struct DispatcherTest : ::testing::Test {
  test::WbcModules modules;
  TargetDispatcher dispatcher{modules.utils};
  std::shared_ptr<Target> target = std::make_shared<Target>();
  std::shared_ptr<Writer> writer = std::make_shared<Writer>();
  std::shared_ptr<Client> client = std::make_shared<Client>();
  test::SdkLogCapture log;

  void expect_publish(const TargetDispatcher& from, const std::shared_ptr<Target>& message, ControlStatus status,
                      const std::string& reason) {
    log.clear();
    EXPECT_EQ(from.publish_proto_target(message), status);
    EXPECT_THAT(log.texts("error"), ElementsAre("publish_proto_target failed: " + reason));
  }

  void expect_request(const TargetDispatcher& from, const std::shared_ptr<Target>& message, ControlStatus status,
                      const std::string& reason) {
    log.clear();
    const auto result = from.request_proto_target(message, std::chrono::seconds(5));
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.error, nullptr);
    EXPECT_THAT(log.texts("error"), ElementsAre("request_proto_target failed: " + reason));
  }
};

TEST_F(DispatcherTest, PublishingFailsByCauseInOrder) {
  const TargetDispatcher without_utils{nullptr};
  expect_publish(without_utils, nullptr, ControlStatus::INVALID_INPUT, "target is nullptr.");
  expect_publish(without_utils, target, ControlStatus::INIT_FAILED, "common_utils is nullptr.");
  expect_publish(dispatcher, target, ControlStatus::INIT_FAILED, "target writer is nullptr.");
  EXPECT_FALSE(modules.utils->publish_target(target));
  modules.writer = writer;  // created after the dispatcher, as at start-up
  EXPECT_CALL(*writer, Publish(target)).WillOnce(Return(false)).WillOnce(Return(true)).WillOnce(Return(true));
  expect_publish(dispatcher, target, ControlStatus::PUBLISH_FAIL, "writer publish returned false.");
  EXPECT_EQ(dispatcher.publish_proto_target(target), ControlStatus::SUCCESS);
  EXPECT_TRUE(modules.utils->publish_target(target));
}

TEST_F(DispatcherTest, RequestingFailsByCauseInOrder) {
  const TargetDispatcher without_utils{nullptr};
  expect_request(without_utils, nullptr, ControlStatus::INVALID_INPUT, "target is nullptr.");
  expect_request(without_utils, target, ControlStatus::INIT_FAILED, "common_utils is nullptr.");
  expect_request(dispatcher, target, ControlStatus::INIT_FAILED, "target client is nullptr.");
  modules.client = client;
  const auto answer = std::make_shared<TavrinoXError>();
  EXPECT_CALL(*client, SendRequest(A<std::shared_ptr<const Target>>(), std::chrono::seconds(5)))
      .WillOnce(Return(nullptr))
      .WillOnce(Return(answer));
  expect_request(dispatcher, target, ControlStatus::TIMEOUT, "request timed out or returned nullptr.");
  const auto result = dispatcher.request_proto_target(target, std::chrono::seconds(5));
  EXPECT_EQ(result.status, ControlStatus::SUCCESS);
  EXPECT_EQ(result.error, answer);
}

TEST_F(DispatcherTest, KeepsItsEndpointThroughAShutdownInTheMiddleOfTheCall) {
  std::weak_ptr<Client> watched = client;
  EXPECT_CALL(*client, SendRequest(A<std::shared_ptr<const Target>>(), _))
      .WillOnce([&](const std::shared_ptr<const Target>&, const std::chrono::seconds&) {
        std::atomic_store(&modules.client, TargetClientPtr());
        EXPECT_FALSE(watched.expired());
        return std::make_shared<TavrinoXError>();
      });
  modules.client = std::move(client);
  EXPECT_EQ(dispatcher.request_proto_target(target, std::chrono::seconds(1)).status, ControlStatus::SUCCESS);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace norvik::sdk
