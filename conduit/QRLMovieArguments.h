#pragma once

#include <memory>
#include <string>

#include "movie/QRLMovieTrack.h"
#include "platform/quicktime/Movie.h"
#include "protocol/QRLWireValues.h"

namespace qrl {

// How the conduit turns movie and track arguments (paths on the wire) into
// the objects the services take. A file that does not open as a movie is a
// nil movie (null), after a line in the log saying why.
std::unique_ptr<quicktime::Movie> QRLOpenMovieArgument(const std::string& path);

// A movie argument the call may change: opened editable, and saved in place
// after the call when it changed and was not saved (a failed save leaves the
// file's last saved movie, with a line in the log). Null when the file does
// not open.
class QRLEditedMovieArgument {
 public:
  explicit QRLEditedMovieArgument(const std::string& path);
  ~QRLEditedMovieArgument();
  QRLEditedMovieArgument(const QRLEditedMovieArgument&) = delete;
  QRLEditedMovieArgument& operator=(const QRLEditedMovieArgument&) = delete;

  quicktime::Movie* get() const { return movie_.get(); }

 private:
  std::unique_ptr<quicktime::Movie> movie_;
};

// A track argument: its movie, opened for the call, and the numbered track
// (null when the number is past the movie's last track).
struct QRLTrackArgument {
  explicit QRLTrackArgument(const QRLTrackReference& reference);

  std::unique_ptr<quicktime::Movie> movie;
  QRLMovieTrack track;
};

}  // namespace qrl
