#include "platform/graphics/TiffEncoder.h"

#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

#include "platform/base/Exception.h"
#include "platform/graphics/SparseDeflate.h"

namespace qrl::graphics {

namespace {

constexpr int kBytesPerPixel = 4;

// A growable in-memory file behind libtiff's client I/O, plus the first error
// libtiff reported on it.
struct MemoryFile {
  std::vector<uint8_t> bytes;
  size_t position = 0;
  std::string error;
};

tmsize_t readProc(thandle_t handle, void* buffer, tmsize_t size) {
  auto* file = static_cast<MemoryFile*>(handle);
  if (size <= 0 || file->position >= file->bytes.size())
    return 0;
  const size_t n = std::min(static_cast<size_t>(size), file->bytes.size() - file->position);
  std::memcpy(buffer, file->bytes.data() + file->position, n);
  file->position += n;
  return static_cast<tmsize_t>(n);
}

tmsize_t writeProc(thandle_t handle, void* buffer, tmsize_t size) {
  auto* file = static_cast<MemoryFile*>(handle);
  if (size < 0)
    return -1;
  const size_t end = file->position + static_cast<size_t>(size);
  if (end > file->bytes.size())
    file->bytes.resize(end);
  std::memcpy(file->bytes.data() + file->position, buffer, static_cast<size_t>(size));
  file->position = end;
  return size;
}

toff_t seekProc(thandle_t handle, toff_t offset, int whence) {
  auto* file = static_cast<MemoryFile*>(handle);
  uint64_t base = 0;
  if (whence == SEEK_CUR)
    base = file->position;
  if (whence == SEEK_END)
    base = file->bytes.size();
  const uint64_t target = base + offset;
  // Seeking past the end is allowed; the gap is filled on the next write.
  file->position = static_cast<size_t>(target);
  return target;
}

int closeProc(thandle_t) {
  return 0;
}
toff_t sizeProc(thandle_t handle) {
  return static_cast<MemoryFile*>(handle)->bytes.size();
}
int mapProc(thandle_t, void**, toff_t*) {
  return 0;
}
void unmapProc(thandle_t, void*, toff_t) {}

// libtiff hands over its own printf format; the attribute lets the compiler see that.
__attribute__((format(printf, 4, 0))) int errorHandler(TIFF*, void* userData, const char* module,
                                                       const char* format, va_list args) {
  auto* file = static_cast<MemoryFile*>(userData);
  if (file->error.empty()) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    file->error = std::string(module != nullptr ? module : "libtiff") + ": " + text;
  }
  return 1;
}

int warningHandler(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct TiffClose {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffClose>;

[[noreturn]] void failTiff(const MemoryFile& file, const std::string& step) {
  throw Exception::io("TIFF encoding failed at " + step +
                      (file.error.empty() ? std::string() : ": " + file.error));
}

TiffHandle openForWriting(MemoryFile& file) {
  std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                           &TIFFOpenOptionsFree);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &errorHandler, &file);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &warningHandler, &file);
  TIFF* tiff = TIFFClientOpenExt("memory", "w", &file, &readProc, &writeProc, &seekProc, &closeProc,
                                 &sizeProc, &mapProc, &unmapProc, options.get());
  if (tiff == nullptr)
    failTiff(file, "open");
  return TiffHandle(tiff);
}

uint16_t compressionTag(TiffCompression compression) {
  switch (compression) {
    case TiffCompression::None:
      return COMPRESSION_NONE;
    case TiffCompression::PackBits:
      return COMPRESSION_PACKBITS;
    case TiffCompression::LZW:
      return COMPRESSION_LZW;
    case TiffCompression::Deflate:
      return COMPRESSION_ADOBE_DEFLATE;
  }
  throw Exception::range("unknown TIFF compression");
}

void setTags(TIFF* tiff, MemoryFile& file, uint32_t width, uint32_t height, uint32_t rowsPerStrip,
             const TiffOptions& options) {
  const uint16_t extra[] = {EXTRASAMPLE_UNASSALPHA};
  bool ok = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width) == 1 &&
            TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height) == 1 &&
            TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8) == 1 &&
            TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4) == 1 &&
            TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) == 1 &&
            TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, extra) == 1 &&
            TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) == 1 &&
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, compressionTag(options.compression)) == 1 &&
            TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip) == 1;
  if (ok && options.compression == TiffCompression::Deflate) {
    ok = TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, options.deflateLevel) == 1;
  }
  if (!ok)
    failTiff(file, "setting tags");
}

