#pragma once

#include <algorithm>

namespace qrl::graphics {

// A box of whole pixels in memory order: column 0 is the left edge, row 0 the
// top row. Half-open: it covers columns [column, column + columns) and rows
// [row, row + rows).
struct PixelBox {
  int column = 0;
  int row = 0;
  int columns = 0;
  int rows = 0;

  constexpr bool isEmpty() const { return columns <= 0 || rows <= 0; }
  constexpr int endColumn() const { return column + columns; }
  constexpr int endRow() const { return row + rows; }

  // The smallest box covering both; an empty box contributes nothing.
  constexpr PixelBox united(const PixelBox& other) const {
    if (other.isEmpty())
      return isEmpty() ? PixelBox{} : *this;
    if (isEmpty())
      return other;
    const int left = std::min(column, other.column);
    const int top = std::min(row, other.row);
    return {left, top, std::max(endColumn(), other.endColumn()) - left,
            std::max(endRow(), other.endRow()) - top};
  }

  constexpr PixelBox intersected(const PixelBox& other) const {
    const int left = std::max(column, other.column);
    const int top = std::max(row, other.row);
    const int right = std::min(endColumn(), other.endColumn());
    const int bottom = std::min(endRow(), other.endRow());
    if (right <= left || bottom <= top)
      return {};
    return {left, top, right - left, bottom - top};
  }

  friend constexpr bool operator==(const PixelBox&, const PixelBox&) = default;
};

}  // namespace qrl::graphics
