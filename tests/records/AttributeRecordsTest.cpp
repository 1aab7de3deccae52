#include <gtest/gtest.h>

#include <string>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/PointCoding.h"
#include "platform/archive/PropertyList.h"
#include "platform/process/SystemLog.h"
#include "records/QRLQTTimecodeAttributes.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLQTTimecodeTrackAttributeWrapper.h"
#include "records/QRLRecordClasses.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {
namespace {

using archive::Color;
using archive::Value;

Value dict(Value::Dictionary d) {
  return Value(std::move(d));
}

template <typename T>
std::shared_ptr<const T> archiveRoundTrip(const T& record) {
  return unarchiveRecord<T>(archive::KeyedArchiver::archivedDataWithRootObject(&record));
}

TEST(AttributeRecords, EmptyDictionaryGivesTheDefaults) {
  QRLQTTimecodeAttributeWrapper base;
  EXPECT_EQ(base.startTimecode(), "00:00:00:00");
  EXPECT_EQ(base.frameRate(), QRLVideoFrameRate30);
  EXPECT_EQ(base.fontSize(), 15);

  QRLQTTimecodeBurnAttributeWrapper burn(dict({}));
  EXPECT_EQ(burn, QRLQTTimecodeBurnAttributeWrapper());
  EXPECT_EQ(burn.fontSize(), 15);
  EXPECT_EQ(burn.fontColor(), Color::calibratedRGB(1, 1, 1, 1));
  EXPECT_EQ(burn.burnOrigin(), (Point{0, 0}));
  EXPECT_EQ(burn.letterboxBackgroundColor(), std::nullopt);

  QRLQTTimecodeTrackAttributeWrapper track;
  EXPECT_TRUE(track.showTimecode());
  EXPECT_EQ(track.startTimecode(), "00:00:00:00");
}

TEST(AttributeRecords, FontAndLetterboxComponents) {
  struct Case {
    const char* name;
    Value::Dictionary entries;
    Color font;
    std::optional<Color> letterbox;
  };
  const Case cases[] = {
      {"green only", {{"greenFontColor", 0.5}}, Color::calibratedRGB(1, 0.5f, 1, 1), std::nullopt},
      {"integer components",
       {{"redFontColor", 0}, {"alphaLevel", 1}},
       Color::calibratedRGB(0, 1, 1, 1),
       std::nullopt},
      {"letterbox without red",
       {{"greenFontColor_Letterbox", 0.1},
        {"blueFontColor_Letterbox", 0.2},
        {"alphaLevel_Letterbox", 0.3}},
       Color::calibratedRGB(1, 1, 1, 1),
       std::nullopt},
      {"letterbox red only",
       {{"redFontColor_Letterbox", 0}},
       Color::calibratedRGB(1, 1, 1, 1),
       Color::calibratedRGB(0, 1, 1, 1)},
      {"full letterbox",
       {{"redFontColor_Letterbox", 0.25},
        {"greenFontColor_Letterbox", 0.5},
        {"blueFontColor_Letterbox", 0.75},
        {"alphaLevel_Letterbox", 0.5}},
       Color::calibratedRGB(1, 1, 1, 1),
       Color::calibratedRGB(0.25f, 0.5f, 0.75f, 0.5f)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    QRLQTTimecodeBurnAttributeWrapper burn(dict(c.entries));
    EXPECT_EQ(burn.fontColor(), c.font);
    EXPECT_EQ(burn.letterboxBackgroundColor(), c.letterbox);
  }
  EXPECT_EQ(QRLQTTimecodeBurnAttributeWrapper::amendTimecodeFontKeyForLetterboxColor("alphaLevel"),
            "alphaLevel_Letterbox");
  Value d = dict({{"x_Letterbox", 0.25}});
  EXPECT_EQ(
      QRLQTTimecodeBurnAttributeWrapper::extractLetterboxValueStoredInDictionary(d, "x_Letterbox"),
      0.25f);
  EXPECT_EQ(QRLQTTimecodeBurnAttributeWrapper::extractLetterboxValueStoredInDictionary(d, "y"),
            1.0f);
}

QRLQTTimecodeBurnAttributeWrapper fullBurn(bool letterbox) {
  QRLQTTimecodeBurnAttributeWrapper b;
  b.setStartTimecode("01:00:00;00");
  b.setFrameRate(QRLVideoFrameRate29_97);
  b.setFontSize(36);
  b.setFontColor(Color::calibratedRGB(0.1f, 0.2f, 0.3f, 0.4f));
  b.setBurnOrigin(Point{12.25f, -3.5f});
  if (letterbox)
    b.setLetterboxBackgroundColor(Color::calibratedRGB(0, 0, 0, 0.6f));
  return b;
}

TEST(AttributeRecords, DictionaryFormRoundTripsAndCountsItsEntries) {
  for (bool letterbox : {false, true}) {
    SCOPED_TRACE(letterbox);
    auto burn = fullBurn(letterbox);
    Value d = burn.timecodeAttributeDictionary();
    EXPECT_EQ(d.dictionary()->size(), letterbox ? 12u : 8u);
    EXPECT_EQ(d.find(QRLQTOverlayFontSizeAttribute)->integer(), 36);
    EXPECT_EQ(d.find("alphaLevel")->real(), static_cast<double>(0.4f));
    EXPECT_EQ(d.find("alphaLevel_Letterbox") != nullptr, letterbox);
    EXPECT_EQ(archive::pointFromValue(*d.find(QRLQTOverlayBurnOriginAttribute)),
              (Point{12.25f, -3.5f}));
    EXPECT_EQ(QRLQTTimecodeBurnAttributeWrapper(d), burn);
    // The dictionary also survives the trip through a binary property list (as messages carry it).
    Value carried = archive::PropertyList::parse(archive::PropertyList::binaryData(d));
    EXPECT_EQ(QRLQTTimecodeBurnAttributeWrapper(carried), burn);
  }
  QRLQTTimecodeTrackAttributeWrapper track;
  track.setShowTimecode(false);
  track.setFrameRate(QRLVideoFrameRate50i);
  Value t = track.timecodeAttributeDictionary();
  EXPECT_EQ(t.dictionary()->size(), 4u);
  EXPECT_EQ(t.find(QRLQTOverlayTrackVisibleAttribute)->boolean(), false);
  EXPECT_EQ(QRLQTTimecodeTrackAttributeWrapper(t), track);
  EXPECT_EQ(QRLQTTimecodeAttributeWrapper().timecodeAttributeDictionary().dictionary()->size(), 3u);
}

TEST(AttributeRecords, WrongEntryTypesFallBackToDefaultsWithALogLine) {
  process::CapturingLog log;
  QRLQTTimecodeBurnAttributeWrapper b(dict({{std::string(QRLQTOverlayFontSizeAttribute), "big"},
                                            {std::string(QRLQTOverlayBurnOriginAttribute), 7},
                                            {"redFontColor", Value::Array{}}}));
  EXPECT_EQ(b.fontSize(), 15);
  EXPECT_EQ(b.burnOrigin(), (Point{0, 0}));
  EXPECT_EQ(b.fontColor(), Color::calibratedRGB(1, 1, 1, 1));
  EXPECT_EQ(log.messages().size(), 3u);
  EXPECT_EQ(QRLQTTimecodeAttributeWrapper(Value(5)), QRLQTTimecodeAttributeWrapper());
}

TEST(AttributeRecords, ArchiveFormRoundTrips) {
  for (bool letterbox : {false, true}) {
    auto burn = fullBurn(letterbox);
    auto back = archiveRoundTrip(burn);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, burn);
  }
  QRLQTTimecodeTrackAttributeWrapper track;
  track.setShowTimecode(false);
  track.setStartTimecode("23:59:59:23");
  auto backTrack = archiveRoundTrip(track);
  ASSERT_TRUE(backTrack);
  EXPECT_EQ(*backTrack, track);
  QRLQTTimecodeAttributeWrapper base;
  base.setFontSize(-2);
  auto backBase = archiveRoundTrip(base);
  ASSERT_TRUE(backBase);
  EXPECT_EQ(*backBase, base);
}

// An archive of the burn class that carries no fields at all.
archive::Data emptyArchiveOf(const char* className) {
  Value::Array chain{Value(className), Value("QRLQTTimecodeAttributeWrapper"), Value("NSObject")};
  Value a =
      dict({{"$archiver", "NSKeyedArchiver"},
            {"$version", 100000},
            {"$top", dict({{"root", archive::Uid{1}}})},
            {"$objects",
             Value::Array{Value("$null"), dict({{"$class", archive::Uid{2}}}),
                          dict({{"$classname", className}, {"$classes", std::move(chain)}})}}});
  return archive::PropertyList::binaryData(a);
}

TEST(AttributeRecords, ArchiveAppliesNoDefaults) {
  auto burn = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(
      emptyArchiveOf("QRLQTTimecodeBurnAttributeWrapper"));
  ASSERT_TRUE(burn);
  EXPECT_EQ(burn->startTimecode(), std::nullopt);
  EXPECT_EQ(burn->frameRate(), 0u);
  EXPECT_EQ(burn->fontSize(), 0);
  EXPECT_EQ(burn->fontColor(), std::nullopt);
  EXPECT_EQ(burn->letterboxBackgroundColor(), std::nullopt);
  EXPECT_EQ(burn->burnOrigin(), (Point{0, 0}));
  // A missing colour reads as zero components in the dictionary form; no timecode entry.
  Value d = burn->timecodeAttributeDictionary();
  EXPECT_EQ(d.find("alphaLevel")->real(), 0.0);
  EXPECT_EQ(d.find(QRLQTOverlayStartTimecodeAttribute), nullptr);

  auto track = unarchiveRecord<QRLQTTimecodeTrackAttributeWrapper>(
      emptyArchiveOf("QRLQTTimecodeTrackAttributeWrapper"));
  ASSERT_TRUE(track);
  EXPECT_FALSE(track->showTimecode());
}

TEST(AttributeRecords, ArchiveOfAnotherClassIsNotTakenForTheRecord) {
  process::CapturingLog log;
  auto track = fullBurn(false);
  EXPECT_EQ(unarchiveRecord<QRLQTTimecodeTrackAttributeWrapper>(
                archive::KeyedArchiver::archivedDataWithRootObject(&track)),
            nullptr);
  EXPECT_EQ(log.messages().size(), 1u);
  log.clear();
  EXPECT_EQ(unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(archive::Data{1, 2, 3}), nullptr);
  EXPECT_EQ(log.messages().size(), 1u);
}

}  // namespace
}  // namespace qrl
