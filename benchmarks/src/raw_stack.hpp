#pragma once

#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <functional>
#include <memory>
#include <string>

#include "ovimux/dds/envelope.hpp"

namespace norvik::benchmarks {

// A bare Fast DDS participant with the transports and endpoint quality of the middleware.
class RawParticipant {
 public:
  RawParticipant();

  using OnSample = std::function<void(const ovimux::Envelope&, const eprosima::fastdds::dds::SampleInfo&)>;
  eprosima::fastdds::dds::DataWriter* create_writer(const std::string& topic, bool large);
  // `on_sample` runs on the DDS thread.
  eprosima::fastdds::dds::DataReader* create_reader(const std::string& topic, bool large, OnSample on_sample);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace norvik::benchmarks
