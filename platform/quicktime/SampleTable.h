#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace qrl::quicktime {

class TimeToSampleAtom;
class SampleToChunkAtom;
class SampleSizeAtom;
class ChunkOffsetAtom;
class SyncSampleAtom;

// One sample of a media, expanded on demand from the sample table.
struct Sample {
  int64_t time = 0;       // decode time, media time scale
  uint32_t duration = 0;  // media time scale
  uint32_t size = 0;      // bytes
  uint64_t offset = 0;    // in the file of its data reference
  bool isSync = true;
  uint32_t descriptionNumber = 1;  // 1-based sample description
  friend bool operator==(const Sample&, const Sample&) = default;
};

// A media's samples kept as the runs the file stores (time runs, chunk runs,
// sizes, chunk offsets, key samples) and expanded one sample at a time with
// binary searches, so an hour of video costs a few hundred kilobytes.
// A value type: a copy of what the atoms held when it was built.
class SampleTable {
 public:
  SampleTable() = default;

  // Checks that the tables agree (same sample count, chunk runs within the
  // chunk offsets, description and key sample numbers in range) and throws a
  // parse Exception naming the disagreement. Null atoms are absent tables.
  static SampleTable build(const TimeToSampleAtom* stts, const SampleToChunkAtom* stsc,
                           const SampleSizeAtom* stsz, const ChunkOffsetAtom* stco,
                           const SyncSampleAtom* stss, size_t descriptionCount);

  uint32_t sampleCount() const { return sampleCount_; }
  size_t chunkCount() const { return chunkOffsets_.size(); }
  // Sum of the sample durations, media time scale.
  int64_t duration() const { return duration_; }
  // One past the last byte any chunk occupies (0 without samples).
  uint64_t dataEnd() const { return dataEnd_; }

  // `index` is 0-based; throws a range Exception past the last sample.
  Sample sample(uint32_t index) const;
  // The sample whose decode interval holds `time`; none before 0 or at or
  // after the media's end.
  std::optional<uint32_t> sampleIndexAtTime(int64_t time) const;
  // The earliest sample start later than `time`; none when no sample starts after it.
  std::optional<int64_t> nextSampleTimeAfter(int64_t time) const;

  // Samples in the last chunk (0 without chunks).
  uint32_t lastChunkSampleCount() const {
    return chunkRuns_.empty() ? 0 : chunkRuns_.back().samplesPerChunk;
  }
  // Appends `count` samples of `size` bytes laid out one after another from
  // `offset`, each lasting `duration`, exactly as Media records them in the
  // atoms, so the table stays current without being rebuilt. With
  // `joinLastChunk` they continue the last chunk; otherwise they start one.
  void append(uint64_t offset, uint32_t size, uint32_t count, uint32_t duration,
              uint32_t descriptionNumber, bool sync, bool joinLastChunk);

  // Calls `visit(chunkIndex, offset, firstSample, sampleCount, descriptionNumber)`
  // for every chunk in order (0-based chunk index and sample index).
  template <typename Visit>
  void forEachChunk(Visit visit) const {
    for (size_t r = 0; r < chunkRuns_.size(); ++r) {
      const ChunkRun& run = chunkRuns_[r];
      size_t end = r + 1 < chunkRuns_.size() ? chunkRuns_[r + 1].firstChunk : chunkOffsets_.size();
      uint32_t sample = run.firstSample;
      for (size_t c = run.firstChunk; c < end && sample < sampleCount_; ++c) {
        visit(c, chunkOffsets_[c], sample, run.samplesPerChunk, run.descriptionNumber);
        sample += run.samplesPerChunk;
      }
    }
  }
  // Bytes of samples [first, first + count).
  uint64_t bytesOf(uint32_t first, uint32_t count) const;

 private:
  struct TimeRun {
    uint32_t firstSample;
    uint32_t count;
    uint32_t delta;
    int64_t firstTime;
  };
  struct ChunkRun {
    uint32_t firstChunk;  // 0-based
    uint32_t samplesPerChunk;
    uint32_t descriptionNumber;
    uint32_t firstSample;
  };

  const TimeRun* timeRunAt(int64_t time) const;

  std::vector<TimeRun> timeRuns_;
  std::vector<ChunkRun> chunkRuns_;
  uint32_t constantSize_ = 0;
  std::vector<uint32_t> sizes_;
  std::vector<uint64_t> chunkOffsets_;
  std::vector<uint32_t> syncNumbers_;
  bool allSync_ = true;
  uint32_t sampleCount_ = 0;
  int64_t duration_ = 0;
  uint64_t dataEnd_ = 0;
};

}  // namespace qrl::quicktime
