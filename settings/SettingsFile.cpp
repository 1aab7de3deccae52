#include "settings/SettingsFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>
#include <cerrno>

#include "platform/base/AtomicFile.h"
#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"
#include "platform/quicktime/AtomContainer.h"

namespace qrl::settings {

namespace {

// Hexadecimal text is twice the size of its bytes, plus some spacing.
constexpr uintmax_t kLargestFile = quicktime::AtomContainer::kMaxBytes * 3;

bool isHexText(const std::string& text) {
  bool digits = false;
  for (unsigned char c : text) {
    if (std::isxdigit(c)) {
      digits = true;
    } else if (!std::isspace(c)) {
      return false;
    }
  }
  return digits;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  return (std::tolower(static_cast<unsigned char>(c)) - 'a') + 10;
}

}  // namespace

std::vector<uint8_t> SettingsFile::decode(const std::string& contents) {
  std::string text = contents;
  // "QT(…)", as some applications keep the settings in their scene files.
  size_t open = text.find("QT(");
  if (open != std::string::npos && text.find(')', open) != std::string::npos) {
    size_t close = text.find(')', open);
    std::string inner = text.substr(open + 3, close - open - 3);
    if (isHexText(inner))
      text = inner;
  }
  if (!isHexText(text))
    return {contents.begin(), contents.end()};
  std::vector<uint8_t> bytes;
  int high = -1;
  for (char c : text) {
    if (std::isspace(static_cast<unsigned char>(c)))
      continue;
    if (high < 0) {
      high = hexValue(c);
    } else {
      bytes.push_back(static_cast<uint8_t>(high * 16 + hexValue(c)));
      high = -1;
    }
  }
  if (high >= 0)
    throw Exception::parse("settings text holds an odd number of hexadecimal digits");
  return bytes;
}

std::vector<uint8_t> SettingsFile::read(const std::filesystem::path& path) {
  FileDescriptor fd = openFile(path, O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0)
    throw Exception::fromErrno("stat", path.string(), errno);
  auto size = static_cast<uintmax_t>(status.st_size);
  if (size > kLargestFile) {
    throw Exception::parse(path.string() + ": " + std::to_string(size) +
                           " bytes is too large for compression settings");
  }
  std::string contents(static_cast<size_t>(size), '\0');
  contents.resize(readFully(
      fd.get(), {reinterpret_cast<uint8_t*>(contents.data()), contents.size()}, path.string()));
  return decode(contents);
}

std::string SettingsFile::hex(const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (uint8_t b : bytes) {
    text.push_back(kDigits[b >> 4]);
    text.push_back(kDigits[b & 0xF]);
  }
  return text;
}

void SettingsFile::write(const std::filesystem::path& path, const std::vector<uint8_t>& bytes,
                         bool asHex) {
  std::string contents = asHex ? hex(bytes) + "\n" : std::string(bytes.begin(), bytes.end());
  writeFileAtomically(path, contents);
}

}  // namespace qrl::settings
