#include "conduit/QRLMovieArguments.h"

#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"

namespace qrl {

std::unique_ptr<quicktime::Movie> QRLOpenMovieArgument(const std::string& path) {
  try {
    return quicktime::Movie::open(path);
  } catch (const Exception& e) {
    process::SystemLog::write(path + ": not opened as a movie: " + e.what());
    return nullptr;
  }
}

QRLEditedMovieArgument::QRLEditedMovieArgument(const std::string& path)
    : movie_(QRLOpenMovieArgument(path)) {
  if (!movie_)
    return;
  try {
    movie_->setEditable(true);
  } catch (const Exception& e) {
    // Not writable: a nil movie too.
    process::SystemLog::write(path + ": not opened for writing: " + e.what());
    movie_.reset();
  }
}

QRLEditedMovieArgument::~QRLEditedMovieArgument() {
  if (!movie_ || !movie_->hasChanges())
    return;
  try {
    movie_->updateMovieFile();
  } catch (const Exception& e) {
    process::SystemLog::write(e.what());
  }
}

QRLTrackArgument::QRLTrackArgument(const QRLTrackReference& reference)
    : movie(QRLOpenMovieArgument(reference.moviePath)) {
  track.movie = movie.get();
  if (movie && static_cast<uint64_t>(reference.index) <= movie->trackCount())
    track.track = &movie->track(static_cast<size_t>(reference.index));
}

}  // namespace qrl
