#include "platform/graphics/Image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/base/Exception.h"

namespace qrl::graphics {
namespace {

constexpr Color kRed{1, 0, 0, 1};
constexpr Color kBlue{0, 0, 1, 1};

// Every pixel outside the content box must be exactly zero: encoders and
// clear() rely on it.
void expectTransparentOutsideContent(const Image& image) {
  const PixelBox box = image.contentBounds();
  int stray = 0;
  for (int row = 0; row < image.height(); ++row) {
    for (int column = 0; column < image.width(); ++column) {
      const bool inside =
          column >= box.column && column < box.endColumn() && row >= box.row && row < box.endRow();
      if (!inside && image.pixels()[row * image.width() + column] != 0)
        ++stray;
    }
  }
  EXPECT_EQ(stray, 0) << "pixels drawn outside the content box " << box.column << "," << box.row
                      << " " << box.columns << "x" << box.rows;
}

void expectNear(Rgba8 actual, Rgba8 expected, int tolerance, const char* what) {
  EXPECT_LE(std::abs(actual.red - expected.red), tolerance) << what << " red " << +actual.red;
  EXPECT_LE(std::abs(actual.green - expected.green), tolerance)
      << what << " green " << +actual.green;
  EXPECT_LE(std::abs(actual.blue - expected.blue), tolerance) << what << " blue " << +actual.blue;
  EXPECT_LE(std::abs(actual.alpha - expected.alpha), tolerance)
      << what << " alpha " << +actual.alpha;
}

Image solid(int width, int height, const Color& color) {
  Image image(width, height);
  image.fillRect({{0, 0}, image.size()}, color);
  return image;
}

TEST(ImageTest, RejectsSizesCairoCannotDraw) {
  const struct { int width, height; } bad[] = {{-1, 1}, {1, -1}, {32768, 1}, {1, 32768}};
  for (const auto& size : bad) {
    try {
      Image image(size.width, size.height);
      ADD_FAILURE() << size.width << "x" << size.height << " accepted";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Range);
      EXPECT_NE(std::string(e.what()).find("outside"), std::string::npos) << e.what();
    }
  }
  Image empty(0, 5);
  EXPECT_EQ(empty.width(), 0);
  empty.fillRect({{0, 0}, {10, 10}}, kRed);  // nothing to draw on, and no failure
  EXPECT_TRUE(empty.contentBounds().isEmpty());
}

TEST(ImageTest, PixelAccessIsBoundsChecked) {
  Image image(3, 2);
  EXPECT_EQ(image.pixelAt(2, 1), Rgba8{});
  EXPECT_THROW(image.pixelAt(3, 0), Exception);
  EXPECT_THROW(image.pixelAt(0, 2), Exception);
  EXPECT_THROW(image.pixelAt(-1, 0), Exception);
}

TEST(ImageTest, StraightDataRoundTripsExactlyAndPremultipliesOnRequest) {
  const std::vector<uint8_t> rgba = {200, 100, 50, 128, 255, 255, 255, 255,
                                     10,  20,  30, 0,   1,   2,   3,   1};
  Image image = Image::fromRGBA(2, 2, rgba, AlphaMode::Straight);
  EXPECT_EQ(image.alphaMode(), AlphaMode::Straight);
  EXPECT_EQ(image.rgba(AlphaMode::Straight), rgba);
  EXPECT_EQ(image.pixelAt(0, 0), (Rgba8{200, 100, 50, 128}));

  const std::vector<uint8_t> premultiplied = image.rgba(AlphaMode::Premultiplied);
  const std::vector<uint8_t> expected = {100, 50, 25, 128, 255, 255, 255, 255,
                                         0,   0,  0,  0,   0,   0,   0,   1};
  EXPECT_EQ(premultiplied, expected);

  image.convertTo(AlphaMode::Premultiplied);
  EXPECT_EQ(image.rgba(AlphaMode::Premultiplied), expected);
  // Back to straight: opaque pixels are exact, half-transparent ones within
  // the precision premultiplying left.
  expectNear(image.pixelAt(0, 0), {200, 100, 50, 128}, 2, "half transparent");
  EXPECT_EQ(image.pixelAt(1, 0), (Rgba8{255, 255, 255, 255}));

  EXPECT_THROW(Image::fromRGBA(2, 2, std::vector<uint8_t>(15), AlphaMode::Straight), Exception);
}

TEST(ImageTest, FillRectUsesLowerLeftOriginAndTracksContent) {
  Image image(10, 10);
  image.fillRect({{2, 3}, {4, 2}}, kRed);
  // y 3..5 from the bottom are rows 5 and 6 from the top.
  EXPECT_EQ(image.contentBounds(), (PixelBox{2, 5, 4, 2}));
  EXPECT_EQ(image.pixelAt(2, 5), (Rgba8{255, 0, 0, 255}));
  EXPECT_EQ(image.pixelAt(5, 6), (Rgba8{255, 0, 0, 255}));
  EXPECT_EQ(image.pixelAt(1, 5), Rgba8{});
  EXPECT_EQ(image.pixelAt(2, 4), Rgba8{});
  EXPECT_EQ(image.pixelAt(2, 7), Rgba8{});
  expectTransparentOutsideContent(image);

  // Filling everything with the clear colour empties the image.
  image.fillRect({{0, 0}, image.size()}, Color::clearColor());
  EXPECT_TRUE(image.contentBounds().isEmpty());
  EXPECT_EQ(image.pixelAt(3, 5), Rgba8{});
}

TEST(ImageTest, ClearErasesOnlyWhatWasDrawnAndEverything) {
  Image image(64, 64);
  image.fillRect({{10, 10}, {5, 40}}, kBlue);
  image.fillRect({{40, 50}, {3, 3}}, kRed);
  EXPECT_EQ(image.contentBounds(), (PixelBox{10, 11, 33, 43}));
  image.clear();
  EXPECT_TRUE(image.contentBounds().isEmpty());
  const std::vector<uint8_t> pixels = image.rgba();
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0), static_cast<long>(pixels.size()));
}