using StripBytes = std::shared_ptr<const std::vector<uint8_t>>;

// The compressed bytes of one all-zero strip, made by libtiff itself in a
// scratch file so that they match whatever the codec writes.
StripBytes compressEmptyStrip(uint32_t width, uint32_t rows, const TiffOptions& options) {
  MemoryFile file;
  TiffHandle tiff = openForWriting(file);
  setTags(tiff.get(), file, width, rows, rows, options);
  std::vector<uint8_t> zeros(static_cast<size_t>(width) * rows * kBytesPerPixel);
  if (TIFFWriteEncodedStrip(tiff.get(), 0, zeros.data(), static_cast<tmsize_t>(zeros.size())) < 0) {
    failTiff(file, "compressing an empty strip");
  }
  uint64_t* offsets = nullptr;
  uint64_t* counts = nullptr;
  if (TIFFGetField(tiff.get(), TIFFTAG_STRIPOFFSETS, &offsets) != 1 ||
      TIFFGetField(tiff.get(), TIFFTAG_STRIPBYTECOUNTS, &counts) != 1 || offsets == nullptr ||
      counts == nullptr || offsets[0] + counts[0] > file.bytes.size()) {
    failTiff(file, "locating an empty strip");
  }
  auto begin = file.bytes.begin() + static_cast<std::ptrdiff_t>(offsets[0]);
  return std::make_shared<const std::vector<uint8_t>>(
      begin, begin + static_cast<std::ptrdiff_t>(counts[0]));
}

StripBytes emptyStrip(uint32_t width, uint32_t rows, const TiffOptions& options) {
  using Key = std::tuple<uint32_t, uint32_t, TiffCompression, int>;
  static std::mutex mutex;
  static std::map<Key, StripBytes> cache;
  const Key key{width, rows, options.compression,
                options.compression == TiffCompression::Deflate ? options.deflateLevel : 0};
  {
    std::lock_guard lock(mutex);
    if (auto found = cache.find(key); found != cache.end())
      return found->second;
  }
  StripBytes bytes = compressEmptyStrip(width, rows, options);
  std::lock_guard lock(mutex);
  // A service sees a handful of frame sizes; don't let odd ones pile up.
  if (cache.size() >= 256)
    cache.clear();
  cache.emplace(key, bytes);
  return bytes;
}

struct DeflateStream {
  z_stream stream{};
  int level = -1;

  DeflateStream() = default;
  DeflateStream(const DeflateStream&) = delete;
  DeflateStream& operator=(const DeflateStream&) = delete;
  ~DeflateStream() {
    if (level >= 0)
      deflateEnd(&stream);
  }
};

// Compresses a strip as a zlib stream, which is what Adobe Deflate TIFF holds,
// for rows too wide for sparseDeflate. The run-length strategy suits rows
// that are mostly zero; the stream's state is kept per thread.
void deflateStrip(const std::vector<uint8_t>& raw, int level, std::vector<uint8_t>& out) {
  thread_local DeflateStream deflater;
  z_stream& z = deflater.stream;
  if (deflater.level != level) {
    if (deflater.level >= 0)
      deflateEnd(&z);
    z = z_stream{};
    if (deflateInit2(&z, level, Z_DEFLATED, 15, 8, Z_RLE) != Z_OK) {
      deflater.level = -1;
      throw Exception::io("cannot start zlib compression");
    }
    deflater.level = level;
  } else {
    deflateReset(&z);
  }
  out.resize(deflateBound(&z, static_cast<uLong>(raw.size())));
  z.next_in = const_cast<Bytef*>(raw.data());
  z.avail_in = static_cast<uInt>(raw.size());
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  if (deflate(&z, Z_FINISH) != Z_STREAM_END)
    throw Exception::io("zlib compression failed");
  out.resize(out.size() - z.avail_out);
}

