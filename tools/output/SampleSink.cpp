// Three ways to put samples out: a table of numbers for a terminal, rows of a PNG, and raw bytes as they are in memory.
// Each takes rows from the top down, some at a time. A PNG takes unsigned samples of 8 and 16 bits alone.

#include "output/SampleSink.h"

#include "output/PngWriter.h"
#include "XDataType.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

template <class Sample>
Sample SampleAt(const unsigned char* bytes) {
  Sample sample;
  std::memcpy(&sample, bytes, sizeof sample);
  return sample;
}

/// The shortest text that is read back as the same number.
template <class Sample>
std::string FormatAs(const unsigned char* bytes) {
  char text[40];
  const auto [end, error] = std::to_chars(text, text + sizeof text, SampleAt<Sample>(bytes));
  return std::string(text, end);
}

template <class Sample>
double NumberAs(const unsigned char* bytes) {
  return static_cast<double>(SampleAt<Sample>(bytes));
}

/// What is done with a sample of a data type.
struct SampleType {
  std::string (*format)(const unsigned char* bytes);
  double (*number)(const unsigned char* bytes);
};

template <class Sample>
constexpr SampleType kTypeOf = {&FormatAs<Sample>, &NumberAs<Sample>};

/// By data type code, from 1.
constexpr SampleType kTypes[] = {kTypeOf<std::uint8_t>, kTypeOf<std::int8_t>,   kTypeOf<std::uint16_t>,
                                 kTypeOf<std::int16_t>, kTypeOf<std::uint32_t>, kTypeOf<std::int32_t>,
                                 kTypeOf<float>,        kTypeOf<double>};

/// Null for samples that are no single numbers.
const SampleType* FindType(int dataType) {
  return dataType >= kPint08 && dataType <= kReal64 ? &kTypes[dataType - 1] : nullptr;
}

/// Samples go out in the machine's order of bytes, without a head.
class RawSink : public SampleSink {
 public:
  explicit RawSink(OutputFile& output) : output_(output) {}
  bool Begin(int, int, std::string&) override { return true; }
  bool Take(const tagXArr2& rows, std::string& err) override {
    const std::size_t rowBytes = static_cast<std::size_t>(rows.xSize) * static_cast<std::size_t>(rows.elementSize);
    return output_.Write(rows.data, rowBytes * static_cast<std::size_t>(rows.ySize), err);
  }
  bool End(std::string&) override { return true; }

 private:
  OutputFile& output_;
};

/// One channel of grey, row by row.
class PngSink : public SampleSink {
 public:
  PngSink(OutputFile& output, int bits) : png_(output), bits_(bits) {}
  bool Begin(int width, int height, std::string& err) override { return png_.Begin({width, height, 1, bits_}, err); }
  bool Take(const tagXArr2& rows, std::string& err) override {
    for (int y = 0; y < rows.ySize; ++y) {
      if (!png_.WriteRow(rows.Row(y), err)) return false;
    }
    return true;
  }
  bool End(std::string& err) override { return png_.End(err); }

 private:
  PngWriter png_;
  int bits_;
};

/// Columns are aligned, so nothing is printed before the widest number is known.
class TableSink : public SampleSink {
 public:
  TableSink(int dataType, std::FILE* out) : type_(FindType(dataType)), out_(out) {}

  bool Begin(int width, int, std::string& err) override {
    width_ = static_cast<std::size_t>(width);
    if (type_) return true;
    err = "samples of this data type can't be printed";
    return false;
  }
  bool Take(const tagXArr2& rows, std::string&) override {
    for (int y = 0; y < rows.ySize; ++y) {
      for (int x = 0; x < rows.xSize; ++x) cells_.push_back(type_->format(rows.Row(y) + rows.colOffsets[x]));
    }
    return true;
  }
  bool End(std::string&) override {
    std::size_t longest = 0;
    for (const std::string& cell : cells_) longest = std::max(longest, cell.size());
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      const bool isLast = (i + 1) % width_ == 0;
      std::fprintf(out_, "%*s%c", static_cast<int>(longest), cells_[i].c_str(), isLast ? '\n' : ' ');
    }
    return true;
  }

 private:
  const SampleType* type_;
  std::FILE* out_;
  std::size_t width_ = 0;
  std::vector<std::string> cells_;
};

}  // namespace

bool DescribeSample(int dataType, const unsigned char* bytes, std::string& text, double& number) {
  const SampleType* const type = FindType(dataType);
  if (!type) return false;
  text = type->format(bytes);
  number = type->number(bytes);
  return true;
}

std::unique_ptr<SampleSink> MakeRawSink(OutputFile& output) {
  return std::make_unique<RawSink>(output);
}

std::unique_ptr<SampleSink> MakePngSink(OutputFile& output, int bits) {
  return std::make_unique<PngSink>(output, bits);
}

std::unique_ptr<SampleSink> MakeTableSink(int dataType, std::FILE* out) {
  return std::make_unique<TableSink>(dataType, out);
}
