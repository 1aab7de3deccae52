#include "platform/graphics/StringDrawing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/base/Exception.h"
#include "tests/platform/graphics/GraphicsTestSupport.h"

namespace qrl::graphics {
namespace {

StringAttributes attributes(double size, Color foreground = Color::whiteColor(),
                            std::optional<Color> background = std::nullopt) {
  return {Font("Lucida Grande", size), foreground, background};
}

// The box, in memory order, of the line box drawn with its lower-left corner
// at `at` in an image `height` pixels tall.
PixelBox lineBox(const Size& measured, const Point& at, int height) {
  const int left = static_cast<int>(std::floor(at.x));
  const int top = static_cast<int>(std::floor(height - at.y - measured.height));
  return {left, top, static_cast<int>(std::ceil(at.x + measured.width)) - left,
          static_cast<int>(std::ceil(height - at.y)) - top};
}

bool inside(const PixelBox& box, int column, int row) {
  return column >= box.column && column < box.endColumn() && row >= box.row && row < box.endRow();
}

TEST(StringDrawingTest, LucidaGrandeResolvesToTheInstalledFaceFontconfigPicks) {
  const std::string family = Font("Lucida Grande", 25).resolvedFamily();
  EXPECT_FALSE(family.empty());
  if (!testing::haveProgram("fc-match"))
    GTEST_SKIP() << "fc-match not installed";
  const auto judged = testing::runCommand("fc-match -f '%{family[0]}' 'Lucida Grande'");
  ASSERT_EQ(judged.exitCode, 0) << judged.output;
  EXPECT_EQ(family, judged.output);
}

TEST(StringDrawingTest, MeasuresWiderAndTallerForLargerFontsAndLongerText) {
  const Size small = StringDrawing::sizeWithAttributes("01:00:00;00", attributes(20));
  const Size large = StringDrawing::sizeWithAttributes("01:00:00;00", attributes(40));
  const Size longer = StringDrawing::sizeWithAttributes("01:00:00;00 01:00:00;00", attributes(20));
  EXPECT_GT(small.width, 50);
  EXPECT_GT(small.height, 19);
  EXPECT_NEAR(large.width / small.width, 2.0, 0.15);
  EXPECT_NEAR(large.height / small.height, 2.0, 0.15);
  EXPECT_GT(longer.width, 2 * small.width);
  EXPECT_EQ(StringDrawing::sizeWithAttributes("", attributes(20)).width, 0);
}

TEST(StringDrawingTest, GlyphsLandInsideTheMeasuredBoxAtThePointAndNowhereElse) {
  const struct {
    const char* text;
    double size;
    Point at;
  } cases[] = {
      {"01:00:00;00", 25, {100, 50}},
      {"Text", 48, {0, 0}},
      {"gyp|", 30, {300.5F, 200.25F}},
  };
  for (const auto& c : cases) {
    Image image(640, 360);
    const StringAttributes a = attributes(c.size, {1, 1, 0, 1});
    const Size measured = StringDrawing::sizeWithAttributes(c.text, a);
    StringDrawing::drawAtPoint(c.text, image, c.at, a);
    // One pixel of tolerance for antialiasing at the box's edges.
    PixelBox box = lineBox(measured, c.at, image.height());
    box = {box.column - 1, box.row - 1, box.columns + 2, box.rows + 2};
    int inked = 0;
    int stray = 0;
    for (int row = 0; row < image.height(); ++row) {
      for (int column = 0; column < image.width(); ++column) {
        if (image.pixelAt(column, row).alpha == 0)
          continue;
        (inside(box, column, row) ? inked : stray)++;
      }
    }
    EXPECT_GT(inked, 20 * static_cast<int>(std::string(c.text).size())) << c.text;
    EXPECT_EQ(stray, 0) << c.text;
    // Glyph colour where fully covered is the text colour.
    bool sawSolid = false;
    for (int row = box.row; row < box.endRow() && !sawSolid; ++row) {
      for (int column = std::max(box.column, 0); column < box.endColumn(); ++column) {
        const Rgba8 p = image.pixelAt(column, row);
        if (p.alpha == 255) {
          EXPECT_EQ(p, (Rgba8{255, 255, 0, 255})) << c.text;
          sawSolid = true;
          break;
        }
      }
    }
    EXPECT_TRUE(sawSolid) << c.text;
    EXPECT_FALSE(image.contentBounds().isEmpty());
  }
}

TEST(StringDrawingTest, BackgroundFillsTheLineBoxBehindTheGlyphs) {
  Image image(400, 200);
  const StringAttributes a = attributes(30, Color::whiteColor(), Color{0, 0, 1, 1});
  const Size measured = StringDrawing::sizeWithAttributes("01:00:00;00", a);
  const Point at{40, 60};
  StringDrawing::drawAtPoint("01:00:00;00", image, at, a);
  const PixelBox box = lineBox(measured, at, image.height());
  // Just inside the corners of the line box: background; the text sits
  // between, with white where it covers fully.
  const Rgba8 blue{0, 0, 255, 255};
  EXPECT_EQ(image.pixelAt(box.column + 1, box.row + 1), blue);
  EXPECT_EQ(image.pixelAt(box.endColumn() - 2, box.endRow() - 2), blue);
  EXPECT_EQ(image.pixelAt(box.column + 1, box.endRow() - 2), blue);
  int white = 0;
  for (int row = box.row; row < box.endRow(); ++row) {
    for (int column = box.column; column < box.endColumn(); ++column) {
      const Rgba8 p = image.pixelAt(column, row);
      EXPECT_EQ(p.alpha, 255) << column << "," << row;
      if (p == Rgba8{255, 255, 255, 255})
        ++white;
    }
  }
  EXPECT_GT(white, 100);
  // Outside the line box nothing was painted.
  EXPECT_EQ(image.pixelAt(box.column - 2, box.row + 5), Rgba8{});
  EXPECT_EQ(image.pixelAt(box.endColumn() + 1, box.row + 5), Rgba8{});
  EXPECT_EQ(image.pixelAt(box.column + 5, box.row - 2), Rgba8{});
  EXPECT_EQ(image.pixelAt(box.column + 5, box.endRow() + 1), Rgba8{});
}

TEST(StringDrawingTest, TextPartlyOutsideTheImageIsClippedQuietly) {
  Image image(50, 20);
  StringDrawing::drawAtPoint("01:00:00;00", image, {-30, 10}, attributes(30));
  StringDrawing::drawAtPoint("01:00:00;00", image, {5000, 5000}, attributes(30));
  const PixelBox box = image.contentBounds();
  EXPECT_GE(box.column, 0);
  EXPECT_LE(box.endColumn(), 50);
  EXPECT_LE(box.endRow(), 20);
}

TEST(StringDrawingTest, RejectsUnusableFontSizesAndSurvivesBadText) {
  Image image(100, 50);
  for (double size : {0.0, -4.0, std::nan(""), 1e9}) {
    EXPECT_THROW(StringDrawing::drawAtPoint("x", image, {0, 0}, attributes(size)), Exception)
        << size;
  }
  // Invalid UTF-8 and embedded NUL are drawn (as replacements), not refused.
  const std::string bad(
      "a\xff\xfe"
      "b\0c",
      6);
  StringDrawing::drawAtPoint(bad, image, {2, 2}, attributes(20));
  EXPECT_GT(StringDrawing::sizeWithAttributes(bad, attributes(20)).width, 10);
}

}  // namespace
}  // namespace qrl::graphics
