#include "platform/linux/x11/capture/DescriptorWatch.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <utility>

#include "core/queue/EventLoopCore.h"

namespace tevanto {

struct DescriptorWatch::Core {
  Core(EventLoopQueue& queue, int fd) : strand(queue.strand()), descriptor(queue.context(), fd) {}

  EventLoopQueue::Strand strand;
  boost::asio::posix::stream_descriptor descriptor;
  bool ended = false;
};

DescriptorWatch::DescriptorWatch(SerialQueue& queue, int descriptor)
    : core_(std::make_shared<Core>(EventLoopQueue::from(queue), descriptor)) {}

DescriptorWatch::~DescriptorWatch() {
  core_->ended = true;
  core_->descriptor.release();
}

void DescriptorWatch::whenReadable(std::function<void()> work) {
  core_->descriptor.async_wait(
      boost::asio::posix::stream_descriptor::wait_read,
      boost::asio::bind_executor(core_->strand,
                                 [core = core_, work = std::move(work)](const boost::system::error_code&) {
                                   // An error means that the descriptor is gone or broken, which reading it
                                   // tells.
                                   if (!core->ended) work();
                                 }));
}

}  // namespace tevanto
