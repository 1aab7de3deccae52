// A timecode burn's per-frame cost: render "01:00:00;00" into a transparent
// 1920x1080 frame and encode it as a straight-alpha TIFF. A 1,798-frame burn
// should run about 20 times faster than ffmpeg's drawtext re-encode (~50 fps),
// so a frame should take a few hundred microseconds.
#include <benchmark/benchmark.h>

#include "platform/graphics/Image.h"
#include "platform/graphics/ImageDecoder.h"
#include "platform/graphics/StringDrawing.h"
#include "platform/graphics/TiffEncoder.h"

namespace qrl::graphics {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
const char* const kTimecode = "01:00:00;00";

StringAttributes burnAttributes() {
  return {Font("Lucida Grande", 48), Color::whiteColor(), std::nullopt};
}

TiffOptions optionsFrom(const benchmark::State& state) {
  return {TiffCompression::Deflate, static_cast<int>(state.range(0)),
          static_cast<int>(state.range(1))};
}

// What the image layer does per frame: a new image of the track size, the
// text drawn into it, the TIFF made.
void BM_BurnFrame(benchmark::State& state) {
  const StringAttributes attributes = burnAttributes();
  const TiffOptions options = optionsFrom(state);
  size_t bytes = 0;
  for (auto _ : state) {
    Image frame(kWidth, kHeight);
    StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, attributes);
    bytes = TiffEncoder::encode(frame, options).size();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["tiff_bytes"] = static_cast<double>(bytes);
  state.counters["frames_per_second"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_BurnFrame)
    ->ArgNames({"rows_per_strip", "deflate_level"})
    ->Args({16, 6})
    ->Args({16, 1})
    ->Args({8, 6})
    ->Args({32, 6})
    ->Unit(benchmark::kMicrosecond);

// The same with the background colour behind the run.
void BM_BurnFrameWithBackground(benchmark::State& state) {
  StringAttributes attributes = burnAttributes();
  attributes.backgroundColor = Color{0, 0, 0, 0.6};
  for (auto _ : state) {
    Image frame(kWidth, kHeight);
    StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, attributes);
    benchmark::DoNotOptimize(TiffEncoder::encode(frame));
  }
}
BENCHMARK(BM_BurnFrameWithBackground)->Unit(benchmark::kMicrosecond);

// One frame image kept and cleared between frames.
void BM_BurnFrameReusingTheImage(benchmark::State& state) {
  const StringAttributes attributes = burnAttributes();
  Image frame(kWidth, kHeight);
  for (auto _ : state) {
    frame.clear();
    StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, attributes);
    benchmark::DoNotOptimize(TiffEncoder::encode(frame));
  }
}
BENCHMARK(BM_BurnFrameReusingTheImage)->Unit(benchmark::kMicrosecond);

// The parts on their own.
void BM_DrawTimecodeOnly(benchmark::State& state) {
  const StringAttributes attributes = burnAttributes();
  Image frame(kWidth, kHeight);
  for (auto _ : state) {
    frame.clear();
    StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, attributes);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_DrawTimecodeOnly)->Unit(benchmark::kMicrosecond);

void BM_EncodeTimecodeFrame(benchmark::State& state) {
  Image frame(kWidth, kHeight);
  StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, burnAttributes());
  for (auto _ : state)
    benchmark::DoNotOptimize(TiffEncoder::encode(frame));
}
BENCHMARK(BM_EncodeTimecodeFrame)->Unit(benchmark::kMicrosecond);

void BM_MakeFrameImage(benchmark::State& state) {
  for (auto _ : state) {
    Image frame(kWidth, kHeight);
    frame.fillRect({{100, 80}, {300, 50}}, Color::whiteColor());
    benchmark::DoNotOptimize(frame.pixels());
  }
}
BENCHMARK(BM_MakeFrameImage)->Unit(benchmark::kMicrosecond);

void BM_EncodeEmptyFrame(benchmark::State& state) {
  const Image frame(kWidth, kHeight);
  for (auto _ : state)
    benchmark::DoNotOptimize(TiffEncoder::encode(frame));
}
BENCHMARK(BM_EncodeEmptyFrame)->Unit(benchmark::kMicrosecond);

// Reading an overlay frame back, as the renderer does for each frame.
void BM_DecodeTimecodeFrame(benchmark::State& state) {
  Image frame(kWidth, kHeight);
  StringDrawing::drawAtPoint(kTimecode, frame, {100, 80}, burnAttributes());
  const std::vector<uint8_t> tiff = TiffEncoder::encode(frame);
  for (auto _ : state)
    benchmark::DoNotOptimize(ImageDecoder::decode(tiff));
}
BENCHMARK(BM_DecodeTimecodeFrame)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace qrl::graphics

BENCHMARK_MAIN();
