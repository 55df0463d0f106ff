// A picture of an image at a given size. Rows are read from the coarsest level that still has enough pixels, and
// averaged down to the pixels of the picture. Then they are stretched to 8 bits, or shaded where they are heights.
//
// Channels are read strip by strip in turn. Rows of the picture are written as soon as all channels have them, so that
// memory does not grow with the image.

#include "picture/QuickLook.h"

#include "Dataset.h"
#include "LevelFile.h"
#include "picture/AreaMeans.h"
#include "picture/ClassColours.h"
#include "picture/Hillshade.h"
#include "Statistics.h"
#include "Strips.h"
#include "XReadPolicy.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

/// The share of decoding where an image is decoded as a whole.
constexpr int kDecodePercent = 70;

/// The samples that become 0 and 255.
struct Range {
  double low = 0.0;
  double high = 255.0;

  /// A picture of one value is black, and so is a pixel without a sample.
  unsigned char Apply(double sample) const {
    if (!(high > low) || std::isnan(sample)) return 0;
    return static_cast<unsigned char>(std::clamp((sample - low) * 255.0 / (high - low) + 0.5, 0.0, 255.0));
  }
};

/// Bytes are shown as they are. Other samples are stretched over two deviations either side of the mean, as far as
/// there are samples.
bool FindRange(ZRMBand& band, Range& range, XThread& thread, std::string& err) {
  if (band.GetDataType() == kPint08) return true;
  XfnForgetLastReadError();
  if (band.GetBandMean() == kNotSet && !MeasureQuickly(band, thread)) {
    err = WhyNotRead("there are no statistics to stretch the picture by");
    return false;
  }
  range.low = std::max(band.GetBandMin(), band.GetBandMean() - 2.0 * band.GetBandStdDev());
  range.high = std::min(band.GetBandMax(), band.GetBandMean() + 2.0 * band.GetBandStdDev());
  return true;
}

/// A band on its way into a channel of the picture.
class Channel {
 public:
  Channel(ZRMBand& band, int number, const View& view, const PngShape& shape)
      : band_(band),
        shape_(shape),
        strips_(band, view.showsClasses ? 0 : FindLevelFor(band, view.window, shape.width, shape.height), view.window) {
    if (view.showsClasses) colours_.emplace(band, number);
    if (!view.look.isShaded) return;
    const GroundSteps steps = FindGroundSteps(band, view.window, shape.width, shape.height);
    hillshade_.emplace(shape.width, shape.height, steps, view.look.zFactor);
  }

  bool Prepare(XThread& thread, std::string& err) {
    if (!AreaMeans::IsSupported(band_.GetDataType())) {
      err = "samples of this data type can't be shown";
      return false;
    }
    if (strips_.ReadsImage() && !DecodeAhead(band_, kDecodePercent, thread, err)) return false;
    return hillshade_ || colours_ || FindRange(band_, range_, thread, err);
  }

  bool HasMore() const { return strips_.HasMore(); }
  double GetShareDone() const { return strips_.GetShareDone(); }
  /// Reads a strip and turns it into those rows of the picture that are whole with it.
  bool ReadStrip(XThread& thread, std::string& err);

  int CountRows() const { return static_cast<int>(rows_.size() / static_cast<std::size_t>(shape_.width)); }
  /// Of the rows that were not dropped yet.
  const unsigned char* RowAt(int row) const {
    return rows_.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(shape_.width);
  }
  void DropRows(int count) { rows_.erase(rows_.begin(), rows_.begin() + std::int64_t{count} * shape_.width); }

 private:
  bool BeginMeans(std::string& err);
  void TakeMeans(const std::vector<double>& means);

  ZRMBand& band_;
  PngShape shape_;
  Range range_;
  std::optional<Hillshade> hillshade_;
  std::optional<ClassColours> colours_;
  StripReader strips_;
  std::optional<AreaMeans> means_;
  std::vector<unsigned char> rows_;
};

