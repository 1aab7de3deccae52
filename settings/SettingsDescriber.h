#pragma once

#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/MovieDescriber.h"

namespace qrl::settings {

// Reports a compression-settings container through a describer visitor (the
// text and JSON printers of `qrl inspect`): its atom tree, the settings
// parser's raw and derived fields, how each section's payloads were read and
// the export parameters.
class SettingsDescriber {
 public:
  static void describe(const quicktime::AtomContainer& settings, quicktime::MovieDescriber& out);
};

}  // namespace qrl::settings
