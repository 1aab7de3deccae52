#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qrl {

// Runs command-line tools and captures what they print, and makes safe,
// unique file names and paths. An instance holds no state; make one where
// it is needed. Failures never throw to the caller except where noted: they
// give std::nullopt (or, for paths, a best effort) and, for command runs,
// the log message "Ex".
class QRLFileSystemUtility {
 public:
  // --- Character sets (exact contents and order are part of the contract) ---

  // The 19 characters that may not appear in a path, in this order.
  static constexpr std::string_view invalidFilePathCharacters() { return ":'*?[]^{}~$&|<>\\;()"; }
  // The path characters followed by "/", which a single file name may not hold either.
  static constexpr std::string_view invalidFileNameCharacters() { return ":'*?[]^{}~$&|<>\\;()/"; }
  // The 19 characters that a shell command line needs escaped, in this order.
  static constexpr std::string_view terminalEscapeCharacters() { return " !#$%&*()=[]|;'\"<>?"; }
  // The members of the set of characters that the LTFS tape file system refuses (order is not
  // meaningful).
  static constexpr std::string_view illegalLTFSFileCharacterSet() { return "<>:\"\\|?*%"; }
  // The members of the set of characters that the desktop file system refuses in names.
  static constexpr std::string_view illegalMacFileCharacterSet() { return ":"; }

  // --- Terminal commands ---

  // True when anything (file, directory, executable or not) exists at the path.
  bool terminalCommandPathIsAvailable(const std::string& path) const;

  // The absolute path of a command found on the search path, or nullopt when
  // none is found. The lookup runs "/usr/bin/which" with the name as its one
  // argument (Linux's whereis prints manual pages and sources too) and
  // removes every line feed from its answer. A lookup that cannot run logs "Ex".
  std::optional<std::string> pathForTerminalCommand(const std::string& command) const;

  // executeTerminalCommand(path, withArguments, true).
  std::optional<std::string> executeTerminalCommand(
      const std::string& path, const std::vector<std::string>& withArguments) const;

  // Runs the executable at `path` (no search) with the arguments and returns
  // its standard output with every line feed removed, whatever its exit
  // status. nullopt when the check is on and nothing exists at the path
  // (nothing is run), when the output is not UTF-8, or when the program
  // cannot be started (logged as "Ex"). Standard error is discarded.
  std::optional<std::string> executeTerminalCommand(const std::string& path,
                                                    const std::vector<std::string>& withArguments,
                                                    bool ensureTerminalCommandIsValid) const;

  // As above but the output keeps its line feeds, and a program that cannot
  // be started throws qrl::Exception instead of being logged.
  std::optional<std::string> executeTerminalCommandWithDelimitedArguments(
      const std::string& path, const std::vector<std::string>& withDelimitedArguments,
      bool ensureTerminalCommandIsValid) const;

  // --- Unique paths and names ---

  // A path at which nothing exists yet: the path itself when it is free,
  // otherwise "<folder>/<base><suffix>" and then "<folder>/<base>-<n><suffix>"
  // for n = 2, 3, ... where base is the last component without its extension
  // and suffix is "" for a directory and "." plus the extension otherwise.
  // So notes (a file) gives "notes." and My.folder (a directory) gives "My".
  std::string uniqueFileSystemPathForPath(const std::string& path) const;

  // The unique path for `path`, created as a directory with any missing
  // parents. Creation errors are ignored; the path is returned regardless.
  std::string createUniqueDirectoryPathForPath(const std::string& path) const;

  // The string without any character of invalidFilePathCharacters().
  std::string removeInvalidPathCharactersFromPath(std::string_view path) const;

  // True when the name holds no character of invalidFilePathCharacters()
  // ("/" is therefore allowed).
  bool directoryNameIsValid(std::string_view name) const;

  // The string with a backslash before every character of terminalEscapeCharacters().
  std::string escapeFilePathCharacters(std::string_view string) const;
};

}  // namespace qrl
