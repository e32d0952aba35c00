#include "platform/linux/x11/capture/DescriptorWatch.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <utility>

#include "core/queue/EventLoopCore.h"

namespace tevanto {

struct DescriptorWatch::Stream {
  Stream(EventLoopQueue& queue, int fd) : strand(queue.strand()), descriptor(queue.context(), fd) {}

  EventLoopQueue::Strand strand;
  boost::asio::posix::stream_descriptor descriptor;
  bool ended = false;
};

DescriptorWatch::DescriptorWatch(SerialQueue& queue, int descriptor)
    : stream_(std::make_shared<Stream>(EventLoopQueue::from(queue), descriptor)) {}

DescriptorWatch::~DescriptorWatch() {
  stream_->ended = true;
  stream_->descriptor.release();
}

void DescriptorWatch::whenReadable(std::function<void()> work) {
  stream_->descriptor.async_wait(
      boost::asio::posix::stream_descriptor::wait_read,
      boost::asio::bind_executor(
          stream_->strand, [stream = stream_, work = std::move(work)](const boost::system::error_code&) {
            // An error means that the descriptor is gone or broken, which reading it tells.
            if (!stream->ended) work();
          }));
}

}  // namespace tevanto