void checkOptions(const Image& image, const TiffOptions& options) {
  if (image.width() == 0 || image.height() == 0) {
    throw Exception::range("cannot write an empty image (" + std::to_string(image.width()) + "x" +
                           std::to_string(image.height()) + ") as TIFF");
  }
  if (options.rowsPerStrip < 1) {
    throw Exception::range("TIFF rows per strip must be at least 1, not " +
                           std::to_string(options.rowsPerStrip));
  }
  if (options.compression == TiffCompression::Deflate &&
      (options.deflateLevel < 1 || options.deflateLevel > 9)) {
    throw Exception::range("Deflate level must be 1..9, not " +
                           std::to_string(options.deflateLevel));
  }
  compressionTag(options.compression);
}

}  // namespace

std::vector<uint8_t> TiffEncoder::encode(const Image& image, const TiffOptions& options) {
  checkOptions(image, options);
  const auto width = static_cast<uint32_t>(image.width());
  const auto height = static_cast<uint32_t>(image.height());
  const auto rowsPerStrip = std::min(static_cast<uint32_t>(options.rowsPerStrip), height);
  const PixelBox content = image.contentBounds();

  MemoryFile file;
  file.bytes.reserve(64 * 1024);
  {
    TiffHandle tiff = openForWriting(file);
    setTags(tiff.get(), file, width, height, rowsPerStrip, options);
    const size_t rowBytes = static_cast<size_t>(width) * kBytesPerPixel;
    std::vector<uint8_t> strip;
    std::vector<uint8_t> compressed;
    const uint32_t strips = (height + rowsPerStrip - 1) / rowsPerStrip;
    for (uint32_t index = 0; index < strips; ++index) {
      const uint32_t first = index * rowsPerStrip;
      const uint32_t rows = std::min(rowsPerStrip, height - first);
      const bool touched = !content.isEmpty() && static_cast<int64_t>(first) < content.endRow() &&
                           static_cast<int64_t>(first + rows) > content.row;
      if (!touched) {
        const StripBytes bytes = emptyStrip(width, rows, options);
        // libtiff's signature is not const-correct; it only reads the data.
        if (TIFFWriteRawStrip(tiff.get(), index, const_cast<uint8_t*>(bytes->data()),
                              static_cast<tmsize_t>(bytes->size())) < 0) {
          failTiff(file, "strip " + std::to_string(index));
        }
        continue;
      }
      strip.resize(rowBytes * rows);
      for (uint32_t r = 0; r < rows; ++r) {
        image.copyRowAsRGBA(static_cast<int>(first + r),
                            std::span<uint8_t>(strip.data() + r * rowBytes, rowBytes),
                            AlphaMode::Straight);
      }
      tmsize_t written = 0;
      if (options.compression == TiffCompression::Deflate &&
          rowBytes <= detail::kSparseDeflateMaximumRowBytes) {
        const detail::StripContent stripContent{
            static_cast<size_t>(std::max<int64_t>(content.row - int64_t{first}, 0)),
            static_cast<size_t>(std::min<int64_t>(content.endRow() - int64_t{first}, rows)),
            static_cast<size_t>(content.column) * kBytesPerPixel,
            static_cast<size_t>(content.endColumn()) * kBytesPerPixel};
        detail::sparseDeflate(strip.data(), rows, rowBytes, stripContent, compressed);
        written = TIFFWriteRawStrip(tiff.get(), index, compressed.data(),
                                    static_cast<tmsize_t>(compressed.size()));
      } else if (options.compression == TiffCompression::Deflate) {
        deflateStrip(strip, options.deflateLevel, compressed);
        written = TIFFWriteRawStrip(tiff.get(), index, compressed.data(),
                                    static_cast<tmsize_t>(compressed.size()));
      } else {
        written = TIFFWriteEncodedStrip(tiff.get(), index, strip.data(),
                                        static_cast<tmsize_t>(strip.size()));
      }
      if (written < 0)
        failTiff(file, "strip " + std::to_string(index));
    }
    if (TIFFWriteDirectory(tiff.get()) != 1)
      failTiff(file, "directory");
  }
  if (!file.error.empty())
    failTiff(file, "close");
  return std::move(file.bytes);
}

}  // namespace qrl::graphics
