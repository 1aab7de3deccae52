// The editing half of Media: data references, sample descriptions, appended
// samples and the media handlers' settings.
#include <algorithm>
#include <limits>

#include "platform/base/Exception.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/ContainerAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Media.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeCodeMediaInfoAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/VideoMediaInfoAtom.h"

namespace qrl::quicktime {
namespace {

// Bounds the work of finding a sample's offset inside its chunk.
constexpr uint32_t kMaxSamplesPerChunk = 1024;

template <typename T>
T& childOrNew(ContainerAtom& parent, uint32_t type, uint32_t before = 0) {
  if (auto* found = parent.childAs<T>(type))
    return *found;
  if (parent.child(type) != nullptr)
    throw Exception::parse("atom " + quoted(type) + " cannot be edited");
  auto atom = std::make_unique<T>();
  T& ref = *atom;
  parent.insertChild(std::move(atom), before);
  return ref;
}

ContainerAtom& containerOrNew(ContainerAtom& parent, uint32_t type, uint32_t before = 0) {
  if (auto* found = parent.childAs<ContainerAtom>(type))
    return *found;
  auto atom = std::make_unique<ContainerAtom>(type);
  ContainerAtom& ref = *atom;
  parent.insertChild(std::move(atom), before);
  return ref;
}

ContainerAtom& sampleTableAtom(ContainerAtom& mdia) {
  ContainerAtom* stbl = mdia.container({fourCC("minf"), fourCC("stbl")});
  if (stbl == nullptr)
    throw Exception::parse("media has no sample table ('stbl')");
  return *stbl;
}

}  // namespace

uint16_t Media::graphicsMode() const {
  auto* minf = mdia_.container({fourCC("minf")});
  auto* vmhd = minf ? minf->childAs<VideoMediaInfoAtom>(VideoMediaInfoAtom::kType) : nullptr;
  return vmhd ? vmhd->graphicsMode() : VideoMediaInfoAtom::kCopy;
}

std::array<uint16_t, 3> Media::opColor() const {
  auto* minf = mdia_.container({fourCC("minf")});
  auto* vmhd = minf ? minf->childAs<VideoMediaInfoAtom>(VideoMediaInfoAtom::kType) : nullptr;
  return vmhd ? vmhd->opColor() : std::array<uint16_t, 3>{0, 0, 0};
}

void Media::setGraphicsMode(uint16_t mode, const std::array<uint16_t, 3>& opColor) {
  movie_.requireEditable();
  auto* minf = mdia_.container({fourCC("minf")});
  auto* vmhd = minf ? minf->childAs<VideoMediaInfoAtom>(VideoMediaInfoAtom::kType) : nullptr;
  if (vmhd == nullptr)
    throw Exception::unsupported("only video media have a graphics mode");
  vmhd->setGraphicsMode(mode, opColor);
}

TimeCodeMediaInfoAtom& Media::timeCodeMediaInfo() {
  movie_.requireEditable();
  if (mediaType_ != kMediaTypeTimeCode)
    throw Exception::unsupported("only timecode media have timecode display options");
  auto* minf = mdia_.container({fourCC("minf")});
  if (minf == nullptr)
    throw Exception::parse("media has no information ('minf')");
  if (minf->child(fourCC("gmhd")) == nullptr) {
    // The base header QuickTime writes: dither copy, grey operation colour.
    auto gmhd = std::make_unique<ContainerAtom>(fourCC("gmhd"));
    const std::vector<uint8_t> gmin{0, 0, 0, 0, 0, 0x40, 0x80, 0, 0x80, 0, 0x80, 0, 0, 0, 0, 0};
    gmhd->addChild(std::make_unique<RawAtom>(fourCC("gmin"), gmin));
    minf->insertChild(std::move(gmhd), fourCC("hdlr"));
  }
  auto& gmhd = containerOrNew(*minf, fourCC("gmhd"));
  auto& tmcd = containerOrNew(gmhd, fourCC("tmcd"));
  return childOrNew<TimeCodeMediaInfoAtom>(tmcd, TimeCodeMediaInfoAtom::kType);
}

uint32_t Media::addDataReference(DataReferenceAtom::Entry entry) {
  movie_.requireEditable();
  auto* minf = mdia_.container({fourCC("minf")});
  if (minf == nullptr)
    throw Exception::parse("media has no information ('minf')");
  auto& dinf = containerOrNew(*minf, fourCC("dinf"), fourCC("stbl"));
  auto& dref = childOrNew<DataReferenceAtom>(dinf, DataReferenceAtom::kType);
  dataReferences_.push_back(DataReference::resolve(entry, movie_.path()));
  externalSources_.emplace_back();
  dref.addEntry(std::move(entry));
  return static_cast<uint32_t>(dref.entries().size());
}

uint32_t Media::selfReferenceNumber() {
  for (size_t i = 0; i < dataReferences_.size(); ++i) {
    if (dataReferences_[i].isSelfReference)
      return static_cast<uint32_t>(i + 1);
  }
  return addDataReference({fourCC("alis"), DataReferenceAtom::kSelfReference, {}});
}

uint32_t Media::addSampleDescription(std::vector<uint8_t> entry) {
  movie_.requireEditable();
  SampleDescription parsed = SampleDescription::parse(entry, mediaType_);
  // Index 0 names no entry: such samples are read from the movie's own file.
  if (parsed.dataReferenceIndex > dataReferences_.size()) {
    throw Exception::range("sample description names data reference " +
                           std::to_string(parsed.dataReferenceIndex) + " of " +
                           std::to_string(dataReferences_.size()));
  }
  auto& stsd = childOrNew<SampleDescriptionAtom>(sampleTableAtom(mdia_),
                                                 SampleDescriptionAtom::kType, fourCC("stts"));
  std::vector<uint8_t> sized = entry;
  auto size = static_cast<uint32_t>(sized.size());
  for (int i = 0; i < 4; ++i)
    sized[static_cast<size_t>(i)] = static_cast<uint8_t>(size >> (24 - 8 * i));
  const auto& entries = stsd.entries();
  for (size_t i = entries.size(); i > 0; --i) {
    if (entries[i - 1] == sized)
      return static_cast<uint32_t>(i);
  }
  stsd.addEntry(std::move(entry));
  descriptions_.push_back(parsed);
  return static_cast<uint32_t>(stsd.entries().size());
}

int64_t Media::addSamples(std::span<const uint8_t> data, uint32_t count, uint32_t duration,
                          uint32_t descriptionNumber, bool sync) {
  movie_.requireEditable();
  if (count == 0 || data.size() % count != 0 ||
      data.size() / count > std::numeric_limits<uint32_t>::max()) {
    throw Exception::range(std::to_string(data.size()) + " bytes do not make " +
                           std::to_string(count) + " samples of equal size");
  }
  if (descriptionNumber == 0 || descriptionNumber > descriptions_.size()) {
    throw Exception::range("sample description " + std::to_string(descriptionNumber) +
                           " does not exist");
  }
  size_t ref = descriptions_[descriptionNumber - 1].dataReferenceIndex;
  if (ref >= 1 && ref <= dataReferences_.size() && !dataReferences_[ref - 1].isSelfReference) {
    throw Exception::unsupported("samples can only be written into the movie's own file");
  }
  uint64_t offset = movie_.appendMediaData(data);
  return addSampleReferences(offset, static_cast<uint32_t>(data.size() / count), count, duration,
                             descriptionNumber, sync);
}

int64_t Media::addSampleReferences(uint64_t offset, uint32_t size, uint32_t count,
                                   uint32_t duration, uint32_t descriptionNumber, bool sync,
                                   bool newChunk) {
  movie_.requireEditable();
  if (descriptionNumber == 0 || descriptionNumber > descriptions_.size()) {
    throw Exception::range("sample description " + std::to_string(descriptionNumber) +
                           " does not exist");
  }
  if (count == 0)
    return samples_.duration();
  if (static_cast<uint64_t>(samples_.sampleCount()) + count >
      std::numeric_limits<uint32_t>::max()) {
    throw Exception::range("a media holds at most 2^32 - 1 samples");
  }
  ContainerAtom& stbl = sampleTableAtom(mdia_);
  auto& stts = childOrNew<TimeToSampleAtom>(stbl, TimeToSampleAtom::kType);
  auto& stsc = childOrNew<SampleToChunkAtom>(stbl, SampleToChunkAtom::kType);
  auto& stsz = childOrNew<SampleSizeAtom>(stbl, SampleSizeAtom::kType);
  auto* stco = stbl.childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType32);
  if (stco == nullptr)
    stco = stbl.childAs<ChunkOffsetAtom>(ChunkOffsetAtom::kType64);
  if (stco == nullptr) {
    auto atom = std::make_unique<ChunkOffsetAtom>(false);
    stco = atom.get();
    stbl.addChild(std::move(atom));
  }
  auto* stss = stbl.childAs<SyncSampleAtom>(SyncSampleAtom::kType);

