// What a settings call costs: reading a real exporter container (the 1,077-byte
// Harmony PNG settings, with a nested container in a leaf), the parser's walk,
// the export parameters, and the normalisation the conduit's remote call does.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "platform/quicktime/AtomContainer.h"
#include "settings/MovieExporter.h"
#include "settings/QRLQTSettingsParser.h"
#include "settings/SettingsFile.h"

namespace {

using qrl::quicktime::AtomContainer;

std::vector<uint8_t> settingsBytes() {
  const char* source = std::getenv("QRL_SOURCE_DIR");
  std::filesystem::path root = source != nullptr ? source : QRL_DEFAULT_SOURCE_DIR;
  return qrl::settings::SettingsFile::read(root /
                                           "tests/settings/data/"
                                           "harmony-moov-png-3840x2160-nosound.qtatoms");
}

void BM_ReadContainer(benchmark::State& state) {
  auto bytes = settingsBytes();
  for (auto _ : state)
    benchmark::DoNotOptimize(AtomContainer::read(bytes));
}
BENCHMARK(BM_ReadContainer);

void BM_ParserWalk(benchmark::State& state) {
  auto container = AtomContainer::read(settingsBytes());
  for (auto _ : state)
    benchmark::DoNotOptimize(qrl::QRLQTSettingsParser::initWithContainer(container));
}
BENCHMARK(BM_ParserWalk);

void BM_ExportParameters(benchmark::State& state) {
  auto container = AtomContainer::read(settingsBytes());
  for (auto _ : state)
    benchmark::DoNotOptimize(qrl::settings::MovieExporter::exportParameters(container));
}
BENCHMARK(BM_ExportParameters);

void BM_PanelNormalisation(benchmark::State& state) {
  auto bytes = settingsBytes();
  qrl::QRLQTSettingsParser parser;
  for (auto _ : state)
    benchmark::DoNotOptimize(parser.loadCompressorPanelWithCompressionData(bytes));
}
BENCHMARK(BM_PanelNormalisation);

}  // namespace

BENCHMARK_MAIN();