TEST(ImageTest, SourceOverWithFractionBlendsNumerically) {
  const struct {
    const char* name;
    Color destination;
    Color source;
    double fraction;
    Rgba8 expected;  // straight
  } cases[] = {
      {"opaque blue at half over red", kRed, kBlue, 0.5, {128, 0, 127, 255}},
      {"opaque blue at a quarter over red", kRed, kBlue, 0.25, {191, 0, 64, 255}},
      {"opaque blue fully over red", kRed, kBlue, 1.0, {0, 0, 255, 255}},
      {"nothing at fraction zero", kRed, kBlue, 0.0, {255, 0, 0, 255}},
      {"half-transparent blue over clear",
       Color::clearColor(),
       {0, 0, 1, 0.5},
       1.0,
       {0, 0, 255, 128}},
      {"half-transparent blue at half over clear",
       Color::clearColor(),
       {0, 0, 1, 0.5},
       0.5,
       {0, 0, 255, 64}},
      {"half-transparent white over red", kRed, {1, 1, 1, 0.5}, 1.0, {255, 128, 128, 255}},
  };
  for (const auto& c : cases) {
    Image destination = solid(4, 4, c.destination);
    const Image source = solid(2, 2, c.source);
    destination.drawImage(source, {1, 1}, c.fraction);
    expectNear(destination.pixelAt(1, 1), c.expected, 1, c.name);
    expectNear(destination.pixelAt(2, 2), c.expected, 1, c.name);
    // Outside the drawn square the destination is untouched.
    const Color& d = c.destination;
    const Rgba8 untouched{static_cast<uint8_t>(d.red * 255), static_cast<uint8_t>(d.green * 255),
                          static_cast<uint8_t>(d.blue * 255), static_cast<uint8_t>(d.alpha * 255)};
    EXPECT_EQ(destination.pixelAt(0, 0), untouched) << c.name;
    EXPECT_EQ(destination.pixelAt(3, 3), untouched) << c.name;
    expectTransparentOutsideContent(destination);
  }
}

TEST(ImageTest, DrawsAPartOfTheSource) {
  // Left half green, right half blue.
  Image source(4, 4);
  source.fillRect({{0, 0}, {2, 4}}, {0, 1, 0, 1});
  source.fillRect({{2, 0}, {2, 4}}, kBlue);
  Image destination(6, 4);
  destination.drawImage(source, {0, 0}, Rect{{2, 0}, {2, 4}}, CompositingOperation::SourceOver,
                        1.0);
  for (int row = 0; row < 4; ++row) {
    EXPECT_EQ(destination.pixelAt(0, row), (Rgba8{0, 0, 255, 255})) << row;
    EXPECT_EQ(destination.pixelAt(1, row), (Rgba8{0, 0, 255, 255})) << row;
    EXPECT_EQ(destination.pixelAt(2, row), Rgba8{}) << row;
  }
  expectTransparentOutsideContent(destination);
}

TEST(ImageTest, CopyReplacesEvenWithTransparentSource) {
  Image destination = solid(4, 4, kRed);
  Image source(2, 2);  // transparent
  destination.drawImage(source, {0, 0}, Rect{}, CompositingOperation::Copy, 1.0);
  EXPECT_EQ(destination.pixelAt(0, 3), Rgba8{});
  EXPECT_EQ(destination.pixelAt(1, 2), Rgba8{});
  EXPECT_EQ(destination.pixelAt(2, 3), (Rgba8{255, 0, 0, 255}));
}

