// The overlay writer through a real conduit process: movies made by ffmpeg,
// changed by the conduit, read back by ffprobe.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "clients/cpp/QRLConduitClient.h"
#include "platform/archive/KeyedArchiver.h"
#include "platform/base/Exception.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "tests/movie/OverlayTestSupport.h"

namespace qrl {
namespace {

namespace fs = std::filesystem;
using archive::Value;
using quicktime::testing::probe;
using quicktime::testing::readFile;
using testing::makeSizedMovie;
using testing::TempDir;

Value color(double red, double green, double blue) {
  return Value(Value::Dictionary{{"red", red}, {"green", green}, {"blue", blue}});
}

Value point(double x, double y) {
  return Value(Value::Dictionary{{"x", x}, {"y", y}});
}

class OverlayServiceProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("QRL_RUNTIME_DIR", (dir_ / "run").c_str(), 1);
    setenv("QRL_CONDUIT", QRL_CONDUIT_PROGRAM, 1);
    conduit_ = client::QRLConduitClient::launch();
    ASSERT_NE(conduit_, nullptr);
  }
  void TearDown() override {
    conduit_.reset();
    unsetenv("QRL_RUNTIME_DIR");
    unsetenv("QRL_CONDUIT");
  }

  Value send(const std::string& selector, std::vector<Value> arguments) {
    return conduit_->proxy().send(selector, std::move(arguments));
  }

  TempDir dir_;
  std::unique_ptr<client::QRLConduitClient> conduit_;
};

TEST_F(OverlayServiceProcess, TheTimecodeBurnAddsATiffTrack) {
  auto movie = makeSizedMovie(dir_, "burn.mov", "160x90", "25", 5);
  Value overlay(Value::Dictionary{
      {"embeddedTimecodeOverlay", Value(Value::Dictionary{{"xCoordinate", 8},
                                                          {"yCoordinate", 10},
                                                          {"fontSize", 16},
                                                          {"textColor", color(1, 1, 0)}})}});
  send("addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
       {Value(movie.string()), Value("01:00:00:00"), Value(3), overlay});

  auto streams = probe(movie, "stream=codec_type,codec_tag_string,nb_frames");
  EXPECT_EQ(streams["streams.stream.1.codec_tag_string"], "tmcd");
  EXPECT_EQ(streams["streams.stream.2.codec_type"], "video");
  EXPECT_EQ(streams["streams.stream.2.codec_tag_string"], "tiff");
  EXPECT_EQ(streams["streams.stream.2.nb_frames"], "5");
  EXPECT_EQ(*send("beginningTimecodeForQuicktimeVideoAtPath:", {Value(movie.string())}).string(),
            "01:00:00:00");
}

TEST_F(OverlayServiceProcess, BurnRecordsTravelAsArchivesAndAsDictionaries) {
  QRLQTTimecodeBurnAttributeWrapper record;
  record.setStartTimecode("10:00:00:00");
  record.setFrameRate(3);
  record.setFontSize(14);
  record.setBurnOrigin({6, 8});
  record.setFontColor(archive::Color::calibratedRGB(1, 0, 0, 1));
  const struct {
    const char* selector;
    Value record;
  } forms[] = {
      {"addTimecodeBurnToMovie:burnAttributes:",
       Value(archive::KeyedArchiver::archivedDataWithRootObject(&record))},
      {"addTimecodeBurnToMovieAtPath:burnAttributes:",
       Value(archive::KeyedArchiver::archivedDataWithRootObject(&record))},
      {"addTimecodeBurnToMovieAtPath:burnDictionary:", record.timecodeAttributeDictionary()},
  };
  int n = 0;
  for (const auto& form : forms) {
    SCOPED_TRACE(form.selector);
    auto movie = makeSizedMovie(dir_, "record" + std::to_string(++n) + ".mov", "160x90", "25", 3);
    send(form.selector, {Value(movie.string()), form.record});
    auto streams = probe(movie, "stream=codec_tag_string");
    EXPECT_EQ(streams["streams.stream.1.codec_tag_string"], "tmcd");
    EXPECT_EQ(streams["streams.stream.2.codec_tag_string"], "tiff");
    EXPECT_EQ(*send("beginningTimecodeForQuicktimeVideoAtPath:", {Value(movie.string())}).string(),
              "10:00:00:00");
  }
}

