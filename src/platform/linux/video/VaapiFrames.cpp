#include "platform/linux/video/VaapiFrames.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace tevanto {
namespace {

constexpr int kPoolSize = 4;  // one being encoded, its reference, the next, and one to spare

Failure unavailable(int code) { return {"no VA-API device (" + libavErrorText(code) + ")"}; }

}  // namespace

Result<std::unique_ptr<VaapiFrames>> VaapiFrames::attach(AVCodecContext& context) {
  AVBufferRef* made = nullptr;
  if (const int code = av_hwdevice_ctx_create(&made, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0); code < 0) {
    return unavailable(code);
  }
  const LibavOwned<AVBufferRef> device(made);
  LibavOwned<AVBufferRef> frames(av_hwframe_ctx_alloc(device.get()));
  if (!frames) return Failure{"out of memory"};
  auto& description = *reinterpret_cast<AVHWFramesContext*>(frames->data);
  description.format = AV_PIX_FMT_VAAPI;
  description.sw_format = context.pix_fmt;
  description.width = context.width;
  description.height = context.height;
  description.initial_pool_size = kPoolSize;
  if (const int code = av_hwframe_ctx_init(frames.get()); code < 0) return unavailable(code);
  context.pix_fmt = AV_PIX_FMT_VAAPI;
  context.hw_frames_ctx = av_buffer_ref(frames.get());
  return std::unique_ptr<VaapiFrames>(new VaapiFrames(std::move(frames)));
}

LibavOwned<AVFrame> VaapiFrames::upload(const AVFrame& picture) const {
  LibavOwned<AVFrame> uploaded(av_frame_alloc());
  if (!uploaded || av_hwframe_get_buffer(frames_.get(), uploaded.get(), 0) < 0) return nullptr;
  if (av_hwframe_transfer_data(uploaded.get(), &picture, 0) < 0) return nullptr;
  if (av_frame_copy_props(uploaded.get(), &picture) < 0) return nullptr;
  return uploaded;
}

}  // namespace tevanto
