#pragma once

#include "cli/options.hpp"

namespace norvik::tools {

// Each runs one verb to its end, prints its results, and returns the exit status.
int run(const CommonOptions& common, const TopicsOptions& options);
int run(const CommonOptions& common, const EchoOptions& options);
int run(const CommonOptions& common, const HzOptions& options);
int run(const CommonOptions& common, const DoctorOptions& options);

}  // namespace norvik::tools
