// Lists of places of each kind, from texts of the test's own. Lists that a machine may have are read in place, and
// their counts come from a plain look at their lines.

#include "XPlaceSource.h"
#include "ByteFlips.h"
#include "MemoryDisk.h"
#include "TempFolder.h"
#include "XLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <fstream>

namespace {

using testing::ElementsAre;

class XPlaceSourceTest : public testing::Test {
 protected:
  bool Add(const std::string& text, XPlaceFormat format = kPlacesByContent) {
    folder_.Write("list", text);
    err_.Empty();
    return XfnAddPlaces(folder_.Path("list"), format, exporter_, count_, err_);
  }
  /// Why a list is refused.
  std::string Refuse(const std::string& text, XPlaceFormat format) {
    EXPECT_FALSE(Add(text, format)) << text;
    return err_.AsStdString();
  }
  std::string NameAt(int number) const { return exporter_.GetRecord(number).name; }
  /// All places as "name longitude latitude".
  std::vector<std::string> ListPlaces() const {
    std::vector<std::string> places;
    for (int i = 0; i < exporter_.GetCount(); ++i) {
      XString place;
      place.Format("%s %g %g", NameAt(i).c_str(), exporter_.GetRecord(i).first, exporter_.GetRecord(i).second);
      places.push_back(place.AsStdString());
    }
    return places;
  }

  TempFolder folder_;
  XPBPProviderExporter exporter_;
  tagXPlaceCount count_;
  XString err_;
};

std::string WeatherXml(const std::string& cities) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE gweather SYSTEM \"locations.dtd\">\n"
         "<gweather format=\"1.0\"><region><_name>Region</_name><country><_name>Land</_name>" +
         cities + "</country></region></gweather>";
}

constexpr const char* kTimeZones =
    "# a comment\n"
    "#codes\tcoordinates\tTZ\tcomments\n"
    "AD\t+4230+00131\tEurope/Andorra\n"
    "AR\t-3436-05827\tAmerica/Argentina/Buenos_Aires\tBuenos Aires (BA, CF)\n"
    "AQ\t-720041+0023206\tAntarctica/Troll\tTroll\n";

}  // namespace

TEST_F(XPlaceSourceTest, TakesDegreesMinutesAndSecondsOfTzdata) {
  ASSERT_TRUE(Add(kTimeZones)) << err_.AsStdString();
  EXPECT_EQ(3, count_.numAdded);
  EXPECT_EQ("Andorra", NameAt(0));
  EXPECT_DOUBLE_EQ(1.0 + 31.0 / 60.0, exporter_.GetRecord(0).first);
  EXPECT_DOUBLE_EQ(42.5, exporter_.GetRecord(0).second);
  EXPECT_EQ("Buenos Aires", NameAt(1));
  EXPECT_DOUBLE_EQ(-(58.0 + 27.0 / 60.0), exporter_.GetRecord(1).first);
  EXPECT_DOUBLE_EQ(-(34.0 + 36.0 / 60.0), exporter_.GetRecord(1).second);
  EXPECT_DOUBLE_EQ(2.0 + 32.0 / 60.0 + 6.0 / 3600.0, exporter_.GetRecord(2).first);
  EXPECT_DOUBLE_EQ(-(72.0 + 0.0 / 60.0 + 41.0 / 3600.0), exporter_.GetRecord(2).second);
}

TEST_F(XPlaceSourceTest, RefusesCoordinatesOfTzdataThatAreNone) {
  for (const char* each : {"4230+00131", "+4230", "+4230+0131", "+423+00131", "+4260+00131", "+4230+00131x",
                           "+9130+00131", "+4230+18131", "+42a0+00131", "+423015+0013160", ""}) {
    EXPECT_THAT(Refuse("AD\t" + std::string(each) + "\tEurope/Andorra\n", kPlacesTzdata),
                testing::StartsWith("Line 1: "))
        << each;
  }
}

