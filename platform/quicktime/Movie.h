#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/Matrix.h"
#include "platform/quicktime/Time.h"
#include "platform/quicktime/Track.h"

namespace qrl::quicktime {

class MovieHeaderAtom;
// A QuickTime movie read from a file: the movie atom as a tree of atoms
// (unknown ones kept byte for byte), its tracks, and a current time that
// steps frame by frame. Only the movie atom is read at open; sample bytes are
// read on demand. A resource: one owner, not copyable.
class Movie {
 public:
  // Where each top-level atom of the file lies.
  struct TopLevelAtom {
    uint32_t type;
    uint64_t offset;
    uint64_t size;
  };

  // Opens a QuickTime or ISO movie, or a WAV or AIFF file as a movie with one
  // sound track. Throws an IO Exception for a missing or unreadable file and a
  // parse Exception for a truncated or corrupt one.
  static std::unique_ptr<Movie> open(const std::filesystem::path& path);
  // The same from bytes in memory (no path: external references do not resolve).
  static std::unique_ptr<Movie> fromBytes(std::vector<uint8_t> bytes);

  ~Movie();
  Movie(const Movie&) = delete;
  Movie& operator=(const Movie&) = delete;

  const std::filesystem::path& path() const { return path_; }
  const ByteSource& data() const { return *data_; }
  ContainerAtom& movieAtom() const { return *moov_; }
  const std::vector<TopLevelAtom>& topLevelAtoms() const { return topLevel_; }

  int32_t timeScale() const { return timeScale_; }
  Time duration() const;
  Matrix matrix() const;
  // The bounding box of the enabled tracks that have a picture, through their
  // matrices and the movie's.
  Size naturalSize() const;
  // The size the movie is shown at; nothing scales a movie here, so the natural size.
  Size currentSize() const { return naturalSize(); }

  const std::vector<std::unique_ptr<Track>>& tracks() const { return tracks_; }
  size_t trackCount() const { return tracks_.size(); }
  // `number` is 1-based, as the toolbox counts; throws a range Exception.
  Track& track(size_t number) const;
  std::vector<Track*> tracksOfMediaType(uint32_t mediaType) const;

  Time currentTime() const { return currentTime_; }
  void setCurrentTime(Time time) { currentTime_ = time; }
  void gotoBeginning() { currentTime_ = Time::make(0, timeScale_); }
  // Moves to the next sample boundary of the enabled video tracks after the
  // current time, or to the movie's end when there is none, so that a loop
  // stepping until the end always ends.
  void stepForward();

 private:
  Movie(std::filesystem::path path, std::unique_ptr<ByteSource> data);
  void load();
  void buildModel();

  std::filesystem::path path_;
  std::unique_ptr<ByteSource> data_;
  std::unique_ptr<ContainerAtom> moov_;
  const MovieHeaderAtom* mvhd_ = nullptr;  // checked present; owned by moov_
  std::vector<TopLevelAtom> topLevel_;
  std::vector<std::unique_ptr<Track>> tracks_;
  int32_t timeScale_ = 600;
  Time currentTime_;
};

}  // namespace qrl::quicktime
