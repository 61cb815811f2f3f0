#pragma once

namespace norvik::tools {

// From now on SIGINT, SIGTERM and SIGHUP ask the tool to end in good order; the second of a kind ends it at once. A
// reader of the output that goes away is noticed when writing.
void watch_signals();

bool is_interrupted();

// 128 and the number of the signal, as a shell reports it. Only when interrupted.
int interrupted_status();

}  // namespace norvik::tools