TEST_F(XPlaceSourceTest, TakesMarkersOfXplanetWithQuotesBracesAndWords) {
  ASSERT_TRUE(
      Add("# comment\n\n"
          "33.943 -118.408 \"Los # Angeles\" align=below color=blue # USA\n"
          "-1.12479 251.774 radius=1.09261 {HST}\n"
          "  +45.5\t-73.6\tMontreal\n"
          "-16.2, 21.3\t\"TERRA\"\n"));
  EXPECT_THAT(ListPlaces(), ElementsAre("Los # Angeles -118.408 33.943", "HST -108.226 -1.12479", "Montreal -73.6 45.5",
                                        "TERRA 21.3 -16.2"));
}

TEST_F(XPlaceSourceTest, LeavesOutMarkersThatHaveNoPlaceOrNoText) {
  ASSERT_TRUE(
      Add("20 10 \"This is text\" image=none position=pixel\n"
          "position=sun image=smile.png transparent={255,255,255}\n"
          "1 2 color=Red\n"
          "3 4 \"Here\"\n"));
  EXPECT_THAT(ListPlaces(), ElementsAre("Here 4 3"));
  EXPECT_EQ(3, count_.numUnplaced);
}

TEST_F(XPlaceSourceTest, RefusesMarkersThatMakeNoSense) {
  EXPECT_EQ("Line 2: the text does not end", Refuse("1 2 \"a\"\n1 2 \"b\n", kPlacesXplanet));
  EXPECT_EQ("Line 1: the line does not begin with a latitude and a longitude", Refuse("1 nan \"a\"\n", kPlacesXplanet));
}

TEST_F(XPlaceSourceTest, TakesFieldsBetweenCommas) {
  ASSERT_TRUE(
      Add("\xEF\xBB\xBF"
          "13.4,52.5,Berlin\r\n 2.35 , 48.9 , \"Paris, \"\"Lutetia\"\"\" \r\n1e1,-2.5E0,x",
          kPlacesCsv));
  EXPECT_THAT(ListPlaces(), ElementsAre("Berlin 13.4 52.5", "Paris, \"Lutetia\" 2.35 48.9", "x 10 -2.5"));
}

TEST_F(XPlaceSourceTest, FindsFieldsByTheirNames) {
  ASSERT_TRUE(Add("id,Name,LAT,Lon\n7,Berlin,52.5,13.4\n8,,1,2\n"));
  EXPECT_THAT(ListPlaces(), ElementsAre("Berlin 13.4 52.5"));
  EXPECT_EQ(1, count_.numUnplaced);
}

TEST_F(XPlaceSourceTest, RefusesFieldsThatMakeNoSense) {
  EXPECT_EQ("Line 1: no field is called longitude", Refuse("a,b,c\n", kPlacesCsv));
  EXPECT_EQ("Line 2: longitude and latitude are no numbers", Refuse("1,2,a\n1;2;a\n", kPlacesCsv));
  EXPECT_EQ("Line 1: a field in quotes does not end", Refuse("1,2,\"a\n", kPlacesCsv));
  EXPECT_EQ("Line 1: text stands behind a quoted field", Refuse("1,2,\"a\"b\n", kPlacesCsv));
  for (const char* number : {"0x10", "1e999", "inf", "nan", "1.5.2", "--1", "+-1", "1 2"}) {
    EXPECT_FALSE(Add("1,2,a\n" + std::string(number) + ",2,b\n", kPlacesCsv)) << number;
  }
}

TEST_F(XPlaceSourceTest, LeavesOutPlacesBesideTheEarth) {
  ASSERT_TRUE(Add("1,90.5,a\n-180.5,1,b\n360.5,1,c\n360,90,d\n-180,-90,e\n", kPlacesCsv));
  ASSERT_TRUE(Add("91 2 \"f\"\n", kPlacesXplanet));
  ASSERT_TRUE(Add(WeatherXml("<city><_name>A</_name><coordinates>-23.7 -565.46</coordinates></city>")));
  EXPECT_EQ(1, count_.numUnplaced);
  EXPECT_THAT(ListPlaces(), ElementsAre("d 0 90", "e -180 -90"));
}

