#include "platform/quicktime/Media.h"

#include <array>
#include <limits>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"

namespace qrl::quicktime {
namespace {

// Samples up to this size are kept after a read: per-frame loops ask a
// timecode track for its 4-byte frame number once a frame.
constexpr size_t kCachedSampleSize = 64;

}  // namespace

Media::Media(Movie& movie, ContainerAtom& mdia) : movie_(movie), mdia_(mdia) {
  reload();
}

void Media::reload() {
  auto* mdhd = mdia_.childAs<MediaHeaderAtom>(MediaHeaderAtom::kType);
  auto* hdlr = mdia_.childAs<HandlerAtom>(HandlerAtom::kType);
  if (mdhd == nullptr)
    throw Exception::parse("media has no header ('mdhd')");
  if (hdlr == nullptr) {
    throw Exception::parse("media has no handler ('hdlr')");
  }
  mdhd_ = mdhd;
  hdlr_ = hdlr;
  uint32_t scale = mdhd->fields().timeScale;
  if (scale == 0 || scale > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())) {
    throw Exception::parse("media time scale " + std::to_string(scale) + " is not usable");
  }
  timeScale_ = static_cast<int32_t>(scale);
  mediaType_ = hdlr->componentSubtype();

  dataReferences_.clear();
  if (auto* dref = mdia_.container({fourCC("minf"), fourCC("dinf")}); dref != nullptr) {
    if (auto* atom = dref->childAs<DataReferenceAtom>(DataReferenceAtom::kType)) {
      for (const auto& e : atom->entries()) {
        dataReferences_.push_back(DataReference::resolve(e, movie_.path()));
      }
    }
  }
  externalSources_.clear();
  externalSources_.resize(dataReferences_.size());
  invalidateCache();
  appendedChunkEnd_.reset();

  ContainerAtom* stbl = mdia_.container({fourCC("minf"), fourCC("stbl")});
  if (stbl == nullptr)
    throw Exception::parse("media has no sample table ('stbl')");
  descriptions_.clear();
  if (auto* stsd = stbl->childAs<SampleDescriptionAtom>(SampleDescriptionAtom::kType)) {
    for (const auto& entry : stsd->entries()) {
      descriptions_.push_back(SampleDescription::parse(entry, mediaType_));
    }
  }
  samples_ = SampleTable::build(stbl->childAs<TimeToSampleAtom>(TimeToSampleAtom::kType),
                                stbl->childAs<SampleToChunkAtom>(SampleToChunkAtom::kType),
                                stbl->childAs<SampleSizeAtom>(SampleSizeAtom::kType),
                                stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType32)
                                    ? stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType32)
                                    : stbl->childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType64),
                                stbl->childAs<SyncSampleAtom>(SyncSampleAtom::kType),
                                descriptions_.size());

  // Samples in the movie's own file must lie inside it: a truncated file is
  // caught here rather than at the first read.
  bool allSelf = true;
  for (const auto& d : descriptions_) {
    size_t i = d.dataReferenceIndex;
    if (i >= 1 && i <= dataReferences_.size() && !dataReferences_[i - 1].isSelfReference) {
      allSelf = false;
    }
  }
  if (allSelf && samples_.dataEnd() > movie_.data().size()) {
    throw Exception::parse("sample data ends at byte " + std::to_string(samples_.dataEnd()) +
                           " but the file has " + std::to_string(movie_.data().size()) +
                           " bytes (truncated?)");
  }
}

Media::~Media() = default;

std::string Media::handlerName() const {
  return hdlr_->name();
}

Duration Media::duration() const {
  auto d = mdhd_->fields().duration;
  return Duration::make(
      static_cast<int64_t>(std::min<uint64_t>(d, std::numeric_limits<int64_t>::max())), timeScale_);
}

uint16_t Media::language() const {
  return mdhd_->fields().language;
}

std::string Media::languageCode() const {
  uint16_t code = language();
  if (code >= 0x400 && code != 0x7FFF) {
    std::string s;
    for (int shift : {10, 5, 0})
      s += static_cast<char>(((code >> shift) & 0x1F) + 0x60);
    for (char c : s) {
      if (c < 'a' || c > 'z')
        return "und";
    }
    return s;
  }
  // The first Macintosh language codes, as the format's table lists them.
  static constexpr std::array<const char*, 12> kMac = {"eng", "fra", "deu", "ita", "nld", "swe",
                                                       "spa", "dan", "por", "nor", "heb", "jpn"};
  return code < kMac.size() ? kMac[code] : "und";
}

const ByteSource& Media::sourceFor(uint32_t descriptionNumber) const {
  if (descriptionNumber == 0 || descriptionNumber > descriptions_.size()) {
    throw Exception::range("sample description " + std::to_string(descriptionNumber) +
                           " does not exist");
  }
  size_t ref = descriptions_[descriptionNumber - 1].dataReferenceIndex;
  // Movies without data references keep their samples in their own file.
  if (dataReferences_.empty() || ref == 0)
    return movie_.data();
  if (ref > dataReferences_.size()) {
    throw Exception::range("data reference " + std::to_string(ref) + " does not exist");
  }
  if (dataReferences_[ref - 1].isSelfReference)
    return movie_.data();
  auto& source = externalSources_[ref - 1];
  if (!source) {
    const auto& path = dataReferences_[ref - 1].path;
    if (path.empty()) {
      throw Exception::unsupported("data reference " + std::to_string(ref) +
                                   " names no file that can be opened");
    }
    source = ByteSource::openFile(path);
  }
  return *source;
}

std::vector<uint8_t> Media::readSample(uint32_t index) const {
  if (cachedSample_ && cachedSample_->first == index)
    return cachedSample_->second;
  Sample s = samples_.sample(index);
  auto bytes = sourceFor(s.descriptionNumber).read(s.offset, s.size);
  if (bytes.size() <= kCachedSampleSize)
    cachedSample_.emplace(index, bytes);
  return bytes;
}

void Media::invalidateCache() const {
  cachedSample_.reset();
}

}  // namespace qrl::quicktime
