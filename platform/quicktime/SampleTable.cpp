#include "platform/quicktime/SampleTable.h"

#include <algorithm>
#include <limits>
#include <string>

#include "platform/base/Exception.h"
#include "platform/base/Time.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/SyncSampleAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"

namespace qrl::quicktime {
namespace {

Exception disagree(const std::string& what) {
  return Exception::parse("sample tables disagree: " + what);
}

}  // namespace

SampleTable SampleTable::build(const TimeToSampleAtom* stts, const SampleToChunkAtom* stsc,
                               const SampleSizeAtom* stsz, const ChunkOffsetAtom* stco,
                               const SyncSampleAtom* stss, size_t descriptionCount) {
  SampleTable t;
  t.sampleCount_ = stsz ? stsz->sampleCount() : 0;
  if (t.sampleCount_ == 0) {
    return t;  // no samples: the other tables may be absent or empty
  }
  if (!stts || !stsc || !stco) {
    throw disagree(std::to_string(t.sampleCount_) +
                   " sample sizes but no time-to-sample, sample-to-chunk or chunk offset table");
  }
  t.constantSize_ = stsz->constantSize();
  t.sizes_ = stsz->sizes();
  t.chunkOffsets_ = stco->offsets();

  // Time runs.
  Wide time = 0;
  uint64_t samples = 0;
  for (const auto& e : stts->entries()) {
    if (e.count == 0)
      continue;
    t.timeRuns_.push_back(
        {static_cast<uint32_t>(samples), e.count, e.delta, static_cast<int64_t>(time)});
    samples += e.count;
    time += static_cast<Wide>(e.count) * e.delta;
    if (samples > t.sampleCount_)
      break;
  }
  if (samples != t.sampleCount_) {
    throw disagree("time-to-sample covers " + std::to_string(samples) + " samples, sizes " +
                   std::to_string(t.sampleCount_));
  }
  if (time > std::numeric_limits<int64_t>::max())
    throw disagree("total duration overflows");
  t.duration_ = static_cast<int64_t>(time);

  // Chunk runs.
  const auto& entries = stsc->entries();
  uint64_t chunks = t.chunkOffsets_.size();
  samples = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    const auto& e = entries[i];
    if (e.firstChunk == 0 || e.firstChunk > chunks || (i == 0 && e.firstChunk != 1) ||
        (i > 0 && e.firstChunk <= entries[i - 1].firstChunk)) {
      throw disagree("sample-to-chunk entry " + std::to_string(i + 1) + " starts at chunk " +
                     std::to_string(e.firstChunk) + " of " + std::to_string(chunks));
    }
    if (e.descriptionNumber == 0 || e.descriptionNumber > descriptionCount) {
      throw disagree("sample-to-chunk entry " + std::to_string(i + 1) + " names description " +
                     std::to_string(e.descriptionNumber) + " of " +
                     std::to_string(descriptionCount));
    }
    uint64_t end = i + 1 < entries.size() ? entries[i + 1].firstChunk - 1 : chunks;
    uint64_t runChunks = end - (e.firstChunk - 1);
    t.chunkRuns_.push_back(
        {e.firstChunk - 1, e.samplesPerChunk, e.descriptionNumber, static_cast<uint32_t>(samples)});
    samples += runChunks * e.samplesPerChunk;
    if (samples > t.sampleCount_)
      break;
  }
  if (samples != t.sampleCount_) {
    throw disagree("chunks hold " + (samples > t.sampleCount_ ? std::string("more than ") : "") +
                   std::to_string(samples) + " samples, sizes " + std::to_string(t.sampleCount_));
  }

  // Key samples.
  if (stss) {
    t.allSync_ = false;
    t.syncNumbers_ = stss->sampleNumbers();
    uint32_t previous = 0;
    for (uint32_t n : t.syncNumbers_) {
      if (n <= previous || n > t.sampleCount_) {
        throw disagree("key sample number " + std::to_string(n) + " out of order or past " +
                       std::to_string(t.sampleCount_));
      }
      previous = n;
    }
  }

  // Where the data ends, so a truncated file is caught at open.
  for (size_t r = 0; r < t.chunkRuns_.size(); ++r) {
    const auto& run = t.chunkRuns_[r];
    uint32_t sample = run.firstSample;
    uint64_t lastChunk = r + 1 < t.chunkRuns_.size() ? t.chunkRuns_[r + 1].firstChunk : chunks;
    for (uint64_t c = run.firstChunk; c < lastChunk && sample < t.sampleCount_; ++c) {
      uint64_t bytes = 0;
      if (t.constantSize_ != 0) {
        bytes = static_cast<uint64_t>(t.constantSize_) * run.samplesPerChunk;
        sample += run.samplesPerChunk;
      } else {
        for (uint32_t k = 0; k < run.samplesPerChunk; ++k)
          bytes += t.sizes_[sample++];
      }
      uint64_t offset = t.chunkOffsets_[c];
      if (bytes > std::numeric_limits<uint64_t>::max() - offset) {
        throw disagree("chunk " + std::to_string(c + 1) + " ends past 2^64");
      }
      t.dataEnd_ = std::max(t.dataEnd_, offset + bytes);
    }
  }
  return t;
}

