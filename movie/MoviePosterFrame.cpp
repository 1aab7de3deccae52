#include "movie/MoviePosterFrame.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <vector>

namespace qrl {

namespace {

// Packets to read looking for the first picture before giving up, so that a
// file whose video never decodes cannot keep us reading to its end.
constexpr int kMaximumPackets = 512;

struct FormatClose {
  void operator()(AVFormatContext* f) const { avformat_close_input(&f); }
};
struct CodecFree {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct PacketFree {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct FrameFree {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct ScaleFree {
  void operator()(SwsContext* s) const { sws_freeContext(s); }
};

std::optional<graphics::Image> toImage(const AVFrame& frame) {
  const int w = frame.width;
  const int h = frame.height;
  if (w <= 0 || h <= 0 || w > graphics::Image::kMaximumDimension ||
      h > graphics::Image::kMaximumDimension || int64_t{w} * h > MoviePosterFrame::kMaximumPixels) {
    return std::nullopt;
  }
  std::unique_ptr<SwsContext, ScaleFree> scale(
      sws_getContext(w, h, static_cast<AVPixelFormat>(frame.format), w, h, AV_PIX_FMT_RGBA,
                     SWS_BILINEAR, nullptr, nullptr, nullptr));
  if (!scale)
    return std::nullopt;
  std::vector<uint8_t> rgba(static_cast<size_t>(w) * static_cast<size_t>(h) * 4);
  uint8_t* planes[4] = {rgba.data(), nullptr, nullptr, nullptr};
  int strides[4] = {w * 4, 0, 0, 0};
  if (sws_scale(scale.get(), frame.data, frame.linesize, 0, h, planes, strides) != h)
    return std::nullopt;
  return graphics::Image::fromRGBA(w, h, rgba, graphics::AlphaMode::Straight);
}

}  // namespace

std::optional<graphics::Image> MoviePosterFrame::firstVideoFrame(
    const std::filesystem::path& path) {
  AVFormatContext* raw = nullptr;
  if (avformat_open_input(&raw, path.c_str(), nullptr, nullptr) < 0)
    return std::nullopt;
  std::unique_ptr<AVFormatContext, FormatClose> format(raw);
  if (avformat_find_stream_info(format.get(), nullptr) < 0)
    return std::nullopt;
  const AVCodec* codec = nullptr;
  int stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (stream < 0 || codec == nullptr)
    return std::nullopt;
  std::unique_ptr<AVCodecContext, CodecFree> context(avcodec_alloc_context3(codec));
  if (!context ||
      avcodec_parameters_to_context(context.get(), format->streams[stream]->codecpar) < 0) {
    return std::nullopt;
  }
  context->thread_count = 1;
  if (avcodec_open2(context.get(), codec, nullptr) < 0)
    return std::nullopt;

  std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
  std::unique_ptr<AVFrame, FrameFree> frame(av_frame_alloc());
  if (!packet || !frame)
    return std::nullopt;
  bool draining = false;
  for (int packets = 0; packets < kMaximumPackets;) {
    if (!draining) {
      int read = av_read_frame(format.get(), packet.get());
      if (read < 0) {
        draining = true;
        avcodec_send_packet(context.get(), nullptr);
      } else {
        ++packets;
        bool ours = packet->stream_index == stream;
        int sent = ours ? avcodec_send_packet(context.get(), packet.get()) : 0;
        av_packet_unref(packet.get());
        if (sent < 0 && sent != AVERROR(EAGAIN))
          return std::nullopt;
        if (!ours)
          continue;
      }
    }
    int received = avcodec_receive_frame(context.get(), frame.get());
    if (received == 0)
      return toImage(*frame);
    if (received != AVERROR(EAGAIN) || draining)
      return std::nullopt;  // end of stream or a decoding error
  }
  return std::nullopt;
}

}  // namespace qrl
