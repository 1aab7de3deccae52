#include "fsutil/QRLFileSystemUtility.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "fsutil/PathComponents.h"

namespace qrl {
namespace {

// Follows symbolic links, so a dangling link counts as nothing.
bool existsAtPath(const std::string& path, bool* isDirectory = nullptr) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0)
    return false;
  if (isDirectory != nullptr)
    *isDirectory = S_ISDIR(info.st_mode);
  return true;
}

}  // namespace

bool QRLFileSystemUtility::terminalCommandPathIsAvailable(const std::string& path) const {
  return existsAtPath(path);
}

std::string QRLFileSystemUtility::uniqueFileSystemPathForPath(const std::string& path) const {
  bool isDirectory = false;
  if (!existsAtPath(path, &isDirectory))
    return path;

  // A file without an extension still gets the dot, so "notes" gives "notes.";
  // a directory loses whatever follows its last dot. Both are relied on.
  const std::string suffix = isDirectory ? "" : "." + fsutil::pathExtension(path);
  // A relative one-part path has an empty folder, which puts the candidates
  // at the root; callers pass absolute paths.
  const std::string folder = fsutil::deletingLastPathComponent(path);
  const std::string base = fsutil::deletingPathExtension(fsutil::lastPathComponent(path));

  std::string candidate = folder + "/" + base + suffix;
  for (int n = 2; existsAtPath(candidate); ++n) {
    candidate = folder + "/" + base + "-" + std::to_string(n) + suffix;
  }
  return candidate;
}

std::string QRLFileSystemUtility::createUniqueDirectoryPathForPath(const std::string& path) const {
  std::string unique = uniqueFileSystemPathForPath(path);
  std::error_code ignored;
  std::filesystem::create_directories(unique, ignored);
  return unique;
}

// Removing or escaping set by set, in the listed order, gives the same result
// as this single pass: the backslash that escaping adds is in neither set.
std::string QRLFileSystemUtility::removeInvalidPathCharactersFromPath(std::string_view path) const {
  std::string cleaned;
  cleaned.reserve(path.size());
  for (const char c : path) {
    if (invalidFilePathCharacters().find(c) == std::string_view::npos)
      cleaned.push_back(c);
  }
  return cleaned;
}

bool QRLFileSystemUtility::directoryNameIsValid(std::string_view name) const {
  return removeInvalidPathCharactersFromPath(name) == name;
}

std::string QRLFileSystemUtility::escapeFilePathCharacters(std::string_view string) const {
  std::string escaped;
  escaped.reserve(string.size());
  for (const char c : string) {
    if (terminalEscapeCharacters().find(c) != std::string_view::npos)
      escaped.push_back('\\');
    escaped.push_back(c);
  }
  return escaped;
}

}  // namespace qrl
