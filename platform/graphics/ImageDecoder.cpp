#include "platform/graphics/ImageDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "platform/base/Exception.h"

namespace qrl::graphics {

namespace {

// How many packets to read looking for a picture before giving up: an image
// file yields one at once, garbage that probes as a stream may yield none.
constexpr int kMaximumPackets = 64;
constexpr int kIOBufferSize = 32 * 1024;

struct MemoryReader {
  const uint8_t* data;
  size_t size;
  size_t position = 0;
};

int readMemory(void* opaque, uint8_t* buffer, int size) {
  auto* reader = static_cast<MemoryReader*>(opaque);
  const size_t left = reader->size - reader->position;
  if (left == 0)
    return AVERROR_EOF;
  const size_t n = std::min(left, static_cast<size_t>(std::max(size, 0)));
  std::memcpy(buffer, reader->data + reader->position, n);
  reader->position += n;
  return static_cast<int>(n);
}

int64_t seekMemory(void* opaque, int64_t offset, int whence) {
  auto* reader = static_cast<MemoryReader*>(opaque);
  const auto size = static_cast<int64_t>(reader->size);
  if (whence & AVSEEK_SIZE)
    return size;
  int64_t target = 0;
  switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
      target = offset;
      break;
    case SEEK_CUR:
      target = static_cast<int64_t>(reader->position) + offset;
      break;
    case SEEK_END:
      target = size + offset;
      break;
    default:
      return AVERROR(EINVAL);
  }
  if (target < 0 || target > size)
    return AVERROR(EINVAL);
  reader->position = static_cast<size_t>(target);
  return target;
}

std::string errorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

[[noreturn]] void fail(const std::string& why) {
  throw Exception::parse("image data cannot be decoded: " + why);
}

struct IOContextFree {
  void operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
  }
};
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

// Receives one decoded frame, if the decoder has one ready.
bool receive(AVCodecContext* codec, AVFrame* frame) {
  const int status = avcodec_receive_frame(codec, frame);
  if (status == 0)
    return true;
  if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
    return false;
  fail("decoder error (" + errorText(status) + ")");
}

Image convert(const AVFrame& frame) {
  const int width = frame.width;
  const int height = frame.height;
  if (width <= 0 || height <= 0)
    fail("the picture has no size");
  if (static_cast<int64_t>(width) * height > ImageDecoder::kMaximumPixels ||
      width > Image::kMaximumDimension || height > Image::kMaximumDimension) {
    throw Exception::range("decoded picture of " + std::to_string(width) + "x" +
                           std::to_string(height) + " is too large");
  }
  const auto format = static_cast<AVPixelFormat>(frame.format);
  std::unique_ptr<SwsContext, ScaleFree> scaler(
      sws_getContext(width, height, format, width, height, AV_PIX_FMT_RGB32,
                     SWS_POINT | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
  if (!scaler) {
    const char* name = av_get_pix_fmt_name(format);
    fail(std::string("unsupported pixel format ") + (name != nullptr ? name : "?"));
  }
  // AV_PIX_FMT_RGB32 is native-endian 0xAARRGGBB, the image's own layout.
  Image image(width, height, AlphaMode::Straight);
  uint8_t* planes[4] = {reinterpret_cast<uint8_t*>(image.mutablePixels()), nullptr, nullptr,
                        nullptr};
  int strides[4] = {width * 4, 0, 0, 0};
  const int rows = sws_scale(scaler.get(), frame.data, frame.linesize, 0, height, planes, strides);
  if (rows != height)
    fail("pixel conversion failed");
  image.noteDrawn({0, 0, width, height});
  return image;
}

}  // namespace

Image ImageDecoder::decode(std::span<const uint8_t> data) {
  if (data.empty())
    fail("no bytes");
  MemoryReader reader{data.data(), data.size()};

  auto* buffer = static_cast<uint8_t*>(av_malloc(kIOBufferSize));
  if (buffer == nullptr)
    throw std::bad_alloc();
  AVIOContext* rawIO =
      avio_alloc_context(buffer, kIOBufferSize, 0, &reader, &readMemory, nullptr, &seekMemory);
  if (rawIO == nullptr) {
    av_free(buffer);
    throw std::bad_alloc();
  }
  std::unique_ptr<AVIOContext, IOContextFree> io(rawIO);

  AVFormatContext* rawFormat = avformat_alloc_context();
  if (rawFormat == nullptr)
    throw std::bad_alloc();
  rawFormat->pb = io.get();
  rawFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
  // On failure avformat_open_input frees the context itself.
  const int opened = avformat_open_input(&rawFormat, nullptr, nullptr, nullptr);
  if (opened < 0)
    fail("unrecognised format (" + errorText(opened) + ")");
  std::unique_ptr<AVFormatContext, FormatClose> format(rawFormat);

  int streamIndex = -1;
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    const AVCodecParameters* p = format->streams[i]->codecpar;
    if (p->codec_type == AVMEDIA_TYPE_VIDEO && p->codec_id != AV_CODEC_ID_NONE) {
      streamIndex = static_cast<int>(i);
      break;
    }
  }
  if (streamIndex < 0)
    fail("no picture in the data");
  const AVCodecParameters* parameters = format->streams[streamIndex]->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
  if (decoder == nullptr)
    fail(std::string("no decoder for ") + avcodec_get_name(parameters->codec_id));

  std::unique_ptr<AVCodecContext, CodecFree> codec(avcodec_alloc_context3(decoder));
  if (!codec)
    throw std::bad_alloc();
  if (avcodec_parameters_to_context(codec.get(), parameters) < 0)
    fail("bad codec parameters");
  codec->max_pixels = kMaximumPixels;
  codec->thread_count = 1;
  if (const int status = avcodec_open2(codec.get(), decoder, nullptr); status < 0) {
    fail("cannot open the " + std::string(decoder->name) + " decoder (" + errorText(status) + ")");
  }

  std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
  std::unique_ptr<AVFrame, FrameFree> frame(av_frame_alloc());
  if (!packet || !frame)
    throw std::bad_alloc();

  for (int packets = 0; packets < kMaximumPackets; ++packets) {
    const int status = av_read_frame(format.get(), packet.get());
    if (status < 0)
      break;
    if (packet->stream_index == streamIndex) {
      const int sent = avcodec_send_packet(codec.get(), packet.get());
      av_packet_unref(packet.get());
      if (sent < 0 && sent != AVERROR(EAGAIN))
        fail("corrupt picture (" + errorText(sent) + ")");
      if (receive(codec.get(), frame.get()))
        return convert(*frame);
    } else {
      av_packet_unref(packet.get());
    }
  }
  // Drain: some decoders hold the picture until told the input has ended.
  avcodec_send_packet(codec.get(), nullptr);
  if (receive(codec.get(), frame.get()))
    return convert(*frame);
  fail("no picture in the data");
}

std::optional<Image> ImageDecoder::tryDecode(std::span<const uint8_t> data) {
  try {
    return decode(data);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

}  // namespace qrl::graphics
