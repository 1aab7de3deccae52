// The terminal-command half of QRLFileSystemUtility.
#include "fsutil/QRLFileSystemUtility.h"

#include <algorithm>

#include "fsutil/CommandRunner.h"
#include "fsutil/Utf8.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"

namespace qrl {
namespace {

// Debian's which prints the first match on PATH and nothing for an unknown
// name, as the desktop's whereis did; Linux's own whereis lists manual pages
// and sources as well, so it cannot stand in.
constexpr const char* kCommandLookupTool = "/usr/bin/which";

std::optional<std::string> decodedOutput(std::string output, bool keepLineFeeds) {
  if (!fsutil::isValidUtf8(output))
    return std::nullopt;
  if (!keepLineFeeds)
    std::erase(output, '\n');
  return output;
}

}  // namespace

std::optional<std::string> QRLFileSystemUtility::pathForTerminalCommand(
    const std::string& command) const {
  try {
    auto found =
        decodedOutput(fsutil::runCommand(kCommandLookupTool, {command}).standardOutput, false);
    if (!found || found->empty())
      return std::nullopt;
    return found;
  } catch (const Exception&) {
    process::SystemLog::write("Ex");
    return std::nullopt;
  }
}

std::optional<std::string> QRLFileSystemUtility::executeTerminalCommand(
    const std::string& path, const std::vector<std::string>& withArguments) const {
  return executeTerminalCommand(path, withArguments, true);
}

std::optional<std::string> QRLFileSystemUtility::executeTerminalCommand(
    const std::string& path, const std::vector<std::string>& withArguments,
    bool ensureTerminalCommandIsValid) const {
  if (ensureTerminalCommandIsValid && !terminalCommandPathIsAvailable(path))
    return std::nullopt;
  try {
    // The output is drained while the command runs rather than after it
    // ends, so a long output cannot fill the pipe and stall both sides.
    return decodedOutput(fsutil::runCommand(path, withArguments).standardOutput, false);
  } catch (const Exception&) {
    process::SystemLog::write("Ex");
    return std::nullopt;
  }
}

std::optional<std::string> QRLFileSystemUtility::executeTerminalCommandWithDelimitedArguments(
    const std::string& path, const std::vector<std::string>& withDelimitedArguments,
    bool ensureTerminalCommandIsValid) const {
  if (ensureTerminalCommandIsValid && !terminalCommandPathIsAvailable(path))
    return std::nullopt;
  return decodedOutput(fsutil::runCommand(path, withDelimitedArguments).standardOutput, true);
}

}  // namespace qrl
