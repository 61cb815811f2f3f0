#include "ovimux/base/client_base.hpp"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"

namespace norvik::ovimux {

WriterBase::~WriterBase() = default;
ReaderBase::~ReaderBase() = default;
ClientBase::~ClientBase() = default;

}  // namespace norvik::ovimux
