// Series generators over an hour at 29.97 and single conversions; the goal is well under
// 100 ns per series entry.
#include <benchmark/benchmark.h>

#include "timecode/QRLTimecodeUtility.h"

namespace {

using qrl::QRLTimecodeUtility;

constexpr int32_t kHourAt2997 = 108000;

// Items per second and, inverted, seconds per series entry.
void reportEntries(benchmark::State& state, int64_t entriesPerIteration) {
  state.SetItemsProcessed(state.iterations() * entriesPerIteration);
  state.counters["per_entry"] =
      benchmark::Counter(static_cast<double>(state.iterations() * entriesPerIteration),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void SeriesForFrames(benchmark::State& state) {
  for (auto _ : state) {
    auto series = QRLTimecodeUtility::timecodeSeriesForFrames(kHourAt2997, 107000, 29.97f, true);
    benchmark::DoNotOptimize(series.data());
  }
  reportEntries(state, kHourAt2997);
}
BENCHMARK(SeriesForFrames)->Unit(benchmark::kMillisecond);

void SeriesForStartTimecode(benchmark::State& state) {
  for (auto _ : state) {
    auto series = QRLTimecodeUtility::timecodeSeriesForStartTimecode("01:00:00;00", kHourAt2997,
                                                                     29.97f, true);
    benchmark::DoNotOptimize(series.data());
  }
  reportEntries(state, kHourAt2997);
}
BENCHMARK(SeriesForStartTimecode)->Unit(benchmark::kMillisecond);

void InstanceTimecodeToFrames(benchmark::State& state) {
  QRLTimecodeUtility utility;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        utility.framesRepresentedByTimecode("01:23:45;12", qrl::QRLVideoFrameRate29_97));
  }
  reportEntries(state, 1);
}
BENCHMARK(InstanceTimecodeToFrames);

void ClassTimecodeToFrames(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(QRLTimecodeUtility::totalFramesInTimeCode("01:23:45;12", 29.97, true));
  }
  reportEntries(state, 1);
}
BENCHMARK(ClassTimecodeToFrames);

void ClassFramesToTimecode(benchmark::State& state) {
  int32_t frame = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(QRLTimecodeUtility::timecodeFromFrames(frame, 29.97, true));
    frame = (frame + 7919) % 2589408;
  }
  reportEntries(state, 1);
}
BENCHMARK(ClassFramesToTimecode);

void CounterTimecodeAtFrame(benchmark::State& state) {
  QRLTimecodeUtility counter(29.97f, "01:00:00;00");
  int32_t frame = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(counter.timecodeAtFrame(frame));
    frame = (frame + 1) % 30;
  }
  reportEntries(state, 1);
}
BENCHMARK(CounterTimecodeAtFrame);

void NumericRateLookup(benchmark::State& state) {
  double rate = 29.97;
  for (auto _ : state) {
    benchmark::DoNotOptimize(QRLTimecodeUtility::videoFrameRateFromNumericRate(rate));
  }
  reportEntries(state, 1);
}
BENCHMARK(NumericRateLookup);

}  // namespace

BENCHMARK_MAIN();
