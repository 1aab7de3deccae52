#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/quicktime/EditListAtom.h"
#include "platform/quicktime/Matrix.h"
#include "platform/quicktime/Media.h"
#include "platform/quicktime/Time.h"

namespace qrl::quicktime {

class TrackHeaderAtom;
class ContainerAtom;
class Movie;

// One track of a movie: its header fields, edit list, references and media.
// Owned by the Movie; reads the 'trak' atom the movie owns.
class Track {
 public:
  // Reads and checks the 'trak'; throws a parse Exception naming what is wrong.
  Track(const Movie& movie, ContainerAtom& trak);
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
  Time duration() const;
  // The name in the track's user data: 'name' (plain bytes), else 'tnam'.
  std::optional<std::string> displayName() const;
  // The edits as stored; a track without an edit list has one implicit edit
  // showing its whole media from time 0 at rate 1.
  std::vector<EditListAtom::Entry> editList() const;
  // Track IDs this track refers to with the reference type (e.g. 'tmcd').
  std::vector<uint32_t> references(uint32_t type) const;

  const Media& media() const { return *media_; }
  ContainerAtom& atom() const { return trak_; }

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

  const Movie& movie_;
  ContainerAtom& trak_;
  const TrackHeaderAtom* tkhd_ = nullptr;  // checked present; owned by trak_
  std::unique_ptr<Media> media_;
  std::vector<Edit> edits_;
};

}  // namespace qrl::quicktime
