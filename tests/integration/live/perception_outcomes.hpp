#pragma once

#include <string>
#include <vector>

namespace norvik::test {

// What the operations of the perception facade tell in one situation, asked for in their order.
struct PerceptionOutcome {
  std::string situation;
  std::string fault;  // for the simulator, as JSON; empty for none
  bool foundation;    // asks the module that was not loaded
  bool run_once;
  bool wait_for_new_result;
  bool get_latest_result;
  std::string record;  // among the warnings and errors of the three; empty when there are none
  // Of the result.
  size_t least_points;
  size_t most_points;
  bool has_poses;
  bool poses_are_identity;
  bool has_mask;
};

// The light module has been loaded, and has given a result before.
inline std::vector<PerceptionOutcome> perception_outcomes() {
  const std::string topic = R"({"op":"topic","topic":"/norvik_perception/stereo_depth","fault":)";
  const std::string reply = R"({"op":"reply","service":"/norvik_perception/command","fault":)";
  constexpr size_t kFew = 1'000, kSome = 200'000, kMany = 1'000'000;
  const char* const kNoResult = "wait: timed out waiting for module 1";
  return {
      {"all is well", "", false, true, true, true, "", kFew, kSome, true, false, true},
      {"first reply lost", reply + R"("lose"})", false, true, true, true,
       "RPC run_once SendRequest failed (null reply), attempt 1", kFew, kSome, true, false, true},
      {"every reply lost", reply + R"("lose","count":-1})", false, false, true, true,
       "RPC run_once SendRequest failed after 5 attempts (null reply)", kFew, kSome, true, false, true},
      {"request refused", reply + R"("reject"})", false, true, false, true, kNoResult, kFew, kSome, true, false, true},
      {"module not loaded", "", true, true, false, false, "wait: timed out waiting for module 0", 0, 0, false, false,
       false},
      {"no result", topic + R"("silent"})", false, true, false, true, kNoResult, kFew, kSome, true, false, true},
      {"bytes that are no result", topic + R"("malformed"})", false, true, true, false,
       "No header in perception result message", 0, 0, false, false, false},
      {"late result", topic + R"("delay","delay_ms":700})", false, true, true, true, "", kFew, kSome, true, false,
       true},
      {"empty result", topic + R"("empty"})", false, true, true, false, "", 0, 0, false, false, false},
      {"wrong matrix size, unknown encoding", topic + R"("mislabel"})", false, true, true, true,
       "Invalid matrix dimensions (expected 4x4, got 5x4)", kFew, kSome, true, true, false},
      {"fewer pixels than told", topic + R"("wrong_size"})", false, true, true, true,
       "parse_proto_image: size does not fit", kFew, kSome, true, false, false},
      {"numbers that are none", topic + R"("corrupt"})", false, true, true, true, "", kFew, kSome, true, false, true},
      {"huge cloud", topic + R"("huge"})", false, true, true, true, "", kSome, kMany, true, false, true},
  };
}

}  // namespace norvik::test
