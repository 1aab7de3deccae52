#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/quicktime/DataReferenceAtom.h"

namespace qrl::quicktime {

// Where one data reference of a media points, resolved for this machine.
struct DataReference {
  uint32_t type = 0;  // 'alis', 'url ', ...
  bool isSelfReference = true;
  // The file holding the samples: the movie's own file for a self reference;
  // for an external one, the first candidate that exists (or the first tried).
  // Empty when the reference names no file we can use.
  std::filesystem::path path;
  std::string fileName;  // the target's name as the reference records it

  // Resolves an entry of a 'dref' atom. `moviePath` is the movie's file (empty
  // for a movie held in memory). An alias record is tried the way its relative
  // levels say, then by its POSIX path, then by name beside the movie.
  static DataReference resolve(const DataReferenceAtom::Entry& entry,
                               const std::filesystem::path& moviePath);

  // An 'alis' entry naming `target` as a version 2 alias record: the file
  // name, the levels from the movie's folder up to the common folder and down
  // to the target (which FFmpeg follows with enable_drefs), a Carbon path and
  // a POSIX path. Both paths are made absolute first.
  static DataReferenceAtom::Entry aliasTo(const std::filesystem::path& target,
                                          const std::filesystem::path& moviePath);
};

}  // namespace qrl::quicktime