TEST(ImageTest, DrawingASparseImageKeepsTheContentSmall) {
  // A canvas as large as a frame with one small mark, laid over another.
  Image canvas(400, 300);
  canvas.fillRect({{100, 100}, {10, 10}}, kRed);
  Image frame(400, 300);
  frame.drawImage(canvas, {20.5F, 30}, 1.0);
  const PixelBox box = frame.contentBounds();
  EXPECT_LE(box.columns, 13);
  EXPECT_LE(box.rows, 13);
  EXPECT_EQ(frame.pixelAt(125, 300 - 135).alpha, 255);
  expectTransparentOutsideContent(frame);
}

TEST(ImageTest, DrawingAStraightSourceLeavesItStraight) {
  const std::vector<uint8_t> rgba = {0, 255, 0, 128};
  const Image source = Image::fromRGBA(1, 1, rgba, AlphaMode::Straight);
  Image destination(2, 2);
  destination.drawImage(source, {1, 1}, 1.0);
  EXPECT_EQ(source.alphaMode(), AlphaMode::Straight);
  EXPECT_EQ(source.rgba(), rgba);
  expectNear(destination.pixelAt(1, 0), {0, 255, 0, 128}, 1, "straight source");
}

TEST(ImageTest, ScalesToANewSize) {
  const Image red = solid(2, 2, kRed);
  const Image bigger = red.scaledTo(6, 4);
  EXPECT_EQ(bigger.width(), 6);
  EXPECT_EQ(bigger.height(), 4);
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 6; ++column) {
      EXPECT_EQ(bigger.pixelAt(column, row), (Rgba8{255, 0, 0, 255})) << column << "," << row;
    }
  }
  // A mark in a large image scales with it and stays in the content box.
  Image sparse(100, 100);
  sparse.fillRect({{10, 10}, {4, 4}}, kBlue);
  const Image half = sparse.scaledTo(50, 50);
  EXPECT_EQ(half.pixelAt(6, 50 - 6).blue, 255);
  EXPECT_LT(half.contentBounds().columns, 50);
  expectTransparentOutsideContent(half);
  const Image upscaled = sparse.scaledTo(1000, 1000);
  expectTransparentOutsideContent(upscaled);
  EXPECT_EQ(upscaled.pixelAt(120, 1000 - 120).blue, 255);
  EXPECT_THROW(red.scaledTo(-1, 4), Exception);
}

TEST(ImageTest, CopiesAreIndependentAndMovesEmptyTheSource) {
  Image original = solid(3, 3, kRed);
  Image duplicate = original.copy();
  duplicate.fillRect({{0, 0}, {3, 3}}, kBlue);
  EXPECT_EQ(original.pixelAt(1, 1), (Rgba8{255, 0, 0, 255}));
  EXPECT_EQ(duplicate.pixelAt(1, 1), (Rgba8{0, 0, 255, 255}));

  Image moved = std::move(original);
  EXPECT_EQ(moved.pixelAt(1, 1), (Rgba8{255, 0, 0, 255}));
  EXPECT_EQ(original.width(), 0);  // NOLINT(bugprone-use-after-move): moved-from state is defined
}

TEST(ImageTest, IgnoresNonsenseGeometryAndDrawsIntoItself) {
  Image image = solid(4, 4, kRed);
  const float nan = std::nanf("");
  image.fillRect({{nan, 0}, {2, 2}}, kBlue);
  image.fillRect({{0, 0}, {nan, 2}}, kBlue);
  image.drawImage(solid(2, 2, kBlue), {nan, nan}, 1.0);
  EXPECT_EQ(image.pixelAt(0, 3), (Rgba8{255, 0, 0, 255}));

  // The left half of itself, copied onto its right half.
  image.fillRect({{0, 0}, {2, 4}}, kBlue);
  image.drawImage(image, {2, 0}, Rect{{0, 0}, {2, 4}}, CompositingOperation::Copy, 1.0);
  EXPECT_EQ(image.pixelAt(3, 0), (Rgba8{0, 0, 255, 255}));
}

TEST(ImageTest, PixelBoxOfClipsAndRoundsOutwards) {
  const Image image(10, 10);
  EXPECT_EQ(image.pixelBoxOf({{1.5F, 2.5F}, {2, 2}}), (PixelBox{1, 5, 3, 3}));
  EXPECT_EQ(image.pixelBoxOf({{-5, -5}, {7, 7}}), (PixelBox{0, 8, 2, 2}));
  EXPECT_TRUE(image.pixelBoxOf({{20, 20}, {5, 5}}).isEmpty());
  EXPECT_TRUE(image.pixelBoxOf({{1, 1}, {0, 5}}).isEmpty());
}

}  // namespace
}  // namespace qrl::graphics
