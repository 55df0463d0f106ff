// The texts among the boxes of a file, however many there are.

#include "bands/jp2/Jp2Place.h"
#include "base/BytesFile.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "MemoryDisk.h"
#include "XFormatId.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>

namespace {

using TextBytes = std::vector<unsigned char>;

TextBytes MakeText(std::string_view type, std::string_view text) {
  return Jp2Builder::MakeBox(type, Jp2Builder::Text(text));
}

/// Boxes one behind the other, of which there are many.
TextBytes Repeat(int count, const TextBytes& box) {
  TextBytes boxes;
  for (int i = 0; i < count; ++i) boxes.insert(boxes.end(), box.begin(), box.end());
  return boxes;
}

TextBytes MakeGmlData(const TextBytes& within) {
  return Jp2Builder::MakeBox("asoc", Join({MakeText("lbl ", "gml.data"), within}));
}

/// The names and texts of a list of boxes, without any place in a file.
std::vector<std::pair<XString, std::string>> ListNamed(const TextBytes& bytes) {
  zrk::BytesFile file(bytes);
  std::vector<zrk::Jp2Box> boxes;
  XString err;
  EXPECT_EQ(1, zrk::WalkBoxes(file, boxes, err)) << err.GetText();
  std::vector<std::pair<XString, std::string>> named;
  const auto texts = zrk::ListTexts(file, boxes);
  for (const zrk::Jp2Text& each : texts.value_or(std::vector<zrk::Jp2Text>())) {
    named.emplace_back(each.name, zrk::ReadBoxText(file, *each.box, 1000).value_or("no text"));
  }
  return named;
}

/// The least processor time of three runs, in seconds.
double TimeOf(const std::function<void()>& work) {
  std::clock_t least = 0;
  for (int i = 0; i < 3; ++i) {
    const std::clock_t start = std::clock();
    work();
    const std::clock_t taken = std::clock() - start;
    least = i == 0 ? taken : std::min(least, taken);
  }
  return static_cast<double>(least) / CLOCKS_PER_SEC;
}

/// Four times as many texts take some four times as long, where a walk for each of them takes sixteen times as long.
constexpr double kMostForFourTimes = 10.0;

TEST(Jp2Texts, AreThoseWithALabelBesideThemWithinGmlData) {
  const TextBytes plain = Jp2Builder::MakeBox("asoc", Join({MakeText("lbl ", "a"), MakeText("xml ", "<a/>")}));
  const TextBytes deep = Jp2Builder::MakeBox("asoc", Join({MakeText("xml ", "<c/>"), plain, MakeText("lbl ", "c")}));
  const TextBytes bare = Jp2Builder::MakeBox("asoc", MakeText("xml ", "<b/>"));
  const TextBytes twice = Jp2Builder::MakeBox(
      "asoc", Join({MakeText("lbl ", "d"), MakeText("lbl ", "e"), MakeText("xml ", "<d/>"), MakeText("xml ", "<e/>")}));
  using Named = std::vector<std::pair<XString, std::string>>;
  EXPECT_EQ((Named{{"a", "<a/>"}, {"c", "<c/>"}, {"a", "<a/>"}, {"d", "<d/>"}}),
            ListNamed(MakeGmlData(Join({plain, bare, deep, twice}))));
}

TEST(Jp2Texts, OfTheFileItselfAreNumbered) {
  using Named = std::vector<std::pair<XString, std::string>>;
  const TextBytes hidden = Jp2Builder::MakeBox("jp2h", MakeText("xml ", "<h/>"));
  EXPECT_EQ((Named{{"BOX_0", "<a/>"}, {"BOX_1", "<b/>"}}),
            ListNamed(Join({MakeText("xml ", "<a/>"), hidden, MakeText("XML ", "<b/>")})));
}

double TimeOfGml(int numTexts) {
  const TextBytes one = Jp2Builder::MakeBox("asoc", Join({MakeText("lbl ", "a"), MakeText("xml ", "<a/>")}));
  const TextBytes bytes = MakeGmlData(Repeat(numTexts, one));
  EXPECT_EQ(static_cast<std::size_t>(numTexts), ListNamed(bytes).size());
  return TimeOf([&] { ListNamed(bytes); });
}

double TimeOfBoxes(int numTexts) {
  TextBytes bytes = Jp2Builder().Levels(0).Build();
  const TextBytes texts = Repeat(numTexts, MakeText("xml ", "<a/>"));
  bytes.insert(bytes.end(), texts.begin(), texts.end());
  MemoryDisk disk;
  disk.Add("/a.jp2", bytes);
  const zrk::ScopedDisk scope(disk);
  ZRMBandJ2K band(nullptr);
  XString err;
  EXPECT_TRUE(band.ReadFile("/a.jp2", err, nullptr)) << err.GetText();
  EXPECT_EQ(XString(("BOX_" + std::to_string(numTexts - 1)).c_str()), band.ListBoxes().back().name);
  return TimeOf([&] { band.ListBoxes(); });
}

TEST(Jp2Texts, OfThousandsOfGmlBoxesAreListedInOneWalk) {
  EXPECT_LT(TimeOfGml(5400), kMostForFourTimes * TimeOfGml(1350));
}

TEST(Jp2Texts, OfThousandsOfBoxesAreToldInOneWalk) {
  EXPECT_LT(TimeOfBoxes(16000), kMostForFourTimes * TimeOfBoxes(4000));
}

TEST(Jp2Texts, HaveTypesInAnyCaseOfTheirLetters) {
  LoadedRaster image(Jp2Builder().Levels(0).Box("XmL ", Jp2Builder::Text("<a/>")).Build(), kFormatJP2);
  const std::vector<tagXJp2Box> boxes = static_cast<ZRMBandJ2K&>(image.Band()).ListBoxes();
  const auto text = std::find_if(boxes.begin(), boxes.end(), [](const tagXJp2Box& box) { return box.name == "BOX_0"; });
  ASSERT_NE(boxes.end(), text);
  EXPECT_EQ(XString("<a/>"), text->text);
}

}  // namespace
