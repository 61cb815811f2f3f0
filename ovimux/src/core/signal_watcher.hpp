#pragma once

namespace norvik::ovimux {

// Installs handling of SIGINT and SIGTERM, each only where the application left the default. The first signal makes a
// helper thread run `on_signal`; a second one ends the process in the default way.
void watch_termination_signals(void (*on_signal)());

}  // namespace norvik::ovimux