TEST_F(XPlaceSourceTest, LeavesOutNamesOfMoreThan64Bytes) {
  ASSERT_TRUE(Add("1,2," + std::string(64, 'a') + "\n1,2," + std::string(65, 'b') + "\n"));
  EXPECT_EQ(1, count_.numAdded);
  EXPECT_EQ(1, count_.numTooLong);
}

TEST_F(XPlaceSourceTest, TakesTheCitiesOfLibgweather) {
  ASSERT_TRUE(
      Add(WeatherXml("<city><_name msgctxt=\"x\">Z&#xFC;rich &amp; See</_name><coordinates>47.37 8.55</coordinates>"
                     "<location><name>Airport</name><code>LSZH</code><coordinates>1 2</coordinates></location></city>"
                     "<location><name>Elsewhere</name><coordinates>3 4</coordinates></location>"
                     "<city><name xml:lang=\"de\">Anders</name><name>Kigali</name>"
                     "<coordinates>\n -1.94995 30.05885 </coordinates></city>"
                     "<city><_name>Nowhere</_name></city>")))
      << err_.AsStdString();
  EXPECT_THAT(ListPlaces(), ElementsAre("Z\xC3\xBCrich & See 8.55 47.37", "Kigali 30.0588 -1.94995"));
  EXPECT_EQ(1, count_.numUnplaced);
}

TEST_F(XPlaceSourceTest, RefusesXmlThatCouldUnfoldOrNestsTooDeeply) {
  const std::string body = "<gweather><city><_name>&a;</_name><coordinates>1 2</coordinates></city></gweather>";
  const std::string refusal = "The text is refused: document type declarations are not allowed";
  EXPECT_EQ(refusal, Refuse("<!DOCTYPE gweather [<!ENTITY a \"b\">]>" + body, kPlacesGWeather));
  EXPECT_EQ(refusal, Refuse("<!DOCTYPE gweather SYSTEM \"/etc/passwd\">" + body, kPlacesGWeather));
  EXPECT_EQ(refusal,
            Refuse("<!DOCTYPE gweather SYSTEM \"locations.dtd\"><!DOCTYPE gweather SYSTEM \"locations.dtd\">" + body,
                   kPlacesGWeather));
  std::string deep;
  for (int i = 0; i < 100; ++i) deep += "<a>";
  EXPECT_EQ("The text is refused: elements are nested too deeply", Refuse(WeatherXml(deep), kPlacesGWeather));
}

TEST_F(XPlaceSourceTest, RefusesXmlOfAnotherKindOrWithOddCoordinates) {
  EXPECT_EQ("The file is no list of libgweather", Refuse("<kml/>", kPlacesGWeather));
  EXPECT_EQ("The file is no list of libgweather", Refuse("<gweather><city></gweather>", kPlacesGWeather));
  const std::string odd = "The coordinates of a city are no latitude and longitude";
  EXPECT_EQ(odd, Refuse(WeatherXml("<city><_name>A</_name><coordinates>1,2</coordinates></city>"), kPlacesGWeather));
  EXPECT_EQ(odd, Refuse(WeatherXml("<city><_name>A</_name><coordinates>1 2 3</coordinates></city>"), kPlacesGWeather));
}

TEST_F(XPlaceSourceTest, RefusesXmlBeyondTheLimits) {
  const tagXLimits usual = XfnGetLimits();
  tagXLimits low = usual;
  low.xmlBytes = 100;
  XfnSetLimits(low);
  EXPECT_EQ("The text is too long", Refuse(WeatherXml(""), kPlacesGWeather));
  low.xmlBytes = usual.xmlBytes;
  low.xmlElements = 5;
  XfnSetLimits(low);
  EXPECT_EQ("The text has too many elements", Refuse(WeatherXml("<a/><a/><a/>"), kPlacesGWeather));
  XfnSetLimits(usual);
}

