#include "platform/quicktime/Movie.h"

#include <algorithm>
#include <limits>

#include "platform/base/Exception.h"
#include "platform/quicktime/AtomFactory.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/SoundFileImporter.h"

namespace qrl::quicktime {

Movie::Movie(std::filesystem::path path, std::unique_ptr<ByteSource> data)
    : path_(std::move(path)), data_(std::move(data)) {}

Movie::~Movie() = default;

void Movie::setEditable(bool editable) {
  if (!editable) {
    writer_.reset();
    return;
  }
  if (writer_)
    return;
  if (path_.empty())
    throw Exception::unsupported("a movie held in memory cannot be saved in place");
  if (imported_) {
    throw Exception::unsupported(path_.string() +
                                 ": a sound file opened as a movie cannot be saved in place");
  }
  std::optional<uint64_t> openEnded;
  if (!topLevel_.empty() && topLevel_.back().openEnded)
    openEnded = topLevel_.back().offset;
  writer_ = std::make_unique<MovieFileWriter>(path_, openEnded);
}

void Movie::requireEditable() const {
  if (!writer_)
    throw Exception::unsupported("the movie is not editable");
}

std::unique_ptr<Movie> Movie::open(const std::filesystem::path& path) {
  std::unique_ptr<Movie> movie(new Movie(path, ByteSource::openFile(path)));
  try {
    movie->load();
  } catch (const Exception& e) {
    if (e.kind() == Exception::Kind::Parse) {
      throw Exception::parse(path.string() + ": " + e.what());
    }
    throw;
  }
  return movie;
}

std::unique_ptr<Movie> Movie::fromBytes(std::vector<uint8_t> bytes) {
  std::unique_ptr<Movie> movie(new Movie({}, ByteSource::fromBytes(std::move(bytes))));
  movie->load();
  return movie;
}

std::vector<Movie::TopLevelAtom> Movie::scanTopLevel(const ByteSource& data) {
  std::vector<TopLevelAtom> atoms;
  const uint64_t fileSize = data.size();
  uint64_t position = 0;
  while (position < fileSize) {
    uint64_t left = fileSize - position;
    if (left < 8) {
      throw Exception::parse("truncated: " + std::to_string(left) + " stray bytes at offset " +
                             std::to_string(position));
    }
    auto head = data.read(position, static_cast<size_t>(std::min<uint64_t>(left, 16)));
    ByteReader in(head, "top-level atom");
    uint64_t size = in.u32();
    uint32_t type = in.u32();
    uint64_t headerSize = 8;
    bool openEnded = false;
    if (size == 1) {
      size = in.u64();
      headerSize = 16;
    } else if (size == 0) {
      size = left;
      openEnded = true;
    }
    std::string where = quoted(type) + " at offset " + std::to_string(position);
    if (size < headerSize) {
      throw Exception::parse("atom " + where + " has size " + std::to_string(size) +
                             ", smaller than its header");
    }
    if (size > left) {
      throw Exception::parse("truncated: atom " + where + " claims " + std::to_string(size) +
                             " bytes, only " + std::to_string(left) + " are left in the file");
    }
    atoms.push_back({type, position, size, openEnded});
    position += size;
  }
  return atoms;
}

void Movie::load() {
  moov_ = SoundFileImporter::import(*data_);
  if (moov_) {
    imported_ = true;
    topLevel_.push_back({fourCC("moov"), 0, 0});
    buildModel();
    return;
  }
  topLevel_ = scanTopLevel(*data_);
  // The first movie atom wins, as in every common reader.
  for (const auto& a : topLevel_) {
    if (a.type == fourCC("moov")) {
      auto bytes = data_->read(a.offset, static_cast<size_t>(a.size));
      ByteReader atomReader(bytes, "moov");
      auto atom = AtomFactory::parse(atomReader);
      moov_.reset(static_cast<ContainerAtom*>(atom.release()));
      break;
    }
  }
  if (!moov_)
    throw Exception::parse("no movie atom ('moov') in the file");
  buildModel();
}

void Movie::buildModel() {
  if (moov_->child(fourCC("cmov")) != nullptr) {
    throw Exception::unsupported("compressed movie atoms ('cmov') are not supported");
  }
  auto* mvhd = moov_->childAs<MovieHeaderAtom>(MovieHeaderAtom::kType);
  if (mvhd == nullptr) {
    throw Exception::parse("the movie has no header ('mvhd')");
  }
  mvhd_ = mvhd;
  uint32_t scale = mvhd->fields().timeScale;
  if (scale == 0 || scale > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())) {
    throw Exception::parse("movie time scale " + std::to_string(scale) + " is not usable");
  }
  timeScale_ = static_cast<int32_t>(scale);
  for (const auto& child : moov_->children()) {
    if (child->type() != fourCC("trak"))
      continue;
    auto* trak = dynamic_cast<ContainerAtom*>(child.get());
    try {
      tracks_.push_back(std::make_unique<Track>(*this, *trak));
    } catch (const Exception& e) {
      if (e.kind() != Exception::Kind::Parse)
        throw;
      throw Exception::parse("track " + std::to_string(tracks_.size() + 1) + ": " + e.what());
    }
  }
  gotoBeginning();
}

Duration Movie::duration() const {
  uint64_t d = mvhd_->fields().duration;
  return Duration::make(static_cast<int64_t>(std::min<uint64_t>(d, uint64_t{1} << 52)), timeScale_);
}

Matrix Movie::matrix() const {
  return mvhd_->fields().matrix;
}

Size Movie::naturalSize() const {
  bool any = false;
  double minX = 0, minY = 0, maxX = 0, maxY = 0;
  Matrix movieMatrix = matrix();
  for (const auto& t : tracks_) {
    Size d = t->dimensions();
    if (!t->isEnabled() || d.width <= 0 || d.height <= 0 || t->mediaType() == kMediaTypeSound) {
      continue;
    }
    for (auto [x, y] :
         {std::pair{0.0, 0.0}, {d.width, 0.0}, {0.0, d.height}, {d.width, d.height}}) {
      double tx, ty, mx, my;
      t->matrix().map(x, y, tx, ty);
      movieMatrix.map(tx, ty, mx, my);
      if (!any) {
        minX = maxX = mx;
        minY = maxY = my;
        any = true;
      }
      minX = std::min(minX, mx);
      maxX = std::max(maxX, mx);
      minY = std::min(minY, my);
      maxY = std::max(maxY, my);
    }
  }
  return {maxX - minX, maxY - minY};
}

Track& Movie::track(size_t number) const {
  if (number == 0 || number > tracks_.size()) {
    throw Exception::range("track " + std::to_string(number) + " does not exist; the movie has " +
                           std::to_string(tracks_.size()));
  }
  return *tracks_[number - 1];
}

std::vector<Track*> Movie::tracksOfMediaType(uint32_t mediaType) const {
  std::vector<Track*> found;
  for (const auto& t : tracks_) {
    if (t->mediaType() == mediaType)
      found.push_back(t.get());
  }
  return found;
}

void Movie::stepForward() {
  Time next = Time::zeroPlus(duration());
  for (const auto& t : tracks_) {
    if (!t->isEnabled() || t->mediaType() != kMediaTypeVideo)
      continue;
    if (auto boundary = t->nextSampleBoundaryAfter(currentTime_); boundary && *boundary < next) {
      next = *boundary;
    }
  }
  if (currentTime_ < next)
    currentTime_ = next;
}

}  // namespace qrl::quicktime
