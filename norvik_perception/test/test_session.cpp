// Commands, refusals and mailboxes of a session whose endpoints are fakes.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <vector>

#include "impl/norvik_perception_k2.hpp"
#include "ovimux/ovimux.hpp"
#include "support/fake_endpoints.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using perception_proto::CommandReply;
using perception_proto::ServerCommand;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr auto kNoModule = static_cast<PerceptionModule>(7);

class FakePerception : public sdk::k2::NorvikPerceptionK2 {
 public:
  explicit FakePerception(bool ready = true) : NorvikPerceptionK2("eye") {
    ovimux::OvimuxInitInternal();  // Waits end at once while the middleware is not running.
    command_client_ = client;
    initialized_ = ready;
  }

  void bring_result(PerceptionModule module = LIGHT_STEREO) {
    const auto message = std::make_shared<ResultMessage>();
    message->add_poses();
    update_result(module, message);
  }

  const std::shared_ptr<FakeClient<ServerCommand, CommandReply>> client =
      std::make_shared<FakeClient<ServerCommand, CommandReply>>();
};

TEST(Commands, NameTheModuleAndAreRepeated) {
  FakePerception perception;
  SdkLogCapture log;
  int unanswered = 4;
  perception.client->reply = [&](const auto&) -> std::shared_ptr<CommandReply> {
    if (unanswered-- > 0) return nullptr;
    auto reply = std::make_shared<CommandReply>();
    reply->set_model_name("m");
    reply->set_task_name("t");
    reply->set_status(-3);  // Whatever it is.
    return reply;
  };
  EXPECT_TRUE(perception.run_once(LIGHT_STEREO));
  EXPECT_TRUE(log.has("warning", "RPC run_once SendRequest failed (null reply), attempt 4"));
  EXPECT_TRUE(log.has("info", "RPC run_once success, reply modelname: m taskname: t status: -3 (attempt 5)"));
  const auto calls = perception.client->calls();
  ASSERT_EQ(calls.size(), 5U);
  EXPECT_EQ(calls[4].timeout, std::chrono::seconds(2));
  EXPECT_EQ(calls[4].request.ShortDebugString(),
            R"(model_name: "FOUNDATION_STEREO" command: "run_once" task_name: "light_stereo" )"
            R"(camera_name: "eye" task_id: "LIGHT_STEREO_TASK_ID")");

  unanswered = 6;
  EXPECT_FALSE(perception.run_once(FOUNDATION_STEREO));
  EXPECT_TRUE(log.has("error", "RPC run_once SendRequest failed after 5 attempts (null reply)"));
  EXPECT_EQ(perception.client->calls().size(), 10U);
  EXPECT_EQ(perception.client->calls()[9].request.task_id(), "FOUNDATION_STEREO_TASK_ID");
}

TEST(Refusals, ComeInOneOrder) {
  const struct {
    bool ready;
    PerceptionModule module;
    double timeout_s;
    const char* run_once;  // What each operation records; empty where it goes on.
    const char* wait;
    const char* get;
  } cases[] = {
      {false, kNoModule, -1.0, "send_command: not initialized", "wait_for_new_result: not initialized",
       "get_latest_result: not initialized"},
      {true, kNoModule, -1.0, "send_command: module not found in config map",
       "wait_for_new_result: module not registered", "get_latest_result: module not registered"},
      {true, LIGHT_STEREO, -0.5, "", "wait_for_new_result: invalid timeout_s -0.5", ""},
      {true, LIGHT_STEREO, std::nan(""), "", "wait_for_new_result: invalid timeout_s nan", ""},
  };
  for (const auto& [ready, module, timeout_s, run_once, wait, get] : cases) {
    FakePerception perception(ready);
    const std::vector<std::string> nothing;
    const auto texts = [](const std::string& text) {
      return text.empty() ? std::vector<std::string>{} : std::vector<std::string>{text};
    };
    SdkLogCapture log;
    EXPECT_EQ(perception.run_once(module), *run_once == '\0');
    EXPECT_EQ(log.texts("error"), texts(run_once));
    log.clear();
    EXPECT_FALSE(perception.wait_for_new_result(module, timeout_s));
    EXPECT_EQ(log.texts("error"), texts(wait));
    log.clear();
    DetectionResult out;
    out.frame_id = "as before";
    EXPECT_FALSE(perception.get_latest_result(module, out));
    EXPECT_EQ(out.frame_id, "as before");
    EXPECT_EQ(log.texts("error"), texts(get));
  }
  SdkLogCapture log;
  FakePerception perception;
  perception.bring_result(kNoModule);
  EXPECT_TRUE(log.has("error", "update_result: module not registered"));
}

TEST(Mailbox, HoldsTheNewestResultOnceAsNewsAndAlwaysToRead) {
  FakePerception perception;
  SdkLogCapture log;
  EXPECT_FALSE(perception.wait_for_new_result(LIGHT_STEREO, 0.0));
  EXPECT_TRUE(log.has("warning", "wait: timed out waiting for module 1"));
  const auto start = steady_clock::now();
  EXPECT_FALSE(perception.wait_for_new_result(LIGHT_STEREO, 0.1));
  EXPECT_GE(steady_clock::now() - start, milliseconds(100));

  perception.bring_result();
  perception.bring_result();
  EXPECT_TRUE(perception.wait_for_new_result(LIGHT_STEREO, 0.0));
  EXPECT_FALSE(perception.wait_for_new_result(LIGHT_STEREO, 0.0));
  EXPECT_FALSE(perception.wait_for_new_result(FOUNDATION_STEREO, 0.0));
  DetectionResult out;
  perception.bring_result();
  EXPECT_TRUE(perception.get_latest_result(LIGHT_STEREO, out));
  EXPECT_TRUE(perception.get_latest_result(LIGHT_STEREO, out));
  EXPECT_TRUE(perception.wait_for_new_result(LIGHT_STEREO, 1e300));
}

// Results come so fast that waiters, results and time-outs meet in every order. A result that was replaced before
// anybody took it is news to nobody, so the results are counted as they are taken.
TEST(Mailbox, GivesEachResultToOneWaiter) {
  constexpr int kResults = 300;
  FakePerception perception;
  std::atomic<int> taken{0};
  std::atomic<bool> over{false};
  const auto wait = [&] {
    while (!over) taken += perception.wait_for_new_result(LIGHT_STEREO, 0.01) ? 1 : 0;
  };
  auto first = std::async(std::launch::async, wait);
  auto second = std::async(std::launch::async, wait);
  for (int i = 0; i < kResults; ++i) {
    perception.bring_result();
    const auto deadline = steady_clock::now() + std::chrono::seconds(5);
    while (taken == i && steady_clock::now() < deadline) std::this_thread::yield();
    ASSERT_EQ(taken, i + 1);
  }
  over = true;
  first.get();
  second.get();
  EXPECT_EQ(taken, kResults);
}

}  // namespace
}  // namespace norvik::test