TEST_F(OverlayServiceProcess, QuicktimeTimecodeOverlayTakesAHolderOrABurnRecord) {
  const std::string selector =
      "addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:withBurnAttributeWrapper:"
      "conformingToVideoFrameRate:";
  QRLQTTimecodeBurnAttributeWrapper record;
  record.setFontSize(14);
  record.setBurnOrigin({6, 8});
  const Value forms[] = {
      Value(Value::Dictionary{
          {"embeddedTimecodeOverlay",
           Value(Value::Dictionary{{"xCoordinate", 4}, {"width", 80}, {"fontSize", 12}})}}),
      Value(archive::KeyedArchiver::archivedDataWithRootObject(&record)),
      record.timecodeAttributeDictionary(),
  };
  int n = 0;
  for (const Value& form : forms) {
    SCOPED_TRACE(n);
    auto movie = makeSizedMovie(dir_, "qt" + std::to_string(++n) + ".mov", "160x90", "25", 3);
    EXPECT_EQ(
        send(selector, {Value(movie.string()), Value("03:00:00:00"), form, Value(3)}).boolean(),
        true);
    auto streams = probe(movie, "stream=codec_tag_string");
    EXPECT_EQ(streams["streams.stream.1.codec_tag_string"], "tmcd");
    EXPECT_EQ(streams.count("streams.stream.2.codec_tag_string"), 0u) << "no picture is added";
    EXPECT_EQ(*send("beginningTimecodeForQuicktimeVideoAtPath:", {Value(movie.string())}).string(),
              "03:00:00:00");
  }
  EXPECT_EQ(send(selector,
                 {Value((dir_ / "none.mov").string()), Value("03:00:00:00"), forms[0], Value(3)})
                .boolean(),
            false);
  auto movie = makeSizedMovie(dir_, "shape.mov", "160x90", "25", 3);
  const auto before = readFile(movie);
  EXPECT_THROW(send(selector, {Value(movie.string()), Value("03:00:00:00"),
                               Value(archive::Data{1, 2, 3}), Value(3)}),
               Exception);
  EXPECT_EQ(readFile(movie), before);
}

TEST_F(OverlayServiceProcess, WatermarksAndTextAddOneTrackEach) {
  auto movie = makeSizedMovie(dir_, "marks.mov", "160x90", "25", 3);
  auto png = dir_ / "mark.png";
  testing::run("ffmpeg -nostdin -v error -f lavfi -i color=c=red:s=8x6 -frames:v 1 '" +
               png.string() + "'");
  Value image(readFile(png));
  ASSERT_FALSE(image.data()->empty());

  send("overlayWatermarkImage:intoMovieAtPath:atLocation:",
       {image, Value(movie.string()), point(4, 4)});
  send("overlayWatermarkImage:intoMovie:atLocation:", {image, Value(movie.string()), point(20, 4)});
  send("addImageOverlayToMovieAtPath:withImageOverlay:",
       {Value(movie.string()), Value(Value::Dictionary{{"watermarkImage", image},
                                                       {"xCoordinate", 40},
                                                       {"yCoordinate", 40},
                                                       {"width", 16},
                                                       {"height", 12}})});
  send("addTextualOverlayToMovieAtPath:withTextOverlay:",
       {Value(movie.string()), Value(Value::Dictionary{{"text", "DRAFT"},
                                                       {"xCoordinate", 10},
                                                       {"yCoordinate", 60},
                                                       {"fontSize", 12},
                                                       {"includeBackgroundColor", true},
                                                       {"backgroundColor", color(0, 0, 0)},
                                                       {"textColor", color(1, 1, 1)}})});
  auto streams = probe(movie, "stream=codec_type,codec_tag_string");
  for (int i = 1; i <= 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(streams["streams.stream." + std::to_string(i) + ".codec_type"], "video");
  }
  EXPECT_EQ(streams.count("streams.stream.5.codec_type"), 0u);

  // Undecodable image data is logged by the conduit and changes nothing.
  auto before = readFile(movie);
  send("overlayWatermarkImage:intoMovie:atLocation:",
       {Value(archive::Data{1, 2, 3}), Value(movie.string()), point(4, 4)});
  EXPECT_EQ(readFile(movie), before);
}

