// What a caller asks for, made into a plan for the codec. Everything that can be refused is refused here, before a file
// is begun.
//
// Rates are given in bits of a pixel, all components together, as those who order images count them. A tile gets its
// share by its number of pixels.

#include "writers/Jp2Job.h"

#include "base/Failure.h"
#include "writers/BandList.h"
#include "XRSFile.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <optional>
#include <string_view>

namespace zrk {
namespace {

// What the standard and the codec allow.
constexpr int kMaxComponents = 4096, kMaxTiles = 65535, kMaxLayers = 100, kMaxLevels = 32;
/// The samples of one tile. The codec takes some twelve times as much memory for a tile of bytes.
constexpr double kMaxTileBytes = 256 << 20;

constexpr int kUsualSide = 1024, kLeastSide = 128, kUsualLevels = 5;
/// Tiles of so many bytes are made where the caller leaves their size to us.
constexpr double kUsualTileBytes = 48 << 20;
/// The size to which the writer's own levels bring an image down.
constexpr int kSmallSide = 512;

/// Samples of more than 16 bits are refused, whatever else is asked. Two bytes pass.
bool AreTypesRight(const std::vector<ZRMBand*>& bands, XString& err) {
  constexpr int kMaxSampleBytes = 2;
  for (const ZRMBand* band : bands) {
    if (band && band->GetDataSize() > kMaxSampleBytes) {
      return FailWith(err, "The size of datatype must be less than 2 bytes");
    }
  }
  const bool haveSamples = std::ranges::all_of(bands, [](const ZRMBand* band) { return !band || band->GetDataSize(); });
  if (!haveSamples) return FailWith(err, "A band has no type of samples");
  return bands.size() <= kMaxComponents || FailWith(err, "A JPEG 2000 file has room for 4096 bands");
}

/// A missing band is written as one like the first.
bool DescribeComponents(const std::vector<int>& precisions, Jp2Job& job, XString& err) {
  constexpr int kMaxBits = 16;
  for (int i = 0; i < static_cast<int>(job.bands.size()); ++i) {
    const ZRMBand* const there = job.bands[static_cast<std::size_t>(i)];
    const ZRMBand& band = there ? *there : *job.bands.front();
    const bool isSigned = band.GetDataType() == kSint08 || band.GetDataType() == kSint16;
    XString remark;
    const std::optional<ForcedPrecision> forced = FindForcedPrecision(precisions, i, remark);
    if (forced && forced->bits > kMaxBits) {
      err = remark + (remark.IsEmpty() ? "" : " ") + "The codec takes samples of 1 to 16 bits";
      return false;
    }
    job.plan.components.push_back({forced ? forced->bits : 8 * band.GetDataSize(), isSigned});
    job.changers.emplace_back();
    if (forced) job.changers.back().emplace(band.GetDataSize(), isSigned, *forced);
  }
  return true;
}

/// The size of the file is that of the window, also where the window reaches beyond the image.
bool TakeWindow(const Window& asked, const XRSFile& file, Jp2Job& job, XString& err) {
  const std::int64_t width = std::int64_t{asked.x1} - asked.x0 + 1, height = std::int64_t{asked.y1} - asked.y0 + 1;
  if (width <= 0 || height <= 0) return FailWith(err, "The window has no pixels");
  if (width > INT_MAX || height > INT_MAX) return FailWith(err, "The window is too large");
  job.window = asked;
  job.plan.width = static_cast<int>(width);
  job.plan.height = static_cast<int>(height);
  const ZRMBand& first = *job.bands.front();
  const Window inside = job.WindowInBand();
  if (inside.x0 > inside.x1 || inside.y0 > inside.y1) return FailWith(err, "The window has no pixel of the image");
  if (file.GetReadPolicy() != kReadExact) return true;
  if (!asked.IsInside(first.GetXSize(), first.GetYSize())) return FailWith(err, "The window is not inside the image");
  return job.AreBandsAlike() || FailWith(err, "The bands have different sizes");
}

/// A number above 0 that fills the whole text, whatever the locale is.
std::optional<double> ParseRate(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' '; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  double rate = 0.0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), rate);
  if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(rate) || rate <= 0.0) return {};
  return rate;
}

/// The rates of a list, with 0 for an empty last place; nothing where the text is no such list.
std::optional<std::vector<double>> ParseRates(std::string_view text) {
  std::vector<double> rates;
  for (bool isLast = false; !isLast;) {
    const std::size_t comma = text.find(',');
    isLast = comma == std::string_view::npos;
    const std::string_view word = text.substr(0, comma);
    const bool isEverything = isLast && word.find_first_not_of(' ') == std::string_view::npos;
    const std::optional<double> rate = isEverything ? 0.0 : ParseRate(word);
    if (!rate || (!isEverything && !rates.empty() && *rate <= rates.back())) return {};
    rates.push_back(*rate);
    if (!isLast) text.remove_prefix(comma + 1);
  }
  return rates;
}

