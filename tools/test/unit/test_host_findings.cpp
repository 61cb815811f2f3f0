// What the doctor makes of the machine it runs on.
#include <fcntl.h>
#include <sys/file.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "doctor/host_findings.hpp"
#include "host/file_descriptor.hpp"
#include "support/temp_dir.hpp"

namespace norvik::tools {
namespace {

using ::testing::HasSubstr;

HostFacts healthy() {
  HostFacts facts;
  facts.first_ephemeral_port = 32768;
  facts.interfaces = {{"lo", "127.0.0.1", true, true, false, false}, {"eth0", "10.0.0.2", false, true, true, true}};
  facts.shared_memory = {true, 1U << 30U, 0, 0, 0};
  facts.receive_buffer_limit = facts.send_buffer_limit = 4 << 20;
  return facts;
}

TEST(HostFindings, one_fault_gives_one_finding_with_its_remedy) {
  struct Case {
    const char* name;
    void (*harm)(HostFacts& facts, RunSettings& settings);
    Level level;
    const char* text;
    const char* remedy;
  };
  const Case cases[] = {
      {"domain text", [](HostFacts& f, RunSettings&) { f.domain_text = "7x"; }, Level::kProblem, "\"7x\"", "unset OVI"},
      {"domain range", [](HostFacts& f, RunSettings&) { f.domain_text = "233"; }, Level::kProblem, "233", "unset"},
      {"localhost", [](HostFacts& f, RunSettings&) { f.localhost_text = "yes"; }, Level::kProblem, "\"yes\"", "unset"},
      {"ports", [](HostFacts&, RunSettings& s) { s.domain = 102; }, Level::kWarning, "may be taken",
       "OVIMUX_DOMAIN_ID"},
      {"loopback down", [](HostFacts& f, RunSettings&) { f.interfaces[0].is_up = false; }, Level::kProblem,
       "lo 127.0.0.1 is down", "sudo ip link set dev lo up"},
      {"no loopback", [](HostFacts& f, RunSettings&) { f.interfaces.erase(f.interfaces.begin()); }, Level::kProblem,
       "no loopback", "sudo ip link set dev lo up"},
      {"no network", [](HostFacts& f, RunSettings&) { f.interfaces.pop_back(); }, Level::kWarning, "no network", "ip"},
      {"multicast off", [](HostFacts& f, RunSettings&) { f.interfaces[1].has_multicast = false; }, Level::kWarning,
       "eth0", "sudo ip link set dev eth0 multicast on"},
      {"multicast lost", [](HostFacts& f, RunSettings&) { f.interfaces[1].multicast_arrives = false; }, Level::kWarning,
       "does not deliver", "sudo ip route add 224.0.0.0/4 dev eth0"},
      {"no shared memory", [](HostFacts& f, RunSettings&) { f.shared_memory.is_usable = false; }, Level::kWarning,
       "by UDP", "sudo mount"},
      {"little shared memory", [](HostFacts& f, RunSettings&) { f.shared_memory.free_bytes = 64U << 20U; },
       Level::kWarning, "64 MB free", "sudo mount -o remount"},
      {"stale", [](HostFacts& f, RunSettings&) { f.shared_memory.stale_segments = 3; }, Level::kWarning, "3 segments",
       "rm -f"},
      {"foreign", [](HostFacts& f, RunSettings&) { f.shared_memory.foreign_segments = 1; }, Level::kWarning,
       "another user", "same user"},
      {"receive buffer", [](HostFacts& f, RunSettings&) { f.receive_buffer_limit = 212992; }, Level::kWarning,
       "rmem_max is 212992", "sudo sysctl -w net.core.rmem_max=4194304"},
      {"send buffer", [](HostFacts& f, RunSettings&) { f.send_buffer_limit = 0; }, Level::kWarning, "cannot be read",
       "sysctl net.core.wmem_max"},
  };
  EXPECT_EQ(count(judge_host(healthy(), {}), Level::kOk), static_cast<int>(judge_host(healthy(), {}).size()));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    HostFacts facts = healthy();
    RunSettings settings;
    c.harm(facts, settings);
    Findings found;
    for (const Finding& finding : judge_host(facts, settings)) {
      if (finding.level != Level::kOk) {
        found.push_back(finding);
      }
    }
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].level, c.level);
    EXPECT_THAT(found[0].text, HasSubstr(c.text));
    EXPECT_THAT(found[0].remedy, HasSubstr(c.remedy));
  }
}

TEST(HostFindings, a_local_run_needs_no_network) {
  HostFacts facts = healthy();
  facts.interfaces[1].multicast_arrives = false;
  EXPECT_EQ(count(judge_interfaces(facts.interfaces, {0, true}), Level::kWarning), 0);
  facts.interfaces.pop_back();
  EXPECT_EQ(count(judge_interfaces(facts.interfaces, {0, true}), Level::kWarning), 0);
}

TEST(SharedMemory, a_segment_is_stale_when_nobody_holds_its_lock) {
  const test::TempDir folder;
  for (const char* name : {"fastrtps_0000000000000001", "fastrtps_0000000000000002", "unrelated"}) {
    std::ofstream(folder / name) << "12345";
  }
  for (const char* name :
       {"fastrtps_0000000000000001_el", "fastrtps_0000000000000002_el", "fastrtps_port7411_el", "unrelated_el"}) {
    std::ofstream(folder / name).flush();
  }
  const FileDescriptor held(::open((folder / "fastrtps_0000000000000001_el").c_str(), O_RDONLY));
  ASSERT_EQ(::flock(held.get(), LOCK_EX), 0);
  const SharedMemoryFacts facts = read_shared_memory(folder.path());
  EXPECT_TRUE(facts.is_usable);
  EXPECT_EQ(facts.stale_segments, 1);
  EXPECT_EQ(facts.stale_bytes, 5U);
  EXPECT_EQ(facts.foreign_segments, 0);
  EXPECT_FALSE(read_shared_memory(folder / "missing").is_usable);
}

}  // namespace
}  // namespace norvik::tools