TEST_F(OverlayServiceProcess, BadShapesAreErrorsThatLeaveTheMovieAlone) {
  auto movie = makeSizedMovie(dir_, "shapes.mov", "160x90", "25", 2);
  auto before = readFile(movie);
  const std::string path = movie.string();
  const struct {
    const char* what;
    const char* message;
    std::string selector;
    std::vector<Value> arguments;
  } cases[] = {
      {"colour without red",
       "has no 'red'",
       "overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
       {Value("hi"), Value(path), point(1, 1), Value(12),
        Value(Value::Dictionary{{"green", 1}, {"blue", 1}})}},
      {"colour not a dictionary",
       "must be a dictionary",
       "overlayTextualMessage:intoMovie:atLocation:withFontSize:andColor:",
       {Value("hi"), Value(path), point(1, 1), Value(12), Value("red")}},
      {"image not data",
       "must be image-file data",
       "overlayWatermarkImage:intoMovieAtPath:atLocation:",
       {Value("png"), Value(path), point(1, 1)}},
      {"text not a string",
       "must be a string",
       "addTextualOverlayToMovieAtPath:withTextOverlay:",
       {Value(path), Value(Value::Dictionary{{"text", 5}})}},
      {"font size out of range",
       "out of range",
       "addTextualOverlayToMovieAtPath:withTextOverlay:",
       {Value(path), Value(Value::Dictionary{{"text", "a"}, {"fontSize", 1e12}})}},
      {"overlay data not a dictionary",
       "must be a dictionary",
       "addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
       {Value(path), Value("01:00:00:00"), Value(3), Value(archive::Data{})}},
      {"burn dictionary an array",
       "must be a dictionary",
       "addTimecodeBurnToMovieAtPath:burnDictionary:",
       {Value(path), Value(Value::Array{})}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    try {
      send(c.selector, c.arguments);
      ADD_FAILURE() << "taken";
    } catch (const Exception& e) {
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
  }
  EXPECT_EQ(readFile(movie), before);

  // The writer's own failures are not errors on the wire: a bad start
  // timecode or a missing movie is logged and nothing is written.
  send("addTimecodeOverlayToMovieAtPath:withStartingTimecode:frameRate:timecodeOverlayData:",
       {Value(path), Value("not a timecode"), Value(3), Value(Value::Dictionary{})});
  EXPECT_EQ(readFile(movie), before);
  auto missing = (dir_ / "none.mov").string();
  send("overlayWatermarkImage:intoMovieAtPath:atLocation:",
       {Value(readFile(movie)), Value(missing), point(1, 1)});
  EXPECT_FALSE(fs::exists(missing));
}

TEST_F(OverlayServiceProcess, OnlyWhatTheWriterDoesIsServed) {
  const std::vector<std::pair<const char*, std::vector<Value>>> absent{
      {"insertTimeCodeTrackIntoMovieAtPath:trackAttributes:",
       {Value("/no/such.mov"), Value(archive::Data{})}},
      {"timecodesEmbeddedInFileAtPath:", {Value("/no/such.mov")}},
      {"removeAudioTracksFromQuicktimeMovieAtPath:", {Value("/no/such.mov")}},
  };
  for (const auto& [selector, arguments] : absent) {
    SCOPED_TRACE(selector);
    try {
      send(selector, arguments);
      FAIL() << "answered";
    } catch (const Exception& e) {
      EXPECT_NE(std::string(e.what()).find("unrecognized selector"), std::string::npos) << e.what();
    }
  }
}

}  // namespace
}  // namespace qrl
