// Feeds arbitrary settings files (container bytes or hexadecimal text) to
// what reads them: the settings parser's walk, its normalising calls, the
// movie exporter's export parameters and the describer. Bad input must end in
// qrl::Exception or a documented fallback, never a crash; what the exporter
// writes must read back as a container.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/JsonMovieDescriber.h"
#include "settings/MovieExporter.h"
#include "settings/QRLQTSettingsParser.h"
#include "settings/SettingsDescriber.h"
#include "settings/SettingsFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace qrl;
  std::vector<uint8_t> bytes;
  try {
    bytes = settings::SettingsFile::decode(std::string(data, data + size));
  } catch (const Exception&) {
    bytes.assign(data, data + size);
  }
  QRLQTSettingsParser parser;
  parser.parseData(bytes);
  auto chosen = parser.loadCompressorPanelWithCompressionData(bytes);
  if (chosen && chosen->empty())
    std::abort();
  try {
    auto container = quicktime::AtomContainer::read(bytes);
    auto walked = QRLQTSettingsParser::initWithContainer(container);
    if (walked->settingFrameRate() != 0)
      std::abort();
    settings::MovieExporter exporter;
    exporter.setSettingsFromAtomContainer(container);
    auto normalised = exporter.getSettingsAsAtomContainer();
    (void)quicktime::AtomContainer::read(normalised.bytes());
    std::ostringstream json;
    quicktime::JsonMovieDescriber printer(json);
    settings::SettingsDescriber::describe(container, printer);
  } catch (const Exception&) {
    // Expected for bad input.
  }
  return 0;
}
