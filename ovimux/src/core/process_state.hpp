#pragma once

namespace norvik::ovimux {

// Runs `handler` once when exit() begins, before the destructors of any object that was made earlier. Called with the
// first participant, when Fast DDS has made its own statics, so that the handler runs before they are gone. A handler
// that takes longer than 5 s is given up, and with it every later step of exit(): the process ends with its status.
void register_exit_handler(void (*handler)());

// True once exit() has begun. Waits of destructors become bounded then.
bool process_is_exiting();

}  // namespace norvik::ovimux
