#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "platform/base/Exception.h"
#include "protocol/QRLRemoteInterface.h"
#include "protocol/QRLWireValues.h"

namespace qrl {
namespace {

using archive::Value;
using ipc::MethodSignature;
using ipc::signatureFromValue;
using ipc::signatureValue;

TEST(RemoteInterface, EverySelectorIsDeclaredOnceWithItsProtocol) {
  std::set<std::string_view> seen;
  std::map<QRLProtocol, int> perProtocol;
  for (const QRLRemoteMethod* method : QRLRemoteInterface()) {
    EXPECT_TRUE(seen.insert(method->selector()).second) << method->selector();
    ++perProtocol[method->protocol()];
    size_t colons = std::count(method->selector().begin(), method->selector().end(), ':');
    EXPECT_EQ(colons, method->signature().arguments.size()) << method->selector();
  }
  EXPECT_EQ(perProtocol[QRLProtocol::QRLDistributedAppCommunicationProtocol], 9);
  EXPECT_EQ(perProtocol[QRLProtocol::QRLQuickTime32Protocol], 14);
  EXPECT_EQ(perProtocol[QRLProtocol::QRLQTOverlayProtocol], 14);
  EXPECT_EQ(perProtocol[QRLProtocol::QRLDistributedQTOverlayProtocol], 9);
  EXPECT_EQ(perProtocol[QRLProtocol::QRLQTSettingsParserProtocol], 1);
  EXPECT_EQ(perProtocol[QRLProtocol::QRLMediaDocumentWriter32Protocol], 2);

  // Spellings that are part of the wire interface.
  EXPECT_NE(QRLRemoteMethodForSelector("durationOfFileInMiliseconds:"), nullptr);
  EXPECT_NE(QRLRemoteMethodForSelector("addQuicktimeTimecodeOverlayToVideoAtPath:startTimcode:"
                                       "withBurnAttributeWrapper:conformingToVideoFrameRate:"),
            nullptr);
  EXPECT_EQ(QRLSignatureTableForProtocol(QRLProtocol::QRLQTSettingsParserProtocol).size(), 1u);
}

TEST(MethodSignature, TravelsAsKindNames) {
  MethodSignature s{{kind::String, kind::UInt32, kind::Point, kind::Track}, kind::Bool};
  EXPECT_EQ(signatureFromValue(signatureValue(s)), s);
  EXPECT_FALSE(signatureFromValue(Value(Value::Dictionary{{"arguments", Value("x")}})));
  EXPECT_FALSE(kind::UInt8.problemWith(Value(255)));
  EXPECT_TRUE(kind::UInt8.problemWith(Value(256)));
  EXPECT_TRUE(kind::UInt32.problemWith(Value(-1)));
  EXPECT_TRUE(kind::Track.problemWith(
      Value(Value::Dictionary{{"path", Value("/m.mov")}, {"index", Value(0)}})));
  // A kind read from the wire that this side does not know is left to the other side.
  auto remote = signatureFromValue(signatureValue(MethodSignature{{kind::Point}, kind::None}));
  ASSERT_TRUE(remote);
  EXPECT_FALSE(remote->arguments[0].problemWith(Value("not a point")));
  EXPECT_EQ(remote->arguments[0], kind::Point);
}

// The one rule for every value that travels as a dictionary: required fields
// must be there, other absent fields read as unset, wrong types and ranges
// are errors naming the field.
TEST(WireValues, OneRuleForMissingKeysAndWrongKinds) {
  using D = Value::Dictionary;
  struct Case {
    const char* what;
    std::function<void()> decode;
    const char* error;  // "" when it decodes
  };
  const Case cases[] = {
      {"point with both",
       [] {
         wire::point(D{{"x", 1}, {"y", 2.5}});
       },
       ""},
      {"point without y",
       [] {
         wire::point(D{{"x", 1}});
       },
       "the point has no 'y'"},
      {"point with text",
       [] {
         wire::point(D{{"x", "1"}, {"y", 2}});
       },
       "field 'x' must be a number"},
      {"size not a dictionary", [] { wire::size(Value(3)); }, "the size must be a dictionary"},
      {"definition frame count",
       [] {
         wire::timeCodeDef(
             D{{"flags", 0}, {"timeScale", 2500}, {"frameDuration", 100}, {"numFrames", 300}});
       },
       "field 'numFrames' is out of range"},
      {"track index 0",
       [] {
         wire::track(D{{"path", "/m.mov"}, {"index", 0}});
       },
       "field 'index' is out of range"},
      {"track real index",
       [] {
         wire::track(D{{"path", "/m.mov"}, {"index", 1.0}});
       },
       "field 'index' must be an integer"},
      {"track without path",
       [] {
         wire::track(D{{"index", 1}});
       },
       "the track has no 'path'"},
      {"colour without alpha",
       [] {
         wire::color(D{{"red", 1}, {"green", 0}, {"blue", 0}});
       },
       ""},
      {"colour without red",
       [] {
         wire::color(D{{"green", 1}, {"blue", 1}});
       },
       "the colour has no 'red'"},
      {"empty text overlay", [] { wire::textOverlay(D{}); }, ""},
      {"text overlay colour",
       [] {
         wire::textOverlay(D{{"textColor", D{{"red", 1}}}});
       },
       "field 'textColor' has no 'green'"},
      {"text overlay flag",
       [] {
         wire::textOverlay(D{{"includeBackgroundColor", 1}});
       },
       "field 'includeBackgroundColor' must be a boolean"},
      {"image overlay size",
       [] {
         wire::imageOverlay(D{{"width", 1e10}});
       },
       "field 'width' is out of range"},
      {"holder without overlay", [] { wire::timecodeOverlayHolder(D{}); }, ""},
      {"paths", [] { wire::strings(Value(Value::Array{Value(7)}), "paths"); },
       "paths must hold only strings"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    try {
      c.decode();
      EXPECT_STREQ(c.error, "");
    } catch (const Exception& e) {
      EXPECT_EQ(std::string(e.what()), c.error);
      EXPECT_TRUE(e.isBadInput());
    }
  }
}

TEST(WireValues, WhatIsEncodedDecodesToTheSame) {
  QRLTextOverlayDescription text{
      "TC", 10, 20, true, QRLColorComponents{0, 0, 0, 0.5}, 24, QRLColorComponents{1, 1, 1, 1}};
  EXPECT_EQ(wire::textOverlay(wire::encode(text)), text);
  QRLImageOverlayDescription image{{1, 2, 3}, 1, 2, 3, 4};
  EXPECT_EQ(wire::imageOverlay(wire::encode(image)), image);
  QRLTimecodeOverlayDescription box{5, 6, 7, 8, false, std::nullopt, QRLColorComponents{}, 12};
  EXPECT_EQ(wire::timecodeOverlayHolder(wire::encodeHolder(box)), box);
  EXPECT_EQ(wire::burnAttributeWrapper(wire::encodeHolder(box)), box);
  QRLTrackReference track{"/a b.mov", 3};
  EXPECT_EQ(wire::track(wire::encode(track)), track);
  QRLTimeCodeDef definition{1, 2997, 100, 30};
  EXPECT_EQ(wire::timeCodeDef(wire::encode(definition)), definition);
  EXPECT_EQ(wire::point(wire::encode(Point{1.5f, -2})), (Point{1.5f, -2}));
  EXPECT_EQ(wire::optionalString(wire::encode(std::optional<std::string>())), std::nullopt);
}

}  // namespace
}  // namespace qrl
