#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>

#include "platform/base/FileDescriptor.h"

namespace qrl::quicktime {

// The writable file behind an editable movie. New sample data goes to the end
// of the file, inside a media data atom that runs to the end of the file while
// it grows; a save writes the new movie atom after it, closes that atom just
// before the new movie atom, and only then turns the old movie atom into free
// space. Readers take the first movie atom, so a crash at any moment leaves
// the old movie or the new one, and existing bytes are never overwritten
// except for headers. Owns its descriptor.
class MovieFileWriter {
 public:
  enum class Operation { Write, Sync };
  // Called before every write (of at most the piece size) and every sync;
  // tests use it to copy the file as a crash would leave it, or to throw.
  using FaultHook = std::function<void(Operation operation, uint64_t offset, size_t size)>;

  // `openEndedAtom` is the offset of a last top-level atom whose size field
  // says "to the end of the file"; it is given its real size before anything
  // is appended behind it. Throws an IO Exception when the file cannot be
  // opened for writing.
  MovieFileWriter(const std::filesystem::path& path, std::optional<uint64_t> openEndedAtom);

  // Appends sample bytes; returns their file offset.
  uint64_t appendMediaData(std::span<const uint8_t> bytes);
  // Writes a complete movie atom and frees the one at `oldMovieAtom`; returns
  // the new atom's offset. On failure the file is cut back to where the new
  // movie atom began, so it still opens as the old movie, and the exception passes.
  uint64_t commit(std::span<const uint8_t> movieAtom, std::optional<uint64_t> oldMovieAtom);

  uint64_t size() const { return end_; }
  void setFaultHook(FaultHook hook, size_t pieceSize = kDefaultPieceSize);

  static constexpr size_t kDefaultPieceSize = size_t{1} << 20;

 private:
  struct Staging {
    uint64_t headerOffset;  // 'wide' + 'mdat' (media) or 'free' (none)
    bool media;
  };
  void closeOpenEndedAtom();
  void openStaging(bool media);
  void closeStaging(uint64_t end);
  void writeAt(uint64_t offset, std::span<const uint8_t> bytes);
  void sync();

  std::filesystem::path path_;
  FileDescriptor fd_;
  uint64_t end_ = 0;
  std::optional<uint64_t> openEndedAtom_;
  std::optional<Staging> staging_;
  FaultHook hook_;
  size_t pieceSize_ = kDefaultPieceSize;
};

}  // namespace qrl::quicktime