TEST_F(XPlaceSourceTest, RefusesLinesThatAreTooLongOrNoText) {
  EXPECT_EQ("Line 2: the line is too long", Refuse("1,2,a\n1,2," + std::string(70000, 'x'), kPlacesCsv));
  EXPECT_EQ("Line 1: the line is no text", Refuse(std::string("1,2,a\0b\n", 8), kPlacesCsv));
  EXPECT_EQ("The file has no places", Refuse("# only comments\n\n", kPlacesByContent));
  EXPECT_FALSE(XfnAddPlaces(folder_.Path("none"), kPlacesCsv, exporter_, count_, err_));
  EXPECT_FALSE(Add("1,2,a\n", static_cast<XPlaceFormat>(9)));
}

TEST_F(XPlaceSourceTest, ReadsLinesAcrossTheBlocksOfItsReading) {
  std::string text;
  for (int i = 0; i < 30000; ++i) text += std::to_string(i % 180) + ",1.25,place " + std::to_string(i) + "\n";
  ASSERT_TRUE(Add(text, kPlacesCsv)) << err_.AsStdString();
  ASSERT_EQ(30000, exporter_.GetCount());
  for (int i = 0; i < 30000; i += 997) {
    EXPECT_EQ("place " + std::to_string(i), NameAt(i));
    EXPECT_EQ(i % 180, exporter_.GetRecord(i).first);
  }
}

TEST_F(XPlaceSourceTest, ReadsNumbersWhateverTheLocale) {
  const char* const comma = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
  const bool isAdded = Add("13.5,52.5,Berlin\n");
  std::setlocale(LC_NUMERIC, "C");
  ASSERT_TRUE(isAdded);
  EXPECT_EQ(13.5, exporter_.GetRecord(0).first);
  if (!comma) GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed, so only the usual one was tried";
}

TEST_F(XPlaceSourceTest, SurvivesAnyDamage) {
  const std::string weather = WeatherXml("<city><_name>A</_name><coordinates>1 2</coordinates></city>");
  const std::string markers = "33.9 -118.4 \"Los Angeles\" color=blue # USA\n1 2 {B}\n";
  for (const std::string& text :
       {std::string(kTimeZones), markers, weather, std::string("lon,lat,name\n1,2,\"a\"\n")}) {
    FlipBytes({text.begin(), text.end()}, TrialCount(400), {0, 20}, [&](const std::vector<unsigned char>& bytes) {
      MemoryDisk disk;
      disk.Add("/list", bytes);
      const zrk::ScopedDisk scope(disk);
      for (int format = kPlacesByContent; format <= kPlacesCsv; ++format) {
        XfnAddPlaces("/list", static_cast<XPlaceFormat>(format), exporter_, count_, err_);
      }
    });
  }
}

TEST_F(XPlaceSourceTest, TakesAllZonesOfTheTableOfThisMachine) {
  const std::string path = "/usr/share/zoneinfo/zone1970.tab";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "tzdata is not installed";
  std::ifstream stream(path);
  int numZones = 0;
  for (std::string line; std::getline(stream, line);) numZones += !line.empty() && line[0] != '#';
  ASSERT_TRUE(XfnAddPlaces(path, kPlacesByContent, exporter_, count_, err_)) << err_.AsStdString();
  EXPECT_EQ(numZones, count_.numAdded);
}

TEST_F(XPlaceSourceTest, TakesAllCitiesAndMarkersOfThisMachine) {
  const std::string cities = "/usr/share/libgweather-4/Locations.xml", markers = "/etc/xplanet/markers/earth";
  if (!std::filesystem::exists(cities)) GTEST_SKIP() << "libgweather-4-common is not installed";
  std::ifstream stream(cities);
  int numCities = 0;
  for (std::string line; std::getline(stream, line);) numCities += line.find("<city>") != std::string::npos;
  ASSERT_TRUE(XfnAddPlaces(cities, kPlacesByContent, exporter_, count_, err_)) << err_.AsStdString();
  EXPECT_EQ(numCities, count_.numAdded + count_.numUnplaced);
  EXPECT_GT(count_.numAdded, count_.numUnplaced);
  if (!std::filesystem::exists(markers)) return;
  ASSERT_TRUE(XfnAddPlaces(markers, kPlacesByContent, exporter_, count_, err_)) << err_.AsStdString();
  EXPECT_GT(count_.numAdded, 100);
}