  const uint32_t first = samples_.sampleCount();
  const bool join = !newChunk && appendedChunkEnd_ && *appendedChunkEnd_ == offset &&
                    !stsc.entries().empty() &&
                    stsc.entries().back().descriptionNumber == descriptionNumber &&
                    samples_.lastChunkSampleCount() + count <= kMaxSamplesPerChunk;
  stts.addSamples(count, duration);
  stsz.addSamples(size, count);
  if (join) {
    stsc.growLastChunk(static_cast<uint32_t>(stco->offsets().size()), count);
  } else {
    stco->addOffset(offset);
    stsc.addChunk(static_cast<uint32_t>(stco->offsets().size()), count, descriptionNumber);
  }
  if (!sync && stss == nullptr) {
    auto atom = std::make_unique<SyncSampleAtom>();
    std::vector<uint32_t> all(first);
    for (uint32_t i = 0; i < first; ++i)
      all[i] = i + 1;
    atom->setSampleNumbers(std::move(all));
    stss = atom.get();
    stbl.addChild(std::move(atom));
  } else if (sync && stss != nullptr) {
    for (uint32_t i = 0; i < count; ++i)
      stss->addSampleNumber(first + i + 1);
  }
  const int64_t start = samples_.duration();
  samples_.append(offset, size, count, duration, descriptionNumber, sync, join);
  auto fields = mdhd_->fields();
  fields.duration = static_cast<uint64_t>(samples_.duration());
  mdhd_->setFields(fields);
  appendedChunkEnd_ = offset + static_cast<uint64_t>(size) * count;
  invalidateCache();
  return start;
}

}  // namespace qrl::quicktime
