#pragma once

#include "AnyJson.h"
#include "SensorTruth.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

/// The scene that a document tells, by its rows in their order.
inline FlownScene ReadScene(const std::string& path, const AnyJson& flight) {
  std::ifstream stream(path);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  const auto numberBehind = [&](const std::string& mark, std::size_t from = 0) {
    return std::stod(text.substr(text.find(mark, from) + mark.size()));
  };
  FlownScene scene;
  scene.origin = {numberBehind("x=\""), numberBehind("y=\""), numberBehind("z=\"")};
  std::vector<std::string> rows;
  for (std::size_t at = text.find("<Row>"); at != std::string::npos; at = text.find("<Row>", at + 1)) {
    rows.push_back(text.substr(at + 5, text.find('<', at + 5) - at - 5));
  }
  std::istringstream rotation(rows[0] + " " + rows[1] + " " + rows[2]);
  for (double& each : scene.rotation) rotation >> each;
  const std::size_t count = (rows.size() - 3) / 6;
  for (std::size_t i = 3; i < rows.size(); ++i) scene.grids[(i - 3) / count].push_back(std::stod(rows[i]));
  scene.lines = flight["height"], scene.samples = flight["width"];
  scene.spectrum = text.find(">IR<") == std::string::npos ? "VIS" : "IR";
  scene.focalLength = numberBehind("<Value>", text.find("FocalLengthInMm"));
  scene.cellSize = numberBehind("<DetectorCellSizeInMm>");
  return scene;
}
