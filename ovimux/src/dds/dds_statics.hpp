#pragma once

namespace norvik::ovimux {

// Makes static objects of Fast DDS that it would else make with the first participant. The exit handler that is
// registered next runs before they are destroyed, and so waits for a participant that another thread is just making.
void make_dds_statics();

}  // namespace norvik::ovimux
