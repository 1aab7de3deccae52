#pragma once

// Private to the graphics library: a fast zlib-stream writer for strips of
// mostly transparent pixels.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qrl::graphics::detail {

// Where a strip's non-zero bytes may be: rows [firstRow, endRow) of the
// strip, bytes [begin, end) of each such row. Every other byte is zero.
struct StripContent {
  size_t firstRow = 0;
  size_t endRow = 0;
  size_t begin = 0;
  size_t end = 0;
};

// The largest row the writer handles (its matches reach one row back).
constexpr size_t kSparseDeflateMaximumRowBytes = 32768;

// Compresses `rows` rows of `rowBytes` bytes into a zlib stream (one
// fixed-Huffman deflate block) in `out`. Zero runs cost time in proportion to
// their number, not their length; content bytes are matched against the
// pixel before and the row above, else written as literals. Slightly larger
// than zlib's output for the content, several times faster on overlay frames.
void sparseDeflate(const uint8_t* raw, size_t rows, size_t rowBytes, const StripContent& content,
                   std::vector<uint8_t>& out);

}  // namespace qrl::graphics::detail
