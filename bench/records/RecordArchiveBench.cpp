// Goal: archive and unarchive a burn record in under 20 µs per round trip.
#include <benchmark/benchmark.h>

#include "platform/archive/KeyedArchiver.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLRecordClasses.h"

namespace {

qrl::QRLQTTimecodeBurnAttributeWrapper burnRecord() {
  qrl::QRLQTTimecodeBurnAttributeWrapper b;
  b.setStartTimecode("01:00:00;00");
  b.setFrameRate(5);
  b.setFontSize(36);
  b.setFontColor(qrl::archive::Color::calibratedRGB(1, 0.5f, 0.25f, 1));
  b.setLetterboxBackgroundColor(qrl::archive::Color::calibratedRGB(0, 0, 0, 0.5f));
  b.setBurnOrigin(qrl::Point{12, 40});
  return b;
}

void BM_BurnRecordArchiveRoundTrip(benchmark::State& state) {
  auto record = burnRecord();
  for (auto _ : state) {
    auto data = qrl::archive::KeyedArchiver::archivedDataWithRootObject(&record);
    auto back = qrl::unarchiveRecord<qrl::QRLQTTimecodeBurnAttributeWrapper>(data);
    benchmark::DoNotOptimize(back);
  }
}
BENCHMARK(BM_BurnRecordArchiveRoundTrip);

void BM_BurnRecordArchive(benchmark::State& state) {
  auto record = burnRecord();
  for (auto _ : state) {
    benchmark::DoNotOptimize(qrl::archive::KeyedArchiver::archivedDataWithRootObject(&record));
  }
}
BENCHMARK(BM_BurnRecordArchive);

void BM_BurnRecordUnarchive(benchmark::State& state) {
  auto record = burnRecord();
  auto data = qrl::archive::KeyedArchiver::archivedDataWithRootObject(&record);
  for (auto _ : state) {
    benchmark::DoNotOptimize(qrl::unarchiveRecord<qrl::QRLQTTimecodeBurnAttributeWrapper>(data));
  }
}
BENCHMARK(BM_BurnRecordUnarchive);

}  // namespace

BENCHMARK_MAIN();
