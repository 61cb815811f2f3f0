#pragma once

namespace norvik::ovimux {

// Makes the thread that does what a shutdown asks for, and installs handling of SIGINT and SIGTERM, each only where the
// application left the default. The thread calls `on_event` for the first wake-up and for the first signal; a second
// signal ends the process in the default way.
void start_shutdown_thread(void (*on_event)(bool by_signal));

void wake_shutdown_thread();
bool on_shutdown_thread();

// True once one of the signals has come.
bool termination_signalled();

}  // namespace norvik::ovimux
