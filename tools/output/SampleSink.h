#pragma once

#include "output/OutputFile.h"
#include "tagXArr2.h"

#include <cstdio>
#include <memory>
#include <string>

/// Where samples of one band go, row by row from the top. Operations answer false with the reason in `err`.
class SampleSink {
 public:
  virtual ~SampleSink() = default;
  /// Called once, with the size of all that follows.
  virtual bool Begin(int width, int height, std::string& err) = 0;
  virtual bool Take(const tagXArr2& rows, std::string& err) = 0;
  virtual bool End(std::string& err) = 0;
};

/// Samples as they are, one after the other.
std::unique_ptr<SampleSink> MakeRawSink(OutputFile& output);
/// A grey PNG; for unsigned samples of 8 or 16 bits.
std::unique_ptr<SampleSink> MakePngSink(OutputFile& output, int bits);
/// Numbers in aligned columns, printed once all are there.
std::unique_ptr<SampleSink> MakeTableSink(int dataType, std::FILE* out);

/// A sample as a number and as the shortest text that is read back as the same sample. False for a data type whose
/// samples are no single numbers.
bool DescribeSample(int dataType, const unsigned char* bytes, std::string& text, double& number);
