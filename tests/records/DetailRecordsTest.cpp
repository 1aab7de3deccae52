#include <gtest/gtest.h>

#include "platform/archive/KeyedArchiver.h"
#include "records/QRLRecordClasses.h"
#include "records/QRLTimecodeDetailsWrapper.h"
#include "records/QTTimecodeDescription.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {
namespace {

using archive::Value;

QRLTimecodeDetailsWrapper full() {
  QRLTimecodeDetailsWrapper w;
  w.setFrameRate(QRLVideoFrameRate23_976);
  w.setSourceFilePath("/media/clip 1.mov");
  w.setStartTimecode("01:00:00;00");
  return w;
}

TEST(DetailRecords, InitialValuesAndTheEmptyDictionary) {
  QRLTimecodeDetailsWrapper w =
      QRLTimecodeDetailsWrapper::wrapperFromDictionary(Value(Value::Dictionary{}));
  EXPECT_EQ(w.frameRate(), 10u);
  EXPECT_EQ(w.sourceFilePath(), std::nullopt);
  EXPECT_EQ(w.startTimecode(), std::nullopt);
  EXPECT_EQ(w.wrapperDictionary(), Value(Value::Dictionary{{"frame", 10}}));
}

TEST(DetailRecords, BothFormsRoundTripWithTheirOwnKeys) {
  QRLTimecodeDetailsWrapper w = full();
  Value d = w.wrapperDictionary();
  EXPECT_EQ(d, Value(Value::Dictionary{
                   {"frame", 1}, {"filePath", "/media/clip 1.mov"}, {"tc", "01:00:00;00"}}));
  EXPECT_EQ(QRLTimecodeDetailsWrapper::wrapperFromDictionary(d), w);

  auto back = unarchiveRecord<QRLTimecodeDetailsWrapper>(
      archive::KeyedArchiver::archivedDataWithRootObject(&w));
  ASSERT_TRUE(back);
  EXPECT_EQ(*back, w);
}

TEST(DetailRecords, EachFormIgnoresTheOthersKeys) {
  // Archive keys in a dictionary: only "filePath" is shared.
  Value archiveKeys(
      Value::Dictionary{{"rate", 3}, {"timecode", "01:00:00:00"}, {"filePath", "/a"}});
  QRLTimecodeDetailsWrapper fromDictionary =
      QRLTimecodeDetailsWrapper::wrapperFromDictionary(archiveKeys);
  EXPECT_EQ(fromDictionary.frameRate(), 10u);
  EXPECT_EQ(fromDictionary.startTimecode(), std::nullopt);
  EXPECT_EQ(fromDictionary.sourceFilePath(), "/a");
}

TEST(DetailRecords, AbsentArchiveEntriesKeepTheInitialValues) {
  QRLTimecodeDetailsWrapper empty;
  auto back = unarchiveRecord<QRLTimecodeDetailsWrapper>(
      archive::KeyedArchiver::archivedDataWithRootObject(&empty));
  ASSERT_TRUE(back);
  EXPECT_EQ(*back, empty);
}

TEST(TimecodeDescription, InitialValuesAndFactory) {
  QTTimecodeDescription d;
  EXPECT_EQ(d.startTimecode(), "00:00:00:00");
  EXPECT_EQ(d.frameRate(), 6);
  EXPECT_EQ(d.timecodeDuration().value, 0);
  EXPECT_EQ(d.timecodeDuration().scale, 0);
  EXPECT_EQ(d.timecodeDuration().flags, 0u);

  auto made = QTTimecodeDescription::timecodeDescriptionForTimecode(
      "10:00:00;00", QRLMovieRate2997Drop, Duration::make(3003, 30000));
  EXPECT_EQ(made.startTimecode(), "10:00:00;00");
  EXPECT_EQ(made.frameRate(), 100);
  EXPECT_EQ(made.timecodeDuration().value, 3003);
  EXPECT_EQ(made.timecodeDuration().scale, 30000);
}

}  // namespace
}  // namespace qrl
