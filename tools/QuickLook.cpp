#include "QuickLook.h"

#include "Strips.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// What samples become 0 and 255.
struct Range {
  double low = 0.0;
  double high = 255.0;

  unsigned char Apply(double sample) const {
    const double scaled = high > low ? (sample - low) * 255.0 / (high - low) : 0.0;
    return static_cast<unsigned char>(std::clamp(scaled + 0.5, 0.0, 255.0));
  }
};

bool FindRange(ZRMBand& band, Range& range, std::string& err) {
  if (band.GetDataType() == kPint08) return true;
  if (band.GetBandMean() == kNotSet && !band.CalcStatistics(0)) {
    err = "there are no statistics to stretch the picture by";
    return false;
  }
  range.low = std::max(band.GetBandMin(), band.GetBandMean() - 2.0 * band.GetBandStdDev());
  range.high = std::min(band.GetBandMax(), band.GetBandMean() + 2.0 * band.GetBandStdDev());
  return true;
}

template <class Sample>
void Widen(const unsigned char* row, int count, double* widened) {
  for (int x = 0; x < count; ++x) {
    Sample sample;
    std::memcpy(&sample, row + static_cast<std::size_t>(x) * sizeof sample, sizeof sample);
    widened[x] = static_cast<double>(sample);
  }
}

using WidenRow = void (*)(const unsigned char*, int, double*);

WidenRow WidenerOf(int dataType) {
  constexpr WidenRow kWideners[] = {nullptr,
                                    &Widen<std::uint8_t>,
                                    &Widen<std::int8_t>,
                                    &Widen<std::uint16_t>,
                                    &Widen<std::int16_t>,
                                    &Widen<std::uint32_t>,
                                    &Widen<std::int32_t>,
                                    &Widen<float>,
                                    &Widen<double>};
  return dataType >= kPint08 && dataType <= kReal64 ? kWideners[dataType] : nullptr;
}

/// Collects the samples of a band into the pixels of the picture that they fall into.
class AreaMeans {
 public:
  AreaMeans(int width, int height)
      : width_(width),
        height_(height),
        sums_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        counts_(sums_.size()) {}

  void Add(const ZRMBand& band, const StripReader::Strip& strip, WidenRow widen) {
    const tagXArr2& samples = *strip.samples;
    SpreadColumns(samples.xSize);
    row_.resize(static_cast<std::size_t>(samples.xSize));
    for (int j = 0; j < samples.ySize; ++j) {
      const double fullRow = strip.firstRow + (j + 0.5) * strip.numRows / samples.ySize;
      const auto y = static_cast<std::size_t>(std::min(fullRow * height_ / band.GetYSize(), height_ - 1.0));
      widen(samples.Row(j), samples.xSize, row_.data());
      AddRow(y * static_cast<std::size_t>(width_), band.GetNullValue());
    }
  }

  /// The picture's pixel, null where nothing fell into it.
  const double* MeanAt(std::size_t pixel) {
    if (counts_[pixel] == 0) return nullptr;
    mean_ = sums_[pixel] / counts_[pixel];
    return &mean_;
  }

 private:
  void SpreadColumns(int numSamples) {
    if (static_cast<int>(columns_.size()) == numSamples) return;
    columns_.resize(static_cast<std::size_t>(numSamples));
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      columns_[i] = static_cast<std::size_t>((static_cast<double>(i) + 0.5) * width_ / numSamples);
    }
  }

  void AddRow(std::size_t begin, double nullValue) {
    for (std::size_t i = 0; i < row_.size(); ++i) {
      if (row_[i] == nullValue || !std::isfinite(row_[i])) continue;
      sums_[begin + columns_[i]] += row_[i];
      ++counts_[begin + columns_[i]];
    }
  }

  int width_;
  int height_;
  std::vector<double> sums_;
  std::vector<int> counts_;
  std::vector<std::size_t> columns_;
  std::vector<double> row_;
  double mean_ = 0.0;
};

/// A band on its way into a channel of the picture.
struct Channel {
  Channel(ZRMBand& source, const PngImage& image)
      : band(source),
        widen(WidenerOf(source.GetDataType())),
        means(image.width, image.height),
        strips(source, FindLevel(source, image), {0, source.GetXSize() - 1, 0, source.GetYSize() - 1}) {}

  static int FindLevel(ZRMBand& source, const PngImage& image) {
    return source.GetHighestLevelForTarget(0, source.GetXSize() - 1, 0, source.GetYSize() - 1, image.width,
                                           image.height);
  }

  ZRMBand& band;
  WidenRow widen;
  Range range;
  AreaMeans means;
  StripReader strips;
};

bool ReadStrip(Channel& channel, XThread* thread, std::string& err) {
  StripReader::Strip strip;
  if (!channel.strips.ReadNext(strip, thread, err)) return false;
  channel.means.Add(channel.band, strip, channel.widen);
  return true;
}

/// Strip by strip over all channels, so that bands of one file share one decode of each.
bool ReadStrips(std::vector<Channel>& channels, XThread* thread, std::string& err) {
  while (channels.front().strips.HasMore()) {
    for (Channel& channel : channels) {
      if (channel.strips.HasMore() && !ReadStrip(channel, thread, err)) return false;
    }
    if (thread) thread->CallbackPercent(100.0 * channels.front().strips.GetShareDone());
  }
  return std::all_of(channels.begin() + 1, channels.end(), [&](Channel& channel) {
    while (channel.strips.HasMore()) {
      if (!ReadStrip(channel, thread, err)) return false;
    }
    return true;
  });
}

bool IsShowable(Channel& channel, std::string& err) {
  if (channel.widen) return FindRange(channel.band, channel.range, err);
  err = "samples of this data type can't be shown";
  return false;
}

void Paint(Channel& channel, std::size_t c, PngImage& image) {
  const auto numChannels = static_cast<std::size_t>(image.channels);
  for (std::size_t pixel = 0; pixel * numChannels < image.samples.size(); ++pixel) {
    const double* mean = channel.means.MeanAt(pixel);
    image.samples[pixel * numChannels + c] = mean ? channel.range.Apply(*mean) : 0;
  }
}

}  // namespace

bool MakeQuickLook(const std::vector<ZRMBand*>& bands, int maxSize, XThread* thread, PngImage& image,
                   std::string& err) {
  const int width = bands.front()->GetXSize(), height = bands.front()->GetYSize();
  for (const ZRMBand* band : bands) {
    if (band->GetXSize() == width && band->GetYSize() == height && width > 0 && height > 0) continue;
    err = width > 0 && height > 0 ? "the bands are not of one size" : "the image has no pixels";
    return false;
  }
  const double scale = std::min(1.0, static_cast<double>(maxSize) / std::max(width, height));
  image.width = std::max(1, static_cast<int>(std::lround(width * scale)));
  image.height = std::max(1, static_cast<int>(std::lround(height * scale)));
  image.channels = static_cast<int>(bands.size());
  image.bits = 8;
  image.samples.assign(image.RowBytes() * static_cast<std::size_t>(image.height), 0);
  std::vector<Channel> channels;
  channels.reserve(bands.size());
  for (ZRMBand* band : bands) {
    channels.emplace_back(*band, image);
    if (!IsShowable(channels.back(), err)) return false;
  }
  if (!ReadStrips(channels, thread, err)) return false;
  for (std::size_t c = 0; c < channels.size(); ++c) Paint(channels[c], c, image);
  return true;
}