const SampleTable::TimeRun* SampleTable::timeRunAt(int64_t time) const {
  if (time < 0 || time >= duration_)
    return nullptr;
  auto it = std::upper_bound(timeRuns_.begin(), timeRuns_.end(), time,
                             [](int64_t v, const TimeRun& r) { return v < r.firstTime; });
  if (it == timeRuns_.begin())
    return nullptr;
  return &*(it - 1);
}

Sample SampleTable::sample(uint32_t index) const {
  if (index >= sampleCount_) {
    throw Exception::range("sample index " + std::to_string(index) + " past the " +
                           std::to_string(sampleCount_) + " samples");
  }
  Sample s;
  auto tr = std::upper_bound(timeRuns_.begin(), timeRuns_.end(), index,
                             [](uint32_t v, const TimeRun& r) { return v < r.firstSample; }) -
            1;
  s.time = tr->firstTime + static_cast<int64_t>(index - tr->firstSample) * tr->delta;
  s.duration = tr->delta;
  s.size = constantSize_ != 0 ? constantSize_ : sizes_[index];

  // The last run that starts at or before the index and holds samples.
  auto cr = std::upper_bound(chunkRuns_.begin(), chunkRuns_.end(), index,
                             [](uint32_t v, const ChunkRun& r) { return v < r.firstSample; }) -
            1;
  while (cr->samplesPerChunk == 0)
    --cr;
  uint32_t inRun = index - cr->firstSample;
  uint64_t chunk = cr->firstChunk + inRun / cr->samplesPerChunk;
  uint32_t firstInChunk = index - inRun % cr->samplesPerChunk;
  uint64_t offset = chunkOffsets_[chunk];
  if (constantSize_ != 0) {
    offset += static_cast<uint64_t>(index - firstInChunk) * constantSize_;
  } else {
    for (uint32_t k = firstInChunk; k < index; ++k)
      offset += sizes_[k];
  }
  s.offset = offset;
  s.descriptionNumber = cr->descriptionNumber;
  s.isSync = allSync_ || std::binary_search(syncNumbers_.begin(), syncNumbers_.end(), index + 1);
  return s;
}

void SampleTable::append(uint64_t offset, uint32_t size, uint32_t count, uint32_t duration,
                         uint32_t descriptionNumber, bool sync, bool joinLastChunk) {
  if (count == 0)
    return;
  const uint32_t first = sampleCount_;
  if (!timeRuns_.empty() && timeRuns_.back().delta == duration) {
    timeRuns_.back().count += count;
  } else {
    timeRuns_.push_back({first, count, duration, duration_});
  }
  if (joinLastChunk && !chunkRuns_.empty()) {
    auto last = static_cast<uint32_t>(chunkOffsets_.size() - 1);
    ChunkRun& run = chunkRuns_.back();
    if (run.firstChunk == last) {
      run.samplesPerChunk += count;
    } else {
      chunkRuns_.push_back(
          {last, run.samplesPerChunk + count, run.descriptionNumber, first - run.samplesPerChunk});
    }
  } else {
    auto chunk = static_cast<uint32_t>(chunkOffsets_.size());
    chunkOffsets_.push_back(offset);
    if (chunkRuns_.empty() || chunkRuns_.back().samplesPerChunk != count ||
        chunkRuns_.back().descriptionNumber != descriptionNumber) {
      chunkRuns_.push_back({chunk, count, descriptionNumber, first});
    }
  }
  // Sizes: constant while every sample has the same size, as 'stsz' keeps them.
  if (first == 0 && sizes_.empty() && size != 0) {
    constantSize_ = size;
  } else if (constantSize_ != 0 && size != constantSize_) {
    sizes_.assign(first, constantSize_);
    constantSize_ = 0;
  }
  if (constantSize_ == 0)
    sizes_.insert(sizes_.end(), count, size);
  if (!sync && allSync_) {
    allSync_ = false;
    syncNumbers_.resize(first);
    for (uint32_t i = 0; i < first; ++i)
      syncNumbers_[i] = i + 1;
  }
  if (!allSync_ && sync) {
    for (uint32_t i = 0; i < count; ++i)
      syncNumbers_.push_back(first + i + 1);
  }
  sampleCount_ += count;
  duration_ += static_cast<int64_t>(count) * duration;
  dataEnd_ = std::max(dataEnd_, offset + static_cast<uint64_t>(size) * count);
}

uint64_t SampleTable::bytesOf(uint32_t first, uint32_t count) const {
  if (constantSize_ != 0)
    return static_cast<uint64_t>(constantSize_) * count;
  uint64_t total = 0;
  for (uint32_t i = first; i < first + count && i < sizes_.size(); ++i)
    total += sizes_[i];
  return total;
}

std::optional<uint32_t> SampleTable::sampleIndexAtTime(int64_t time) const {
  const TimeRun* run = timeRunAt(time);
  if (run == nullptr || run->delta == 0)
    return std::nullopt;
  return run->firstSample + static_cast<uint32_t>((time - run->firstTime) / run->delta);
}

std::optional<int64_t> SampleTable::nextSampleTimeAfter(int64_t time) const {
  if (sampleCount_ == 0)
    return std::nullopt;
  if (time < 0)
    return 0;
  const TimeRun* run = timeRunAt(time);
  if (run == nullptr || run->delta == 0)
    return std::nullopt;
  int64_t k = (time - run->firstTime) / run->delta + 1;
  int64_t next = run->firstTime + k * run->delta;
  // The end of the last sample is not the start of another.
  if (next >= duration_)
    return std::nullopt;
  return next;
}

}  // namespace qrl::quicktime
