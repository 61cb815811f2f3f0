#pragma once

namespace norvik::sdk::exit_gate {

// Keeps a detached thread that works with libcurl and OpenSSL apart from the end of the process. exit() takes those
// libraries down while other threads run on, and whoever is inside them then crashes the process. A gated thread is
// therefore given a moment to step aside before that: exit handlers run in the reverse order of their registration, so
// the gate's comes first when it is registered after the libraries'. Set them up before the first enter().

// Makes room for one thread that is about to start. False when the process already ends: do not start it then.
bool enter();

// Takes that room for the calling thread; the first thing that it does.
void adopt();

// The calling thread will not touch those libraries any more. Does nothing on a thread that is not inside.
void leave();

// Between two steps that end by themselves: once the process ends, a thread that is inside does not go on from here.
void stop_here_at_exit();

}  // namespace norvik::sdk::exit_gate
