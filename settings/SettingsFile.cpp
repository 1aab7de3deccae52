#include "settings/SettingsFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <fstream>
#include <iterator>

#include "platform/process/Exception.h"
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
  std::error_code error;
  uintmax_t size = std::filesystem::file_size(path, error);
  if (error)
    throw Exception::fromErrno("read", path.string(), error.value());
  if (size > kLargestFile) {
    throw Exception::parse(path.string() + ": " + std::to_string(size) +
                           " bytes is too large for compression settings");
  }
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw Exception::fromErrno("open", path.string(), errno);
  std::string contents((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
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
  std::filesystem::path temporary = path;
  temporary += ".XXXXXX";
  std::string pattern = temporary.string();
  int fd = ::mkstemp(pattern.data());
  if (fd < 0)
    throw Exception::fromErrno("create", pattern, errno);
  size_t written = 0;
  while (written < contents.size()) {
    ssize_t n = ::write(fd, contents.data() + written, contents.size() - written);
    if (n < 0 && errno == EINTR)
      continue;
    if (n < 0) {
      int err = errno;
      ::close(fd);
      ::unlink(pattern.c_str());
      throw Exception::fromErrno("write", pattern, err);
    }
    written += static_cast<size_t>(n);
  }
  ::fchmod(fd, 0644);
  if (::close(fd) != 0 || ::rename(pattern.c_str(), path.c_str()) != 0) {
    int err = errno;
    ::unlink(pattern.c_str());
    throw Exception::fromErrno("write", path.string(), err);
  }
}

}  // namespace qrl::settings