/// Levels are cut down to whole pixels, and a level that lacks some can't fill the picture.
bool Channel::BeginMeans(std::string& err) {
  const int width = strips_.GetWidth(), height = strips_.GetHeight();
  if (width < shape_.width || height < shape_.height) {
    err = "the pixels can't be read";
    return false;
  }
  const int dataType = colours_ ? kPint08 : band_.GetDataType();
  means_.emplace(width, height, shape_.width, shape_.height, dataType, colours_ ? kNotSet : band_.GetNullValue());
  return true;
}

bool Channel::ReadStrip(XThread& thread, std::string& err) {
  const tagXArr2* strip = strips_.ReadNext(thread, err);
  if (!strip || (!means_ && !BeginMeans(err))) return false;
  for (int y = 0; y < strip->ySize; ++y) {
    const unsigned char* const row = strip->Row(y);
    const std::vector<double>* means = means_->Add(colours_ ? colours_->Paint(row, strip->xSize) : row);
    if (means) TakeMeans(*means);
  }
  return true;
}

/// Shading is one row behind, and appends its rows when it has them.
void Channel::TakeMeans(const std::vector<double>& means) {
  if (hillshade_) {
    hillshade_->Add(means, rows_);
    return;
  }
  for (const double mean : means) rows_.push_back(range_.Apply(mean));
}

/// Where rows of the picture go, with marks painted over them.
class MarkedPng {
 public:
  MarkedPng(PngWriter& png, const PngShape& shape, const PlaceMarks* marks) : png_(png), shape_(shape), marks_(marks) {}

  const PngShape& GetShape() const { return shape_; }
  bool WriteRow(std::vector<unsigned char>& row, std::string& err) {
    if (marks_) marks_->Paint(nextRow_++, shape_, row.data());
    return png_.WriteRow(row.data(), err);
  }

 private:
  PngWriter& png_;
  PngShape shape_;
  const PlaceMarks* marks_;
  int nextRow_ = 0;
};

/// Writes the rows that all channels have.
bool WriteRows(std::vector<Channel>& channels, MarkedPng& png, std::string& err) {
  const PngShape& shape = png.GetShape();
  int numRows = shape.height;
  for (const Channel& channel : channels) numRows = std::min(numRows, channel.CountRows());
  const std::size_t numChannels = channels.size();
  std::vector<unsigned char> row(static_cast<std::size_t>(shape.width) * numChannels);
  for (int y = 0; y < numRows; ++y) {
    for (std::size_t c = 0; c < numChannels; ++c) {
      const unsigned char* source = channels[c].RowAt(y);
      for (std::size_t i = c; i < row.size(); i += numChannels) row[i] = *source++;
    }
    if (!png.WriteRow(row, err)) return false;
  }
  for (Channel& channel : channels) channel.DropRows(numRows);
  return true;
}

/// One strip of each channel at a time, so that bands of one file share its decoding.
bool ReadStrips(std::vector<Channel>& channels, MarkedPng& png, XThread& thread, std::string& err) {
  const auto hasMore = [](const Channel& channel) { return channel.HasMore(); };
  while (std::any_of(channels.begin(), channels.end(), hasMore)) {
    for (Channel& channel : channels) {
      if (channel.HasMore() && !channel.ReadStrip(thread, err)) return false;
    }
    if (!WriteRows(channels, png, err)) return false;
    thread.CallbackPercent(100.0 * channels.front().GetShareDone());
  }
  return true;
}

}  // namespace

/// Both sides keep at least one pixel, however long and thin the image is.
PngShape FitPicture(int width, int height, int maxSize) {
  const double scale = std::min(1.0, static_cast<double>(maxSize) / std::max(width, height));
  PngShape shape;
  shape.width = std::max(1, static_cast<int>(std::lround(width * scale)));
  shape.height = std::max(1, static_cast<int>(std::lround(height * scale)));
  return shape;
}

bool WriteQuickLook(const View& view, const PngShape& shape, PngWriter& png, XThread& thread, std::string& err) {
  std::vector<Channel> channels;
  channels.reserve(view.bands.size());
  for (ZRMBand* band : view.bands) {
    channels.emplace_back(*band, static_cast<int>(channels.size()), view, shape);
    if (!channels.back().Prepare(thread, err)) return false;
  }
  MarkedPng marked(png, shape, view.marks);
  return png.Begin(shape, err) && ReadStrips(channels, marked, thread, err) && png.End(err);
}
