#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/archive/KeyedArchiver.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "tests/xmeml/ClipFixtures.h"
#include "timecode/QRLVideoFrameRate.h"
#include "xmeml/QRLMediaDocumentWriter32.h"
#include "xmeml/QRLXmlUtility.h"

namespace qrl {
namespace {

using testing::Clips;
using testing::readText;
using testing::TempDirectory;

constexpr std::string_view kPlaceholder = "@TMP@";

QRLTimecodeDetailsWrapper record(const std::filesystem::path& path,
                                 std::optional<std::string> timecode, uint32_t rate) {
  QRLTimecodeDetailsWrapper r;
  r.setSourceFilePath(path.string());
  r.setStartTimecode(std::move(timecode));
  r.setFrameRate(rate);
  return r;
}

// Every kind of clip once: sound layouts, drop and non-drop timecodes, no
// timecode, a path needing percent-encoding, a reel folder, a timecode that
// is not one with an undefined rate, and a movie that does not exist.
std::vector<QRLTimecodeDetailsWrapper> mixedRecords() {
  const Clips& c = Clips::shared();
  return {
      record(c.twoVideoStereo(), "01:00:00:00", QRLVideoFrameRatePAL),
      record(c.mono(), "00:59:59;28", QRLVideoFrameRate29_97),
      record(c.silent(), std::nullopt, QRLVideoFrameRate24),
      record(c.root() / "absent.mov", "01:00:00:00", QRLVideoFrameRate30),
      record(c.spaced(), "10:00:00:00", QRLVideoFrameRate23_976),
      record(c.reel(), "01:00:00:00", QRLVideoFrameRate30),
      record(c.withTimecodeTrack(), "1:00", QRLVideoFrameRateUndefined),
  };
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

// Compares a written document with its golden file, after putting the
// placeholder in place of the clips' folder. QRL_UPDATE_GOLDEN=1 rewrites
// the golden file instead.
void expectGolden(const std::filesystem::path& written, const std::string& goldenName) {
  const char* source = std::getenv("QRL_SOURCE_DIR");
  std::filesystem::path golden = (source ? std::filesystem::path(source) / "tests/xmeml"
                                         : std::filesystem::path(__FILE__).parent_path()) /
                                 "golden" / goldenName;
  std::string actual = replaceAll(readText(written), Clips::shared().root().string(), kPlaceholder);
  if (const char* update = std::getenv("QRL_UPDATE_GOLDEN"); update && std::string(update) == "1") {
    testing::writeText(golden, actual);
    return;
  }
  ASSERT_TRUE(std::filesystem::exists(golden)) << golden;
  EXPECT_EQ(actual, readText(golden)) << goldenName;
}

TEST(DocumentWriterTest, MixedClipsMatchTheGoldenDocument) {
  TempDirectory out;
  QRLMediaDocumentWriter32 writer;
  ASSERT_TRUE(
      writer.saveFinalCut7XmlToPaths({(out / "mixed.xml").string()}, mixedRecords(), false));
  testing::expectWellFormed(out / "mixed.xml");
  expectGolden(out / "mixed.xml", "mixed.xml");
}

TEST(DocumentWriterTest, IgnoreTimecodeGivesInZeroAndNoTimecodeElements) {
  TempDirectory out;
  QRLMediaDocumentWriter32 writer;
  ASSERT_TRUE(
      writer.saveFinalCut7XmlToPaths({(out / "ignored.xml").string()}, mixedRecords(), true));
  testing::expectWellFormed(out / "ignored.xml");
  expectGolden(out / "ignored.xml", "ignore_timecode.xml");

  auto document = XmlDocument::parseFile(out / "ignored.xml");
  ASSERT_NE(document, nullptr);
  int clips = 0;
  for (XmlNode n = document->rootElement(); n; n = n.nextNode()) {
    EXPECT_FALSE(n.hasName("timecode"));
    if (n.hasName("in")) {
      EXPECT_EQ(n.stringValue(), "0");
      ++clips;
    }
  }
  EXPECT_EQ(clips, 6);
}

TEST(DocumentWriterTest, NoRecordsGiveTheBareRootAtEveryPath) {
  TempDirectory out;
  QRLMediaDocumentWriter32 writer;
  process::CapturingLog log;
  ASSERT_TRUE(writer.saveFinalCut7XmlToPaths({(out / "a.xml").string(), (out / "b.xml").string()},
                                             std::vector<QRLTimecodeDetailsWrapper>{}, false));
  const std::string expected =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n"
      "<xmeml version=\"5\"></xmeml>";
  EXPECT_EQ(readText(out / "a.xml"), expected);
  EXPECT_EQ(readText(out / "b.xml"), expected);
  testing::expectWellFormed(out / "a.xml");
  EXPECT_EQ(log.messages(), (std::vector<std::string>{"Look"}));
  // No paths at all is not a failure.
  EXPECT_TRUE(writer.saveFinalCut7XmlToPaths({}, std::vector<QRLTimecodeDetailsWrapper>{}, false));
}

TEST(DocumentWriterTest, AFailedPathDoesNotStopTheOthers) {
  TempDirectory out;
  testing::writeText(out / "file", "a file, not a folder");
  QRLMediaDocumentWriter32 writer;
  std::vector<QRLTimecodeDetailsWrapper> records{
      record(Clips::shared().silent(), std::nullopt, QRLVideoFrameRate30)};
  EXPECT_FALSE(writer.saveFinalCut7XmlToPaths(
      {(out / "file" / "inside.xml").string(), (out / "second.xml").string()}, records, false));
  EXPECT_FALSE(std::filesystem::exists(out / "file" / "inside.xml"));
  EXPECT_EQ(readText(out / "file"), "a file, not a folder");
  testing::expectWellFormed(out / "second.xml");
  EXPECT_NE(readText(out / "second.xml").find("<name>silent.mov</name>"), std::string::npos);
  // Nothing but the two files: no temporary file is left behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out.path()), {}), 2);
}

TEST(DocumentWriterTest, ReplacesAnExistingFileWhole) {
  TempDirectory out;
  testing::writeText(out / "doc.xml", std::string(100000, 'x'));
  QRLMediaDocumentWriter32 writer;
  ASSERT_TRUE(writer.saveFinalCut7XmlToPaths({(out / "doc.xml").string()},
                                             std::vector<QRLTimecodeDetailsWrapper>{}, false));
  EXPECT_TRUE(readText(out / "doc.xml").ends_with("<xmeml version=\"5\"></xmeml>"));
}

TEST(DocumentWriterTest, ArchivedRecordsWriteTheSameDocument) {
  TempDirectory out;
  std::vector<archive::Data> blobs;
  for (const auto& r : mixedRecords())
    blobs.push_back(archive::KeyedArchiver::archivedDataWithRootObject(&r));
  QRLMediaDocumentWriter32 writer;
  ASSERT_TRUE(writer.saveFinalCut7XmlToPaths({(out / "fromData.xml").string()}, blobs, false));
  ASSERT_TRUE(
      writer.saveFinalCut7XmlToPaths({(out / "direct.xml").string()}, mixedRecords(), false));
  EXPECT_EQ(readText(out / "fromData.xml"), readText(out / "direct.xml"));
}

TEST(DocumentWriterTest, AnUndecodableBlobThrowsAndNothingIsWritten) {
  TempDirectory out;
  const auto good = archive::KeyedArchiver::archivedDataWithRootObject(&mixedRecords()[0]);
  const std::vector<std::vector<archive::Data>> cases = {
      {good, archive::Data{'n', 'o', 't', ' ', 'a', 'n', ' ', 'a', 'r', 'c', 'h', 'i', 'v', 'e'}},
      {archive::Data{}},
      {archive::KeyedArchiver::archivedDataWithRootObject(nullptr)},
  };
  QRLMediaDocumentWriter32 writer;
  for (const auto& blobs : cases) {
    EXPECT_THROW(writer.saveFinalCut7XmlToPaths({(out / "never.xml").string()}, blobs, false),
                 Exception);
    EXPECT_FALSE(std::filesystem::exists(out / "never.xml"));
  }
}

}  // namespace
}  // namespace qrl
