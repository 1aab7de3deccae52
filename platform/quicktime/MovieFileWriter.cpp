#include "platform/quicktime/MovieFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {
namespace {

constexpr uint64_t kMax32 = std::numeric_limits<uint32_t>::max();

std::vector<uint8_t> word(uint32_t v) {
  std::vector<uint8_t> bytes;
  ByteWriter(bytes).u32(v);
  return bytes;
}

}  // namespace

MovieFileWriter::MovieFileWriter(const std::filesystem::path& path,
                                 std::optional<uint64_t> openEndedAtom)
    : path_(path), openEndedAtom_(openEndedAtom) {
  fd_ = openFile(path, O_RDWR | O_CLOEXEC, 0, "open for writing");
  struct stat st {};
  if (::fstat(fd_.get(), &st) != 0)
    throw Exception::fromErrno("stat", path.string(), errno);
  end_ = static_cast<uint64_t>(st.st_size);
}

void MovieFileWriter::setFaultHook(FaultHook hook, size_t pieceSize) {
  hook_ = std::move(hook);
  pieceSize_ = std::max<size_t>(pieceSize, 1);
}

void MovieFileWriter::writeAt(uint64_t offset, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    size_t piece = std::min(bytes.size(), pieceSize_);
    if (hook_)
      hook_(Operation::Write, offset, piece);
    writeFullyAt(fd_.get(), bytes.first(piece), offset, path_.string());
    offset += piece;
    bytes = bytes.subspan(piece);
    end_ = std::max(end_, offset);
  }
}

void MovieFileWriter::sync() {
  if (hook_)
    hook_(Operation::Sync, end_, 0);
  // Data and the size that reaches it; the modification time can wait.
  if (::fdatasync(fd_.get()) != 0)
    throw Exception::fromErrno("sync", path_.string(), errno);
}

void MovieFileWriter::closeOpenEndedAtom() {
  if (!openEndedAtom_)
    return;
  uint64_t size = end_ - *openEndedAtom_;
  if (size > kMax32) {
    throw Exception::unsupported(path_.string() +
                                 ": the last atom runs to the end of the file and is too large "
                                 "to be given a size in place");
  }
  writeAt(*openEndedAtom_, word(static_cast<uint32_t>(size)));
  sync();
  openEndedAtom_.reset();
}

void MovieFileWriter::openStaging(bool media) {
  closeOpenEndedAtom();
  // The header starts on a 16-byte boundary, so the later in-place patch of
  // its size (4 or 16 bytes) never straddles a disk sector.
  uint64_t pad = (16 - end_ % 16) % 16;
  if (pad != 0 && pad < 8)
    pad += 16;
  std::vector<uint8_t> bytes;
  ByteWriter out(bytes);
  if (pad != 0) {
    out.u32(static_cast<uint32_t>(pad));
    out.u32(fourCC("free"));
    out.zeros(static_cast<size_t>(pad - 8));
  }
  // Size 0: the atom runs to the end of the file, covering whatever follows
  // until the save gives it its real size.
  if (media) {
    out.u32(8);
    out.u32(fourCC("wide"));
    out.u32(0);
    out.u32(fourCC("mdat"));
  } else {
    out.u32(0);
    out.u32(fourCC("free"));
  }
  uint64_t header = end_ + pad;
  writeAt(end_, bytes);
  staging_ = Staging{header, media};
}

void MovieFileWriter::closeStaging(uint64_t end) {
  const Staging s = *staging_;
  if (!s.media) {
    writeAt(s.headerOffset, word(static_cast<uint32_t>(end - s.headerOffset)));
  } else if (end - (s.headerOffset + 8) <= kMax32) {
    writeAt(s.headerOffset + 8, word(static_cast<uint32_t>(end - (s.headerOffset + 8))));
  } else {
    // Past 4 GiB the 'wide' placeholder becomes part of a 64-bit header.
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.u32(1);
    out.u32(fourCC("mdat"));
    out.u64(end - s.headerOffset);
    writeAt(s.headerOffset, bytes);
  }
  staging_.reset();
}

uint64_t MovieFileWriter::appendMediaData(std::span<const uint8_t> bytes) {
  if (!staging_ || !staging_->media) {
    if (staging_)
      closeStaging(end_);
    openStaging(true);
  }
  uint64_t offset = end_;
  writeAt(offset, bytes);
  return offset;
}

uint64_t MovieFileWriter::commit(std::span<const uint8_t> movieAtom,
                                 std::optional<uint64_t> oldMovieAtom) {
  if (!staging_)
    openStaging(false);
  const uint64_t at = end_;
  bool flipped = false;
  try {
    writeAt(at, movieAtom);
    sync();
    // Until here the new movie atom lies inside the staging atom; now it
    // becomes the second movie atom, behind the old one that readers still take.
    closeStaging(at);
    sync();
    if (oldMovieAtom) {
      std::vector<uint8_t> type = word(fourCC("free"));
      writeAt(*oldMovieAtom + 4, type);
      flipped = true;
      sync();
    }
  } catch (...) {
    // Drop the partial movie atom; what is left opens as the old movie. A
    // failed sync after the flip undoes the flip first, so as not to cut away
    // the only movie atom left.
    if (flipped) {
      std::vector<uint8_t> type = word(fourCC("moov"));
      [[maybe_unused]] ssize_t n = retryOnInterrupt([&] {
        return ::pwrite(fd_.get(), type.data(), type.size(), static_cast<off_t>(*oldMovieAtom + 4));
      });
    }
    retryOnInterrupt([&] { return ::ftruncate(fd_.get(), static_cast<off_t>(at)); });
    end_ = at;
    throw;
  }
  return at;
}

}  // namespace qrl::quicktime
