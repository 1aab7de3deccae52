#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qrl::settings {

// Files that hold a compression-settings container: the container's bytes
// as they are, or the same bytes as hexadecimal text (what applications
// that keep QuickTime settings in text files store, sometimes wrapped as
// "QT(…)"; white space is ignored).
class SettingsFile {
 public:
  // The container bytes of a file in either form. Throws an IO Exception
  // when the file cannot be read and a parse Exception for hexadecimal text
  // that is cut short or a file too large to be settings.
  static std::vector<uint8_t> read(const std::filesystem::path& path);

  // The container bytes of file contents in either form.
  static std::vector<uint8_t> decode(const std::string& contents);

  // Replaces the file at `path` with the bytes (as upper-case hexadecimal
  // text and a newline when `asHex`) in one step: a failure leaves whatever
  // was at `path` as it was.
  static void write(const std::filesystem::path& path, const std::vector<uint8_t>& bytes,
                    bool asHex);

  static std::string hex(const std::vector<uint8_t>& bytes);
};

}  // namespace qrl::settings
