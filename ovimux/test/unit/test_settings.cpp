#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "dds/participant.hpp"
#include "ovimux/dds/callback_gate.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "support/eventually.hpp"
#include "support/log_capture.hpp"

namespace norvik::ovimux {
namespace {

using test::eventually;
using test::Gate;
using test::LogCapture;

TEST(ParticipantSettings, TakeTheDefaultForWhatMakesNoSense) {
  const std::string domain_text = ", expected 0 to 232: using 0";
  const std::string localhost_text = ", expected 0 or 1: using 0";
  const struct {
    const char* domain_id;
    const char* localhost_only;
    int domain;
    bool localhost;
    std::vector<std::string> errors;
  } cases[] = {
      {nullptr, nullptr, 0, false, {}},
      {"", "", 0, false, {}},
      {"0", "0", 0, false, {}},
      {"232", "1", 232, true, {}},
      {"233",
       "2",
       0,
       false,
       {"OVIMUX_DOMAIN_ID is \"233\"" + domain_text, "OVIMUX_LOCALHOST_ONLY is \"2\"" + localhost_text}},
      {"-1",
       "yes",
       0,
       false,
       {"OVIMUX_DOMAIN_ID is \"-1\"" + domain_text, "OVIMUX_LOCALHOST_ONLY is \"yes\"" + localhost_text}},
      {"7x", "1", 0, true, {"OVIMUX_DOMAIN_ID is \"7x\"" + domain_text}},
      {"99999999999999999999", "0", 0, false, {"OVIMUX_DOMAIN_ID is \"99999999999999999999\"" + domain_text}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.domain_id != nullptr ? c.domain_id : "unset");
    const LogCapture log;
    const auto settings = parse_participant_settings(c.domain_id, c.localhost_only);
    EXPECT_EQ(c.domain, settings.domain_id);
    EXPECT_EQ(c.localhost, settings.localhost_only);
    EXPECT_EQ(c.errors, log.texts(kError));
  }
}

TEST(ParticipantSettings, UseSharedMemoryOnlyWhereItFits) {
  const struct {
    uint64_t free_bytes;
    size_t transports;
    int warnings;
  } cases[] = {{0, 1, 1}, {64ULL << 20U, 1, 1}, {(64ULL << 20U) + 1, 2, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.free_bytes);
    const LogCapture log;
    const auto qos = make_participant_qos({0, true}, c.free_bytes);
    EXPECT_EQ(c.transports, qos.transport().user_transports.size());
    EXPECT_EQ(c.warnings, log.count(kWarning, "/dev/shm has " + std::to_string(c.free_bytes) + " bytes free"));
  }
  EXPECT_EQ(1U, make_participant_qos({0, true}, 0).wire_protocol().builtin.initialPeersList.size());
  EXPECT_EQ(2U, make_participant_qos({0, false}, 0).wire_protocol().builtin.initialPeersList.size());
}

TEST(ParticipantSettings, AvoidThePortsOfTheDead) {
  std::set<std::string> taken;
  const auto exists = [&taken](const std::string& path) { return taken.count(path) != 0; };
  for (int i = 0; i < 56; ++i) {
    const int id = choose_participant_id(3, exists);
    EXPECT_TRUE(taken.insert("/dev/shm/fastrtps_port" + std::to_string(8160 + 2 * id)).second) << id;
  }
  EXPECT_EQ("/dev/shm/fastrtps_port8160", *taken.begin());
  EXPECT_LT(choose_participant_id(3, exists), 56) << "a default when every port has been used";
}

TEST(DDSTools, DerivesThePolicyFromFewMembers) {
  const struct {
    int payload_kind, opaque_3, opaque_6, opaque_26;
    bool large, latched;
    int depth;
  } cases[] = {{0, 0, 0, 0, false, false, 100},     {6, 0, 0, 0, true, false, 8},  {5, 0, 0, 0, false, false, 100},
               {0, 1, 0, 0, false, true, 1},        {0, 5, 0, 0, false, true, 1},  {6, 0, 1, 0, true, true, 1},
               {6, 0, 0, 300, true, false, 300},    {0, 0, 0, 1, false, false, 1}, {6, 0, 0, -1, true, false, 8},
               {6, 0, 0, 99999, true, false, 1000}, {0, 1, 0, 300, false, true, 1}};
  for (const auto& c : cases) {
    Qos qos;
    qos.payload_kind = c.payload_kind;
    qos.opaque_3 = c.opaque_3;
    qos.opaque_6 = c.opaque_6;
    qos.opaque_26 = c.opaque_26;
    const auto policy = DDSTools::PolicyOf(qos);
    EXPECT_EQ(std::tie(c.large, c.latched, c.depth), std::tie(policy.large, policy.latched, policy.depth));
  }
  RpcQos rpc_qos;
  rpc_qos.payload_kind = kLargePayloadKind;
  Qos request;
  Qos response;
  DDSTools::Instance()->TransformQos(rpc_qos, request, response);
  EXPECT_TRUE(DDSTools::PolicyOf(request).large && DDSTools::PolicyOf(response).large);
}

TEST(CallbackGate, CloseWaitsForOtherThreadsAndLetsNobodyIn) {
  CallbackGate gate;
  Gate leave;
  std::atomic<bool> inside{false};
  std::atomic<bool> closed{false};
  std::thread callback([&] {
    const CallbackGate::Pass pass(gate);
    inside = static_cast<bool>(pass);
    leave.wait();
    EXPECT_FALSE(closed);
  });
  ASSERT_TRUE(eventually([&] { return inside.load(); }));
  std::thread owner([&] {
    gate.close();
    closed = true;
  });
  EXPECT_TRUE(eventually([&] { return !CallbackGate::Pass(gate); }));
  leave.open();
  callback.join();
  owner.join();
}

TEST(CallbackGate, ACallbackMayCloseItsOwnGate) {
  CallbackGate gate;
  const CallbackGate::Pass pass(gate);
  ASSERT_TRUE(pass);
  gate.close();
  EXPECT_FALSE(CallbackGate::Pass(gate));
}

}  // namespace
}  // namespace norvik::ovimux
