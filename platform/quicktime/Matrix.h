#pragma once

#include <array>
#include <cstdint>

#include "platform/quicktime/ByteReader.h"
#include "platform/quicktime/ByteWriter.h"

namespace qrl::quicktime {

// A QuickTime transformation matrix as stored: a b u c d v tx ty w, with
// a b c d tx ty in 16.16 fixed point and u v w in 2.30.
struct Matrix {
  std::array<int32_t, 9> values{0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};

  static constexpr Matrix identity() { return Matrix{}; }

  static Matrix read(ByteReader& in) {
    Matrix m;
    for (auto& v : m.values)
      v = in.i32();
    return m;
  }
  void write(ByteWriter& out) const {
    for (auto v : values)
      out.i32(v);
  }

  // Maps a point (row vector times matrix; the projective terms are ignored,
  // as every movie we meet leaves them at 0 0 1).
  void map(double x, double y, double& outX, double& outY) const {
    auto f = [&](int i) { return values[static_cast<size_t>(i)] / 65536.0; };
    outX = f(0) * x + f(3) * y + f(6);
    outY = f(1) * x + f(4) * y + f(7);
  }

  friend bool operator==(const Matrix&, const Matrix&) = default;
};

// A width and height in pixels.
struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

}  // namespace qrl::quicktime
