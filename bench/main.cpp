// The program's arguments. Everything else is in the rows and the table. Two further ways to call it save one file, or
// read a window of one, and print figures: the program runs itself that way to measure peak memory.

#include "Inputs.h"
#include "PeakMemory.h"
#include "Table.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char* kUsage =
    "Usage: zrkio_bench --data=FOLDER [--size=PIXELS] [--windows=N] [--rounds=N] [--only=KEY] [--photo=FILE]\n"
    "FOLDER takes the inputs, which are kept; PIXELS (8192) is the side of the bitmap, N windows (1024) of 256 x 256\n"
    "are read at random places, and each figure is the median of N rounds (7, or 3 for rows that take seconds).\n"
    "KEY is the beginning of the keys of the rows that are wanted: bmp, sibling, jpeg, tiff, cache, level, comp,\n"
    "write, encode, rpf, dted, block, txid, pbi, pyramid, hfa, hawk, ortho, nitf, names, jp2, machine.\n"
    "The image store of the rows pbi has 2 GB with --size=65536; its inputs then take 3 GB.\n"
    "FILE is a picture in colour that blocks are packed of, in place of one that is made.\n"
    "zrkio_bench --save IN OUT only saves a raster as TIFF or JPEG 2000, and prints its peak memory in bytes.\n"
    "zrkio_bench --window IN does so for a window of 256 x 256 pixels that is read.\n";

/// Numbers below the least that makes sense become it, and so does text that is no number.
bool TakeNumber(const char* argument, const char* name, int least, int& value) {
  const std::size_t length = std::strlen(name);
  if (std::strncmp(argument, name, length) != 0) return false;
  value = std::max(std::atoi(argument + length), least);
  return true;
}

bool TakeArgument(const char* argument, BenchOptions& options) {
  if (std::strncmp(argument, "--data=", 7) == 0) {
    options.folder = argument + 7;
    return true;
  }
  if (std::strncmp(argument, "--only=", 7) == 0) {
    options.only = argument + 7;
    return true;
  }
  if (std::strncmp(argument, "--photo=", 8) == 0) {
    options.photograph = argument + 8;
    return true;
  }
  return TakeNumber(argument, "--size=", 4 * kWindowSide, options.side) ||
         TakeNumber(argument, "--windows=", 8, options.numWindows) ||
         TakeNumber(argument, "--rounds=", 1, options.rounds);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--save") == 0) {
    SaveAndPrintPeak(argv[2], argv[3]);
    return 0;
  }
  if (argc == 3 && std::strcmp(argv[1], "--window") == 0) {
    ReadAndPrintPeak(argv[2]);
    return 0;
  }
  BenchOptions options;
  const bool isUnderstood =
      std::all_of(argv + 1, argv + argc, [&](const char* argument) { return TakeArgument(argument, options); });
  if (!isUnderstood || options.folder.empty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  TimeAndPrint(MakeRows(options), options.rounds);
}
