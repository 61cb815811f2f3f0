// Looks for reasons why nothing, or not everything, arrives.
#include <fastrtps/config.h>
#include <fmt/format.h>
#include <google/protobuf/stubs/common.h>

#include <norvik_sdk/version.hpp>

#include <nlohmann/json.hpp>

#include "cli/output.hpp"
#include "doctor/examination.hpp"
#include "doctor/host_findings.hpp"
#include "network/network.hpp"
#include "ovimux/ovimux.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

Finding versions() {
  return {Level::kOk, "versions",
          fmt::format("norvik_sdk {}, ovimux {}, Fast DDS {}, Protocol Buffers {}", NORVIK_SDK_VERSION,
                      ovimux::kOvimuxBuildVersion, FASTRTPS_VERSION_STR,
                      google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION)),
          ""};
}

}  // namespace

int run(const CommonOptions& common, const DoctorOptions& options) {
  ovimux::Logger::getInstance().set_log_level(ovimux::kLogOff);  // The findings say it, with a remedy.
  Findings findings = {versions()};
  for (const Findings& part : {judge_host(read_host_facts(), {effective_domain(common), is_local(common)}),
                               examine_network(common, options.model)}) {
    findings.insert(findings.end(), part.begin(), part.end());
  }
  if (common.json) {
    print_json(to_json(findings));
  } else {
    print_text(to_text(findings));
  }
  return count(findings, Level::kProblem) > 0 ? kFailure : kSuccess;
}

}  // namespace norvik::tools
