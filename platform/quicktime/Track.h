#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/base/Time.h"
#include "platform/base/TimeRange.h"
#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/Matrix.h"
#include "platform/quicktime/Media.h"

namespace qrl::quicktime {

class TrackHeaderAtom;
class ContainerAtom;
class Movie;

// A rectangle in movie pixels: origin (top left) and size.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  friend bool operator==(const Rect&, const Rect&) = default;
};

// One track of a movie: its header fields, edit list, references and media.
// Owned by the Movie; reads the 'trak' atom the movie owns. The editing
// methods throw an unsupported Exception unless the movie is editable.
class Track {
 public:
  // Reads and checks the 'trak'; throws a parse Exception naming what is wrong.
  Track(Movie& movie, ContainerAtom& trak);
  ~Track();
  Track(const Track&) = delete;
  Track& operator=(const Track&) = delete;

  uint32_t trackID() const;
  uint32_t mediaType() const { return media_->mediaType(); }
  bool isEnabled() const;
  int16_t layer() const;
  int16_t alternateGroup() const;
  // 8.8 fixed point; 0x100 is full volume.
  int16_t volume() const;
  // Width and height before the matrix, in pixels.
  Size dimensions() const;
  Matrix matrix() const;
  // tkhd's duration, in the movie's time scale.
  Duration duration() const;
  // The name in the track's user data: 'name' (plain bytes), else 'tnam'.
  std::optional<std::string> displayName() const;
  // The edits as stored; a track without an edit list has one implicit edit
  // showing its whole media from time 0 at rate 1.
  std::vector<EditListAtom::Entry> editList() const;
  // Track IDs this track refers to with the reference type (e.g. 'tmcd').
  std::vector<uint32_t> references(uint32_t type) const;

  const Media& media() const { return *media_; }
  Media& media() { return *media_; }
  ContainerAtom& atom() const { return trak_; }
  Movie& movie() const { return movie_; }

  // Where the track is drawn: the matrix's translation and the dimensions.
  Rect bounds() const;

  void setEnabled(bool enabled);
  void setLayer(int16_t layer);
  void setVolume(int16_t volume);
  void setMatrix(const Matrix& matrix);
  // Width and height in pixels (stored as 16.16).
  void setDimensions(Size size);
  // Moves the track's origin to the rectangle's and takes its size.
  void setBounds(const Rect& bounds);
  // Writes the name as 'name' (plain bytes) and 'tnam' (UTF-8, undetermined
  // language) in the track's user data, replacing both.
  void setDisplayName(const std::string& name);
  // Adds `target` to this track's references of the type; returns its 1-based
  // index among them (an existing reference is not added twice).
  uint32_t addReference(const Track& target, uint32_t type);
  // Drops every reference to the track ID (the track was removed).
  void removeReferencesTo(uint32_t trackID);

  // Inserts `mediaDuration` media units from `mediaTime` at `trackStart`
  // (movie time scale), played at `rate` (16.16). Edits after the point move
  // later; a start past the track's end leaves an empty edit before it.
  void insertMedia(int64_t trackStart, int64_t mediaTime, int64_t mediaDuration,
                   int32_t rate = 0x10000);
  // Inserts the part of `source` (a track of this or another movie) shown
  // during `from` at `at`, adding its samples, sample descriptions and, for
  // another file, a data reference to that file.
  void insertSegment(const Track& source, TimeRange from, Time at);
  // The same, played so that it fills `to` (faster or slower than recorded).
  void insertSegment(const Track& source, TimeRange from, TimeRange to);
  // Appends one encoded still image (a TIFF, a PNG...) of the codec at the
  // track's end for `duration`. The picture size comes from the track's dimensions.
  void addImage(std::span<const uint8_t> encoded, uint32_t codec, Duration duration,
                int16_t depth = 32);

  // Reads the header and edits again after the atoms changed.
  void reload();
  // Rebuilds the media from a new 'mdia' (the movie gave the track new media).
  void resetMedia(ContainerAtom& mdia);

  // The media time shown at a movie time; none in an empty edit or outside the track.
  std::optional<int64_t> mediaTimeAt(Time movieTime) const;
  // The first movie time after `movieTime` at which this track starts showing
  // another sample (or starts or stops an edit); none past the track's end.
  std::optional<Time> nextSampleBoundaryAfter(Time movieTime) const;

 private:
  struct Edit {
    int64_t start;      // movie time scale
    int64_t duration;   // movie time scale
    int64_t mediaTime;  // media time scale; -1 is empty
    int32_t rate;       // 16.16
  };
  Time movieTimeOf(const Edit& edit, int64_t mediaTime) const;
  void writeEdits(const std::vector<EditListAtom::Entry>& entries);
  TrackHeaderAtom& header();

  Movie& movie_;
  ContainerAtom& trak_;
  TrackHeaderAtom* tkhd_ = nullptr;  // checked present; owned by trak_
  std::unique_ptr<Media> media_;
  std::vector<Edit> edits_;
};

}  // namespace qrl::quicktime
