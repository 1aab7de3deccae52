// Path splitting, name cleaning, escaping and UTF-8 checking over arbitrary
// bytes. Nothing here touches the disk. Invariants that must hold for any
// input trap, so the fuzzer reports them as crashes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fsutil/PathComponents.h"
#include "fsutil/QRLFileSystemUtility.h"
#include "fsutil/Utf8.h"

namespace {

void require(bool condition) {
  if (!condition)
    __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace qrl;
  const std::string_view input(reinterpret_cast<const char*>(data), size);

  const std::string last = fsutil::lastPathComponent(input);
  const std::string folder = fsutil::deletingLastPathComponent(input);
  const std::string extension = fsutil::pathExtension(input);
  const std::string stem = fsutil::deletingPathExtension(input);
  const std::string fixed = fsutil::standardizedSlashes(input);
  require(last.size() <= fixed.size() && folder.size() <= fixed.size());
  require(stem.size() + extension.size() <= fixed.size());
  require(fsutil::standardizedSlashes(fixed) == fixed);

  const QRLFileSystemUtility utility;
  const std::string cleaned = utility.removeInvalidPathCharactersFromPath(input);
  require(cleaned.find_first_of(QRLFileSystemUtility::invalidFilePathCharacters()) ==
          std::string::npos);
  require(utility.directoryNameIsValid(cleaned));
  require(utility.directoryNameIsValid(input) == (cleaned.size() == input.size()));

  const std::string escaped = utility.escapeFilePathCharacters(input);
  require(escaped.size() >= input.size());
  if (fsutil::isValidUtf8(input))
    require(fsutil::isValidUtf8(escaped));
  return 0;
}
