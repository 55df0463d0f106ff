#include "PrintInfo.h"

#include "Corners.h"
#include "Text.h"
#include "XPath.h"

#include <cstdio>

namespace {

std::string Plural(int count, const char* noun) {
  return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

void PrintExtent(const Json& extent, const char* indent) {
  std::printf("%sextent      %.10g to %.10g, %.10g to %.10g\n", indent, GetNumber(extent["west"]),
              GetNumber(extent["east"]), GetNumber(extent["south"]), GetNumber(extent["north"]));
}

void PrintPlace(const Json& place) {
  if (place.is_null()) {
    PrintCorners(nullptr, nullptr);
    return;
  }
  PrintCorners(place["corners"], place["lonLat"]);
  std::printf("  pixel size  %.10g x %.10g\n", GetNumber(place["pixelSize"][0]), GetNumber(place["pixelSize"][1]));
  PrintExtent(place, "  ");
  PrintSystem(place["system"], "  ");
}

void PrintLevelFile(const Json& levelFile) {
  if (levelFile.is_null()) return;
  const bool isFull = levelFile["kind"] == "full";
  const std::string name = XfnGetFileName(levelFile["file"].get<std::string>()).AsStdString();
  std::printf("  %-12sin %s\n", isFull ? "levels" : "statistics", Printable(name).c_str());
}

/// As "tiles of 256 x 256", or "strips of 16 rows".
std::string FormatBlockSize(const Json& blocks) {
  const int width = blocks["width"].get<int>(), height = blocks["height"].get<int>();
  if (blocks["kind"] == "strip") return "strips of " + Plural(height, "row");
  return "tiles of " + std::to_string(width) + " x " + std::to_string(height);
}

std::string FormatCompression(const Json& compression) {
  const int number = compression["number"].get<int>();
  if (number == 1) return "not compressed";
  return compression["name"].is_null() ? "compression " + std::to_string(number) : GetText(compression["name"]);
}

void PrintBlocks(const Json& blocks, int dataBits) {
  std::string text = FormatBlockSize(blocks);
  if (blocks["samplesPerPixel"] != 1) text += blocks["planar"] == "plane" ? ", plane by plane" : ", pixel by pixel";
  text += ", " + FormatCompression(blocks["compression"]);
  const int bits = blocks["bitsPerSample"].get<int>();
  if (bits != dataBits) text += ", " + Plural(bits, "bit") + " a sample";
  std::printf("  blocks      %s\n", text.c_str());
}

std::string FormatKinds(const Json& kinds) {
  std::string text;
  for (const Json& kind : kinds) text += (kind == "reduced" ? ", reduced image" : ", " + GetText(kind));
  return text;
}

void PrintDirectory(const Json& directory, std::size_t number) {
  const Json& blocks = directory["blocks"];
  std::printf("  directory %zu\n    %d x %d pixels, %s of %s%s\n    %s, %s\n", number, directory["width"].get<int>(),
              directory["height"].get<int>(), Plural(directory["samplesPerPixel"].get<int>(), "sample").c_str(),
              Plural(directory["bitsPerSample"].get<int>(), "bit").c_str(), FormatKinds(directory["kinds"]).c_str(),
              FormatBlockSize(blocks).c_str(), FormatCompression(blocks["compression"]).c_str());
}

void PrintDirectories(const Json& directories) {
  // The image itself is the first.
  for (std::size_t i = 0; i < directories.size(); ++i) PrintDirectory(directories[i], i + 2);
}

void PrintChannel(const Json& channel) {
  std::printf("  %s\n", GetText(channel["name"]).c_str());
  std::printf("    data type %s, %s", GetText(channel["dataType"]).c_str(),
              Plural(channel["levels"].get<int>(), "level").c_str());
  if (channel.contains("compressed"))
    std::printf(channel["compressed"].get<bool>() ? ", compressed" : ", not compressed");
  std::printf("\n");
  const Json& statistics = channel["statistics"];
  if (statistics.is_null()) return;
  std::printf("    minimum %.6g, maximum %.6g, mean %.6g, deviation %.6g\n", GetNumber(statistics["min"]),
              GetNumber(statistics["max"]), GetNumber(statistics["mean"]), GetNumber(statistics["stdDev"]));
}

void PrintRaster(const Json& json) {
  const Json& channels = json["channels"];
  std::printf("  size        %d x %d pixels, %s\n", json["width"].get<int>(), json["height"].get<int>(),
              Plural(static_cast<int>(channels.size()), "channel").c_str());
  PrintPlace(json["georeference"]);
  if (json.contains("blocks")) PrintBlocks(json["blocks"], channels[0]["bits"].get<int>());
  PrintLevelFile(json["levelFile"]);
  for (const Json& channel : channels) PrintChannel(channel);
  if (json.contains("directories")) PrintDirectories(json["directories"]);
  if (json.contains("message") && !json["message"].is_null())
    std::printf("  message     %s\n", GetText(json["message"]).c_str());
}

void PrintLayer(const Json& layer) {
  std::printf("  layer %s\n    features    %lld\n", GetText(layer["name"]).c_str(),
              static_cast<long long>(layer["features"].get<std::int64_t>()));
  if (!layer["extent"].is_null()) PrintExtent(layer["extent"], "    ");
  PrintSystem(layer["system"], "    ");
}

}  // namespace

void PrintInfo(const Json& json) {
  std::printf("%s\n  format      %s (0x%X)\n", GetText(json["file"]).c_str(), GetText(json["format"]).c_str(),
              json["id"].get<unsigned>());
  if (json.contains("channels")) PrintRaster(json);
  if (!json.contains("layers")) return;
  for (const Json& layer : json["layers"]) PrintLayer(layer);
}
