#pragma once

#include <fastdds/rtps/common/Guid.h>

namespace norvik::ovimux {

// What a listener remembers of the DDS entity that calls it, besides what the entity tells it: the entity may be
// replaced. Listeners that remember something derive from this as well.
class EntityState {
 public:
  virtual ~EntityState() = default;

  // The entity is gone, and with it all its matches. The one that replaces it is not there yet.
  virtual void on_entity_gone() = 0;
  // A writer's name on the wire. Readers are made after the writers, so this comes before the first answer.
  virtual void on_writer_made(const eprosima::fastrtps::rtps::GUID_t& /*guid*/) {}
};

}  // namespace norvik::ovimux
