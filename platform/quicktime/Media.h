#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/base/Time.h"
#include "platform/quicktime/DataReference.h"
#include "platform/quicktime/SampleDescription.h"
#include "platform/quicktime/SampleTable.h"

namespace qrl::quicktime {

class MediaHeaderAtom;
class HandlerAtom;
class TimeCodeMediaInfoAtom;
class ByteSource;
class ContainerAtom;
class Movie;

// A track's media: its time scale, language, handler, data references,
// sample descriptions and samples. Owned by its Track; reads the atoms of
// the 'mdia' it was built from, which the movie owns.
class Media {
 public:
  // Reads and checks the 'mdia' atom; throws a parse Exception naming what is wrong.
  Media(Movie& movie, ContainerAtom& mdia);
  ~Media();
  Media(const Media&) = delete;
  Media& operator=(const Media&) = delete;

  // The media handler's subtype: 'vide', 'soun', 'tmcd', ...
  uint32_t mediaType() const { return mediaType_; }
  std::string handlerName() const;
  int32_t timeScale() const { return timeScale_; }
  // mdhd's duration in the media time scale.
  Duration duration() const;
  // Macintosh language code (below 0x400) or packed ISO 639-2/T code.
  uint16_t language() const;
  // Three-letter ISO 639-2 form; "und" when unknown.
  std::string languageCode() const;

  const std::vector<DataReference>& dataReferences() const { return dataReferences_; }
  const std::vector<SampleDescription>& sampleDescriptions() const { return descriptions_; }
  const SampleTable& sampleTable() const { return samples_; }

  // The bytes of one sample (0-based index), from the file its description's
  // data reference names. Throws a range or IO Exception. Small samples (a
  // timecode track's frame number) are kept after the first read.
  std::vector<uint8_t> readSample(uint32_t index) const;

  ContainerAtom& atom() const { return mdia_; }

  // Video media: the graphics mode and operation colour of its 'vmhd'.
  uint16_t graphicsMode() const;
  std::array<uint16_t, 3> opColor() const;

  // Editing. Each throws an unsupported Exception unless the movie is editable.

  // Adds a data reference entry; returns its 1-based number.
  uint32_t addDataReference(DataReferenceAtom::Entry entry);
  // The number of the first entry that is a self reference, added if missing.
  uint32_t selfReferenceNumber();
  // Adds a full sample description entry (size, format, reserved, data
  // reference index, fields), or finds an identical one; returns its 1-based
  // number. A data reference index of 0 means the movie's own file.
  uint32_t addSampleDescription(std::vector<uint8_t> entry);
  // Appends `count` samples of equal size held in `data` to the movie's file
  // and to the tables, each lasting `duration` media units; returns the media
  // time of the first. Constant cost per call, whatever the media holds.
  int64_t addSamples(std::span<const uint8_t> data, uint32_t count, uint32_t duration,
                     uint32_t descriptionNumber, bool sync = true);
  // The same for bytes already in the file the description's data reference
  // names, at `offset` (samples of another movie, a sound file). Samples that
  // continue the last chunk's bytes join it unless `newChunk`.
  int64_t addSampleReferences(uint64_t offset, uint32_t size, uint32_t count, uint32_t duration,
                              uint32_t descriptionNumber, bool sync, bool newChunk = false);
  void setGraphicsMode(uint16_t mode, const std::array<uint16_t, 3>& opColor);
  // Timecode media: its 'tcmi', made when missing.
  TimeCodeMediaInfoAtom& timeCodeMediaInfo();

  // Reads the atoms again after they were changed from outside.
  void reload();

 private:
  const ByteSource& sourceFor(uint32_t descriptionNumber) const;
  void invalidateCache() const;

  Movie& movie_;
  ContainerAtom& mdia_;
  // Checked present at construction; owned by mdia_.
  MediaHeaderAtom* mdhd_ = nullptr;
  const HandlerAtom* hdlr_ = nullptr;
  uint32_t mediaType_ = 0;
  int32_t timeScale_ = 1;
  std::vector<DataReference> dataReferences_;
  std::vector<SampleDescription> descriptions_;
  SampleTable samples_;
  // External files opened on first read, one per data reference.
  mutable std::vector<std::unique_ptr<ByteSource>> externalSources_;
  // One small sample kept from its last read.
  mutable std::optional<std::pair<uint32_t, std::vector<uint8_t>>> cachedSample_;
  // Where the last chunk added in this session ends, so that the next sample
  // written right behind it joins it.
  std::optional<uint64_t> appendedChunkEnd_;
};

}  // namespace qrl::quicktime