/// Puts layers before the first one, each with half the bits of the next. Everything is counted as half of the samples'
/// bits for that, because that is about what lossless coding leaves of a picture.
void AddCoarseLayers(std::size_t numLayers, const J2kPlan& plan, std::vector<double>& rates) {
  double bits = rates.front();
  if (bits == 0.0) {
    for (const J2kDepth& component : plan.components) bits += component.precision / 2.0;
  }
  while (rates.size() < numLayers) {
    bits /= 2.0;
    rates.insert(rates.begin(), bits);
  }
}

bool PlanLayers(const Jp2Request& request, J2kPlan& plan, XString& err) {
  const int numLayers = request.numLayers;
  if (numLayers < 0 || numLayers > kMaxLayers) return FailWith(err, "The number of layers must be from 1 to 100");
  if (request.psnr != 0.0) {
    if (!(request.psnr > 0.0 && std::isfinite(request.psnr))) {
      return FailWith(err, "The ratio of signal to noise must be above 0 decibels");
    }
    const int count = std::max(numLayers, 1);
    for (int i = 1; i <= count; ++i) plan.decibels.push_back(request.psnr * i / count);
    return true;
  }
  std::optional<std::vector<double>> rates = ParseRates(request.rates.AsStdString());
  if (!rates) {
    return FailWith(err, "The rates must be numbers above 0 in ascending order, with commas between them");
  }
  const auto wanted = numLayers > 0 ? static_cast<std::size_t>(numLayers) : rates->size();
  if (rates->size() > wanted) return FailWith(err, "There are more rates than layers");
  if (wanted > kMaxLayers) return FailWith(err, "The number of layers must be from 1 to 100");
  AddCoarseLayers(wanted, plan, *rates);
  plan.rates = *std::move(rates);
  return true;
}

/// The size that is asked for tiles may be any, and the product then leaves 64 bits.
double CountTileBytes(const J2kPlan& plan) {
  return static_cast<double>(plan.PixelBytes()) * plan.TileWidth() * plan.TileHeight();
}

/// Many bands make tiles smaller, and very large images make them larger again, because tiles are counted in 16 bits.
bool PlanTiles(int asked, J2kPlan& plan, XString& err) {
  if (asked < 0) return FailWith(err, "The size of a tile must be above 0");
  plan.tileSide = asked > 0 ? asked : kUsualSide;
  while (asked == 0 && plan.tileSide > kLeastSide && CountTileBytes(plan) > kUsualTileBytes) plan.tileSide /= 2;
  while (asked == 0 && plan.CountTiles() > kMaxTiles) plan.tileSide *= 2;
  if (plan.CountTiles() > kMaxTiles) return FailWith(err, "An image may have 65535 tiles; these are too small");
  return CountTileBytes(plan) <= kMaxTileBytes || FailWith(err, "The tiles are too large");
}

/// No level leaves less than a pixel of a tile.
bool PlanLevels(int asked, J2kPlan& plan, XString& err) {
  if (asked < -1 || asked > kMaxLevels) return FailWith(err, "The number of levels must be from 0 to 32");
  const int imageSide = std::max(plan.width, plan.height), tileSide = std::min(plan.tileSide, imageSide);
  int wanted = asked;
  if (asked < 0) {
    wanted = kUsualLevels;
    while (imageSide >> wanted > kSmallSide) ++wanted;
  }
  plan.numLevels = 0;
  while (plan.numLevels < wanted && tileSide >> (plan.numLevels + 1) > 0) ++plan.numLevels;
  return true;
}

}  // namespace

bool Jp2Job::AreBandsAlike() const {
  const ZRMBand& first = *bands.front();
  return std::ranges::all_of(bands, [&first](const ZRMBand* band) {
    return !band || (band->GetXSize() == first.GetXSize() && band->GetYSize() == first.GetYSize());
  });
}

Window Jp2Job::WindowInBand() const {
  const ZRMBand& first = *bands.front();
  return {std::max(window.x0, 0), std::min(window.x1, first.GetXSize() - 1), std::max(window.y0, 0),
          std::min(window.y1, first.GetYSize() - 1)};
}

void Jp2Job::GetTransform(double (&transform)[6]) const {
  auto& t = transform;
  bands.front()->GetGeoTransform(t);
  t[0] += window.x0 * t[1] + window.y0 * t[2];
  t[3] += window.x0 * t[4] + window.y0 * t[5];
}

bool PlanJp2(const XRSFile& file, const Jp2Request& request, Jp2Job& job, XString& err) {
  job.bands = ListBands(file, file.GetNumOfBands());
  if (!AreTypesRight(job.bands, err)) return false;
  job.plan.isReversible = request.isReversible;
  return DescribeComponents(request.precisions, job, err) && TakeWindow(request.window, file, job, err) &&
         PlanLayers(request, job.plan, err) && PlanTiles(request.tileSide, job.plan, err) &&
         PlanLevels(request.numLevels, job.plan, err);
}

}  // namespace zrk
