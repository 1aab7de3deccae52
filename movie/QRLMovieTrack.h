#pragma once

namespace qrl {

namespace quicktime {
class Movie;
class Track;
}  // namespace quicktime

// A track object as the services receive one: the track with the movie it
// belongs to (timecodes are read at the movie's current time). Non-owning;
// either pointer may be null, which the services treat as a missing track.
struct QRLMovieTrack {
  quicktime::Movie* movie = nullptr;
  quicktime::Track* track = nullptr;
};

}  // namespace qrl
