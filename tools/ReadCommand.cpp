// zrkio read: samples of one channel as they are, into a file or onto the terminal.

#include "Commands.h"
#include "Dataset.h"
#include "OutputFile.h"
#include "PngWriter.h"
#include "Progress.h"
#include "Strips.h"
#include "XPath.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>

namespace {

constexpr int kMostTableSamples = 32;  // each way

struct Options {
  std::string file;
  int band = 1;
  int level = 0;
  std::vector<int> window;
  std::string output;
};

/// What has come out of the band: rows put together from strips.
struct Shape {
  int width = 0;
  int height = 0;
};

using TakeStrip = std::function<bool(const tagXArr2& samples, std::string& err)>;

bool ReadStrips(ZRMBand& band, int level, const Window& window, Job& job, const TakeStrip& take, Shape& shape,
                std::string& err) {
  StripReader reader(band, level, window);
  while (reader.HasMore()) {
    StripReader::Strip strip;
    if (!reader.ReadNext(strip, job.GetThread(), err) || !take(*strip.samples, err)) return false;
    shape.width = strip.samples->xSize;
    shape.height += strip.samples->ySize;
    job.GetThread()->CallbackPercent(100.0 * reader.GetShareDone());
  }
  return true;
}

std::size_t SizeInBytes(const tagXArr2& samples) {
  return static_cast<std::size_t>(samples.xSize) * static_cast<std::size_t>(samples.ySize) *
         static_cast<std::size_t>(samples.elementSize);
}

template <class Sample>
std::string FormatSample(const unsigned char* bytes) {
  Sample sample;
  std::memcpy(&sample, bytes, sizeof sample);
  char text[40];
  const auto [end, error] = std::to_chars(text, text + sizeof text, sample);
  return std::string(text, end);
}

std::string FormatSample(const unsigned char* bytes, int dataType) {
  switch (dataType) {
    case kPint08:
      return std::to_string(*bytes);
    case kSint08:
      return std::to_string(static_cast<signed char>(*bytes));
    case kPint16:
      return FormatSample<std::uint16_t>(bytes);
    case kSint16:
      return FormatSample<std::int16_t>(bytes);
    case kPint32:
      return FormatSample<std::uint32_t>(bytes);
    case kSint32:
      return FormatSample<std::int32_t>(bytes);
    case kReal32:
      return FormatSample<float>(bytes);
    case kReal64:
      return FormatSample<double>(bytes);
    default:
      return "?";
  }
}

bool PrintTable(ZRMBand& band, const Options& options, const Window& window, Job& job, std::string& err) {
  if (window.Width() > kMostTableSamples || window.Height() > kMostTableSamples) {
    err = "a table on the terminal is for windows of up to 32 x 32 pixels; give -o to write a file";
    return false;
  }
  Shape shape;
  return ReadStrips(
      band, options.level, window, job,
      [&](const tagXArr2& samples, std::string&) {
        for (int y = 0; y < samples.ySize; ++y) {
          for (int x = 0; x < samples.xSize; ++x) {
            const unsigned char* sample = samples.data + samples.rowOffsets[y] + samples.colOffsets[x];
            std::printf("%s%5s", x == 0 ? "" : " ", FormatSample(sample, band.GetDataType()).c_str());
          }
          std::printf("\n");
        }
        return true;
      },
      shape, err);
}

bool WriteRaw(ZRMBand& band, const Options& options, const Window& window, Job& job, OutputFile& output, Shape& shape,
              std::string& err) {
  return ReadStrips(
      band, options.level, window, job,
      [&](const tagXArr2& samples, std::string& why) { return output.Write(samples.data, SizeInBytes(samples), why); },
      shape, err);
}

bool WriteAsPng(ZRMBand& band, const Options& options, const Window& window, Job& job, OutputFile& output, Shape& shape,
                std::string& err) {
  PngImage image;
  image.bits = 8 * band.GetDataSize();
  const bool isRead = ReadStrips(
      band, options.level, window, job,
      [&](const tagXArr2& samples, std::string&) {
        image.samples.insert(image.samples.end(), samples.data, samples.data + SizeInBytes(samples));
        return true;
      },
      shape, err);
  image.width = shape.width;
  image.height = shape.height;
  return isRead && WritePng(image, output, err);
}

bool HasPngExtension(const std::string& path) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  return extension == "png";
}

bool WriteFile(ZRMBand& band, const Options& options, const Window& window, Job& job, Shape& shape, std::string& err) {
  const bool asPng = HasPngExtension(options.output);
  if (asPng && band.GetDataType() != kPint08 && band.GetDataType() != kPint16) {
    err = std::string("samples of type ") + XfnGetDataTypeString(band.GetDataType()) +
          " don't go into a PNG as they are; write them raw, or make a picture with zrkio view";
    return false;
  }
  OutputFile output;
  if (!output.Open(options.output, err)) return false;
  const auto write = asPng ? &WriteAsPng : &WriteRaw;
  return write(band, options, window, job, output, shape, err) && output.Commit(err);
}

bool FindWindow(const ZRMBand& band, const std::vector<int>& wanted, Window& window, std::string& err) {
  window = {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
  if (wanted.empty()) return true;
  const bool isInside = 0 <= wanted[0] && wanted[0] <= wanted[1] && wanted[1] <= window.x1 && 0 <= wanted[2] &&
                        wanted[2] <= wanted[3] && wanted[3] <= window.y1;
  if (!isInside) {
    err = "the window is not within columns 0 to " + std::to_string(window.x1) + " and rows 0 to " +
          std::to_string(window.y1);
    return false;
  }
  window = {wanted[0], wanted[1], wanted[2], wanted[3]};
  return true;
}

bool ReadBand(const Options& options, Job& job, Shape& shape, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, job.GetThread(), err);
  if (!file) return false;
  ZRMBand* band = file->GetBandAt(options.band - 1);
  if (!band) {
    err = "there is no band " + std::to_string(options.band) + ", only 1 to " + std::to_string(file->GetNumOfBands());
    return false;
  }
  Window window;
  if (!FindWindow(*band, options.window, window, err)) return false;
  if (options.output.empty()) return PrintTable(*band, options, window, job, err);
  return WriteFile(*band, options, window, job, shape, err);
}

int Run(const Options& options) {
  std::string err;
  Shape shape;
  bool isDone = false;
  {
    Job job(options.file);
    isDone = ReadBand(options, job, shape, err);
  }
  if (!isDone) {
    PrintFailure(options.file, err);
    return 1;
  }
  if (!options.output.empty() && options.output != "-") {
    std::fprintf(stderr, "%s: %d x %d samples\n", options.output.c_str(), shape.width, shape.height);
  }
  return 0;
}

}  // namespace

void AddReadCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("read", "Read samples of one channel");
  command->add_option("FILE", options->file, "A raster file")->required();
  command->add_option("--band", options->band, "The channel, from 1")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  command
      ->add_option("--level", options->level, "Level n is a reduction of 2^n; some formats hold full resolution only")
      ->capture_default_str()
      ->check(CLI::Range(0, 30));
  command
      ->add_option("--window", options->window,
                   "x0,x1,y0,y1: inclusive, in full-resolution pixels; the whole unless given")
      ->delimiter(',')
      ->expected(4);
  command->add_option(
      "-o,--output", options->output,
      "Raw samples, or a PNG by its extension; - for standard output; a small table on the terminal unless given");
  command->callback([options, &status] { status = Run(*options); });
}
