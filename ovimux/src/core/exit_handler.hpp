#pragma once

namespace norvik::ovimux {

// Makes exit() shut the middleware down and close DDS, once, before it destroys any object that was made earlier than
// this call; so it may be called again and again. A closing that takes too long is given up, and with it every later
// step of exit(): the process ends with its status.
void register_exit_handler();

// A forked child has neither the threads nor the connections. What it inherited belongs to its parent, locks included,
// which may have been held at that moment: what the child destroys is left as it is.
bool in_forked_child();

// True once exit() has begun. Waits of destructors become bounded then.
bool process_is_exiting();

}  // namespace norvik::ovimux
