// The options of convert for formats that keep an image in quality layers.

#include "commands/LayerOptions.h"

#include "CommandLine.h"
#include "WritableFormats.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <locale>
#include <sstream>

namespace {

constexpr int kMaxLayers = 100;
constexpr int kLeastTile = 32, kMaxLayerTile = 16384;

/// The rates as the library takes them. Digits are enough for each number to come out as it was given.
XString PrintRates(const std::vector<double>& rates) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(15);
  for (std::size_t i = 0; i < rates.size(); ++i) text << (i > 0 ? "," : "") << rates[i];
  return text.str();
}

void RefuseUnlessTaken(const char* name, bool isGiven, const tagXFormatWriter& writer) {
  if (!isGiven || writer.takesLayers) return;
  throw UsageError(name,
                   "belongs to " + ListWritableFormats(&tagXFormatWriter::takesLayers) + ", not to " + writer.plural);
}

bool IsAbove0(double value) {
  return std::isfinite(value) && value > 0.0;
}

}  // namespace

void AddLayerOptions(Command& command, LayerRequest& request) {
  const std::string title = TitleWritableFormats(&tagXFormatWriter::takesLayers) + ": ";
  const Option lossless =
      command.AddFlag("--lossless", request.isLossless,
                      title + "keep samples as they are;\nso it is unless one of the next two is given");
  const Option rates = command
                           .AddOption("--rates", "R", request.rates,
                                      title +
                                          "the bits of a pixel, all bands\n"
                                          "together, up to each quality layer, as 0.5,1,2")
                           .TakeOneWord()
                           .Exclude(lossless);
  command
      .AddOption("--psnr", "DB", request.psnr,
                 title + "the quality of each tile as the\nratio of the peak signal to the noise in decibels")
      .Exclude(lossless)
      .Exclude(rates);
  command
      .AddOption("--layers", "N", request.numLayers,
                 title + "quality layers; 1, or as many as\nthere are rates, unless given")
      .SetRange(1, kMaxLayers);
  command.AddOption("--tile", "N", request.tileSide, title + "the side of a tile in pixels;\n1024 unless given")
      .SetRange(kLeastTile, kMaxLayerTile);
  const Option noPlace =
      command.AddFlag("--no-georef", request.isWithoutPlace, title + "leave out where the image lies");
  command.AddFlag("--gml", request.hasGml, title + "say where the image lies in GML too").Exclude(noPlace);
}

void CheckLayerOptions(const LayerRequest& request, const tagXFormatWriter& writer) {
  RefuseUnlessTaken("--lossless", request.isLossless, writer);
  RefuseUnlessTaken("--rates", !request.rates.empty(), writer);
  RefuseUnlessTaken("--psnr", request.psnr.has_value(), writer);
  RefuseUnlessTaken("--layers", request.numLayers.has_value(), writer);
  RefuseUnlessTaken("--tile", request.tileSide.has_value(), writer);
  RefuseUnlessTaken("--no-georef", request.isWithoutPlace, writer);
  RefuseUnlessTaken("--gml", request.hasGml, writer);
  const std::vector<double>& rates = request.rates;
  if (!std::ranges::all_of(rates, &IsAbove0) ||
      std::ranges::adjacent_find(rates, std::greater_equal<>()) != rates.end()) {
    throw UsageError("--rates", "takes numbers above 0 in ascending order");
  }
  if (request.psnr && !IsAbove0(*request.psnr)) throw UsageError("--psnr", "takes a number above 0");
  if (request.numLayers && static_cast<std::size_t>(*request.numLayers) < rates.size()) {
    throw UsageError("--layers", "must not be less than the number of rates");
  }
}

tagXLayerOptions MakeLayerOptions(const LayerRequest& request, std::optional<int> numLevels) {
  return {.isLossless = request.rates.empty() && !request.psnr,
          .rates = PrintRates(request.rates),
          .psnr = request.psnr.value_or(0.0),
          .numLayers = request.numLayers.value_or(0),
          .numLevels = numLevels.value_or(-1),
          .tileSide = request.tileSide.value_or(0),
          .hasGeoreference = !request.isWithoutPlace,
          .hasGml = request.hasGml};
}
