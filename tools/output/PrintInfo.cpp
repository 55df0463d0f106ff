// What zrkio info prints for people. All of it is taken from the JSON that machines get, and from the lines that the
// format brings. Texts out of files are made printable, because a file could otherwise send commands to the terminal.

#include "output/PrintInfo.h"

#include "Corners.h"
#include "output/Text.h"
#include "XPath.h"

#include <cstdio>

namespace {

/// As "1 level" and "2 levels".
std::string Plural(int count, const char* noun) {
  return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

void PrintExtent(const Json& extent, const char* indent) {
  std::printf("%sextent      %.10g to %.10g, %.10g to %.10g\n", indent, GetNumber(extent["west"]),
              GetNumber(extent["east"]), GetNumber(extent["south"]), GetNumber(extent["north"]));
}

/// Corners and sizes of an image that is not turned say as much.
void PrintTransform(const Json& place) {
  const Json& t = place["transform"];
  if (GetNumber(t[2]) == 0.0 && GetNumber(t[4]) == 0.0) return;
  std::printf("  turned      x = %.17g %+.17g column %+.17g row\n", GetNumber(t[0]), GetNumber(t[1]), GetNumber(t[2]));
  std::printf("              y = %.17g %+.17g column %+.17g row\n", GetNumber(t[3]), GetNumber(t[4]), GetNumber(t[5]));
}

void PrintPlace(const Json& place) {
  if (place.is_null()) {
    PrintCorners(nullptr, nullptr);
    return;
  }
  PrintCorners(place["corners"], place["lonLat"]);
  std::printf("  pixel size  %.10g x %.10g\n", GetNumber(place["pixelSize"][0]), GetNumber(place["pixelSize"][1]));
  PrintTransform(place);
  PrintExtent(place, "  ");
  PrintSystem(place["system"], "  ");
}

/// A level file lies beside its image, so its name is enough.
void PrintLevelFile(const Json& levelFile) {
  if (levelFile.is_null()) return;
  const bool isFull = levelFile["kind"] == "full";
  const std::string name = XfnGetFileName(levelFile["file"].get<std::string>()).AsStdString();
  std::printf("  %-12sin %s\n", isFull ? "levels" : "statistics", Printable(name).c_str());
}

void PrintLines(const std::vector<XString>& lines) {
  for (const XString& line : lines) std::printf("  %s\n", Printable(line.AsStdString()).c_str());
}

std::string NameSource(const Json& statistics) {
  if (statistics["source"] == "stored") return "as stored";
  const int level = statistics["level"].get<int>();
  return level == 0 ? "of all pixels" : "of level " + std::to_string(level);
}

/// The remarks of the format stand on the line of the data type.
void PrintChannel(const Json& channel, const tagXFormatNotes& notes) {
  std::printf("  %s\n", GetText(channel["name"]).c_str());
  std::printf("    data type %s, %s", GetText(channel["dataType"]).c_str(),
              Plural(channel["levels"].get<int>(), "level").c_str());
  for (const XString& remark : notes.lines) std::printf(", %s", Printable(remark.AsStdString()).c_str());
  std::printf("\n");
  const Json& statistics = channel["statistics"];
  if (statistics.is_null()) return;
  std::printf("    minimum %.6g, maximum %.6g, mean %.6g, deviation %.6g, %s\n", GetNumber(statistics["min"]),
              GetNumber(statistics["max"]), GetNumber(statistics["mean"]), GetNumber(statistics["stdDev"]),
              NameSource(statistics).c_str());
}

void PrintRaster(const DatasetInfo& info) {
  const Json& json = info.json;
  const Json& channels = json["channels"];
  std::printf("  size        %d x %d pixels, %s\n", json["width"].get<int>(), json["height"].get<int>(),
              Plural(static_cast<int>(channels.size()), "channel").c_str());
  PrintPlace(json["georeference"]);
  // A system without a place stands for itself.
  if (json["georeference"].is_null() && !json["system"].is_null()) PrintSystem(json["system"], "  ");
  PrintLines(info.notes.lines);
  PrintLevelFile(json["levelFile"]);
  for (std::size_t i = 0; i < channels.size(); ++i) PrintChannel(channels[i], info.bandNotes[i]);
  PrintLines(info.notes.furtherLines);
}

void PrintLayer(const Json& layer) {
  std::printf("  layer %s\n    features    %lld\n", GetText(layer["name"]).c_str(),
              static_cast<long long>(layer["features"].get<std::int64_t>()));
  if (!layer["extent"].is_null()) PrintExtent(layer["extent"], "    ");
  PrintSystem(layer["system"], "    ");
}

}  // namespace

void PrintInfo(const DatasetInfo& info) {
  const Json& json = info.json;
  std::printf("%s\n  format      %s (0x%X)\n", GetText(json["file"]).c_str(), GetText(json["format"]).c_str(),
              json["id"].get<unsigned>());
  if (json.contains("channels")) PrintRaster(info);
  if (!json.contains("layers")) return;
  for (const Json& layer : json["layers"]) PrintLayer(layer);
}
