#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/base/Time.h"
#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/Matrix.h"
#include "platform/quicktime/MovieFileWriter.h"
#include "platform/quicktime/Track.h"

namespace qrl::quicktime {

class MovieHeaderAtom;
// A QuickTime movie read from a file: the movie atom as a tree of atoms
// (unknown ones kept byte for byte), its tracks, and a current time that
// steps frame by frame. Only the movie atom is read at open; sample bytes are
// read on demand. Made editable, it takes new tracks, media and samples (new
// sample bytes go straight to the end of its file) and saves itself in place.
// A resource: one owner, not copyable.
class Movie {
 public:
  // Where each top-level atom of the file lies.
  struct TopLevelAtom {
    uint32_t type;
    uint64_t offset;
    uint64_t size;
    bool openEnded = false;  // its size field says "to the end of the file"
  };

  // Opens a QuickTime or ISO movie, or a WAV or AIFF file as a movie with one
  // sound track. Throws an IO Exception for a missing or unreadable file and a
  // parse Exception for a truncated or corrupt one.
  static std::unique_ptr<Movie> open(const std::filesystem::path& path);
  // The same from bytes in memory (no path: external references do not resolve).
  static std::unique_ptr<Movie> fromBytes(std::vector<uint8_t> bytes);
  // Writes a new movie file with no tracks (replacing any file at the path)
  // and opens it editable. Throws an IO Exception when it cannot be written.
  static std::unique_ptr<Movie> create(const std::filesystem::path& path, int32_t timeScale = 600);

  ~Movie();
  Movie(const Movie&) = delete;
  Movie& operator=(const Movie&) = delete;

  const std::filesystem::path& path() const { return path_; }
  const ByteSource& data() const { return *data_; }
  ContainerAtom& movieAtom() const { return *moov_; }
  const std::vector<TopLevelAtom>& topLevelAtoms() const { return topLevel_; }

  int32_t timeScale() const { return timeScale_; }
  Duration duration() const;
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

  // Editing. An editable movie holds its file open for writing; every edit
  // below throws an unsupported Exception on a movie that is not editable.
  bool isEditable() const { return writer_ != nullptr; }
  // Throws an IO Exception when the file cannot be written, and an
  // unsupported one for a movie in memory or a sound file opened as a movie.
  void setEditable(bool editable);
  void requireEditable() const;
  // True after an edit until the next save.
  bool hasChanges() const { return changed_; }
  void markChanged() { changed_ = true; }

  // A new track with an empty media of no type (NewMovieTrack); width and
  // height in 16.16 pixels, volume in 8.8. The reference stays valid until the
  // track is removed.
  Track& newTrack(int32_t width, int32_t height, int16_t volume);
  // Gives the track a new, empty media (NewTrackMedia): the type ('vide',
  // 'soun', 'tmcd'...), its time scale, and where its samples live: in this
  // file when `dataReference` is none (an entry of `dataReferenceType` with
  // the self-reference flag), else in the file the entry names.
  Media& newTrackMedia(Track& track, uint32_t mediaType, int32_t timeScale,
                       std::optional<DataReferenceAtom::Entry> dataReference,
                       uint32_t dataReferenceType = 0x616c6973 /* alis */);
  // Removes the track and every reference to it; its sample bytes stay in the file.
  void removeTrack(Track& track);
  // The movie's duration becomes its longest track's.
  void updateDuration();

  // Appends sample bytes to the end of the file; returns their offset.
  uint64_t appendMediaData(std::span<const uint8_t> bytes);
  // Saves the movie into its own file: the new movie atom goes after
  // everything, and the old one becomes free space only once the new one is
  // on disk. Throws on failure, leaving the file opening as the old movie.
  void updateMovieFile();
  // Tests reach the writer's fault hook through this (see MovieFileWriter).
  void setFaultHook(MovieFileWriter::FaultHook hook,
                    size_t pieceSize = MovieFileWriter::kDefaultPieceSize);

 private:
  Movie(std::filesystem::path path, std::unique_ptr<ByteSource> data);
  void load();
  void buildModel();
  static std::vector<TopLevelAtom> scanTopLevel(const ByteSource& data);
  MovieHeaderAtom& header() const { return *mvhd_; }

  std::filesystem::path path_;
  std::unique_ptr<ByteSource> data_;
  std::unique_ptr<ContainerAtom> moov_;
  MovieHeaderAtom* mvhd_ = nullptr;  // checked present; owned by moov_
  std::unique_ptr<MovieFileWriter> writer_;
  bool imported_ = false;  // a sound file opened as a movie
  bool changed_ = false;
  std::vector<TopLevelAtom> topLevel_;
  std::vector<std::unique_ptr<Track>> tracks_;
  int32_t timeScale_ = 600;
  Time currentTime_;
};

}  // namespace qrl::quicktime
