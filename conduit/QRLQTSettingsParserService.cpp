#include "conduit/QRLQTSettingsParserService.h"

#include <string>

#include "platform/process/SystemLog.h"

namespace qrl {

using archive::Value;

QRLQTSettingsParserService::QRLQTSettingsParserService() {
  addPerformer(remote::loadCompressorPanelWithCompressionData, [this](const Arguments& a) {
    std::optional<std::vector<uint8_t>> data;
    if (const archive::Data* bytes = a[0].data())
      data = *bytes;
    auto chosen = parser_.loadCompressorPanelWithCompressionData(data);
    process::SystemLog::write(
        std::string(remote::loadCompressorPanelWithCompressionData.selector()) + " " +
        (data ? std::to_string(data->size()) + " bytes of settings" : std::string("no settings")) +
        (chosen ? ", " + std::to_string(chosen->size()) + " bytes chosen" : std::string()) +
        "; the caller was answered nil");
    return chosen ? Value(*chosen) : Value();
  });
}

}  // namespace qrl
