#include "settings/SettingsPresets.h"

#include <cstdlib>
#include <string>

#include "platform/base/Exception.h"
#include "platform/process/Spawn.h"
#include "settings/SettingsFile.h"

namespace qrl::settings {

std::vector<std::filesystem::path> SettingsPresets::searchPath() {
  std::vector<std::filesystem::path> folders;
  if (const char* dir = std::getenv("QRL_PRESET_DIR"); dir != nullptr && *dir != '\0')
    folders.emplace_back(dir);
  try {
    std::filesystem::path program = process::currentExecutablePath();
    folders.push_back((program.parent_path() / QRL_PRESET_RELATIVE_DIR).lexically_normal());
  } catch (const Exception&) {
    // Without /proc the configured folders remain.
  }
  folders.emplace_back(QRL_PRESET_INSTALL_DIR);
  folders.emplace_back(QRL_PRESET_SOURCE_DIR);
  return folders;
}

std::filesystem::path SettingsPresets::find(std::string_view name) {
  std::string searched;
  for (const auto& folder : searchPath()) {
    std::filesystem::path candidate = folder / name;
    std::error_code error;
    if (std::filesystem::is_regular_file(candidate, error))
      return candidate;
    searched += (searched.empty() ? "" : ", ") + folder.string();
  }
  throw Exception::io("no compression preset \"" + std::string(name) + "\" in " + searched);
}

std::vector<uint8_t> SettingsPresets::largeSettings() {
  return SettingsFile::read(find(kLarge));
}

}  // namespace qrl::settings
