// Inputs of the bench. Files are made once and kept for the next run, because they are large and take longer than what
// is measured. Random numbers have fixed seeds, so that every run reads the same pixels at the same places.
//
// The bitmap is noise, since nothing in a bitmap depends on its contents. The JPEG is waves with a little noise, so
// that its size and the decoder's work are about those of a photograph.

#include "Inputs.h"

#include "XDib.h"

#include <jpeglib.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>

namespace fs = std::filesystem;

namespace {

constexpr int kJpegQuality = 90;

using Row = std::vector<unsigned char>;
using OpenFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void PutLittleEndian(std::ofstream& out, std::uint32_t value, int numBytes) {
  for (int i = 0; i < numBytes; ++i) out.put(static_cast<char>(value >> (8 * i)));
}

/// File header and BITMAPINFOHEADER, 54 bytes together, of a bitmap with 24 bits a pixel.
void PutBitmapHeader(std::ofstream& out, int side, std::int64_t imageBytes) {
  out << "BM";
  PutLittleEndian(out, static_cast<std::uint32_t>(54 + imageBytes), 4);
  PutLittleEndian(out, 0, 4);
  PutLittleEndian(out, 54, 4);  // where the pixels begin
  PutLittleEndian(out, 40, 4);
  PutLittleEndian(out, static_cast<std::uint32_t>(side), 4);
  PutLittleEndian(out, static_cast<std::uint32_t>(side), 4);
  PutLittleEndian(out, 1, 2);
  PutLittleEndian(out, 24, 2);
  // Six fields of 0: no compression, no size, no resolution, no palette.
  for (int i = 0; i < 6; ++i) PutLittleEndian(out, 0, 4);
}

unsigned char ToSample(double value) {
  return static_cast<unsigned char>(std::clamp(value, 0.0, 255.0));
}

/// A row of a picture that compresses about as a photograph does.
void PaintRow(int y, std::mt19937& random, Row& row) {
  std::normal_distribution<double> noise(0.0, 6.0);
  for (std::size_t x = 0; x < row.size() / 3; ++x) {
    const double wave = std::sin(static_cast<double>(x) / 97.0) * std::cos(y / 131.0);
    row[3 * x] = ToSample(128 + 90 * wave + noise(random));
    row[3 * x + 1] = ToSample(110 + 60 * std::sin(static_cast<double>(x) / 41.0 + y / 59.0) + noise(random));
    row[3 * x + 2] = ToSample(100 - 70 * wave + noise(random));
  }
}

}  // namespace

void Must(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "zrkio_bench: %s\n", what.c_str());
  std::exit(1);
}

void MakeBitmap(const std::string& path, int side) {
  const std::int64_t rowBytes = XfnCalcDIBWidthBytes(side, 24);
  // A bitmap that a run left unfinished is too short, and is made anew.
  if (fs::exists(path) && fs::file_size(path) == static_cast<std::uintmax_t>(54 + rowBytes * side)) return;
  std::ofstream out(path, std::ios::binary);
  PutBitmapHeader(out, side, rowBytes * side);
  std::mt19937 random(1);
  Row row(static_cast<std::size_t>(rowBytes));
  for (int y = 0; y < side; ++y) {
    for (unsigned char& byte : row) byte = static_cast<unsigned char>(random());
    out.write(reinterpret_cast<const char*>(row.data()), rowBytes);
  }
  Must(bool(out.flush()), "can't write " + path);
}

void MakeJpeg(const std::string& path, int side) {
  if (fs::exists(path)) return;
  const std::string unfinished = path + ".part";
  OpenFile file(std::fopen(unfinished.c_str(), "wb"), &std::fclose);
  Must(file != nullptr, "can't write " + unfinished);
  jpeg_compress_struct encoder;
  jpeg_error_mgr errors;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  jpeg_stdio_dest(&encoder, file.get());
  encoder.image_width = encoder.image_height = static_cast<JDIMENSION>(side);
  encoder.input_components = 3;
  encoder.in_color_space = JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, kJpegQuality, TRUE);
  jpeg_start_compress(&encoder, TRUE);
  std::mt19937 random(2);
  Row row(std::size_t{3} * static_cast<std::size_t>(side));
  for (int y = 0; y < side; ++y) {
    PaintRow(y, random, row);
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&encoder, rows, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  Must(std::fclose(file.release()) == 0, "can't write " + unfinished);
  fs::rename(unfinished, path);
}

std::vector<Window> PickWindows(int side, int count) {
  std::mt19937 random(3);
  // Windows lie anywhere, across blocks and tiles, as a viewer's do.
  std::uniform_int_distribution<int> place(0, side - kWindowSide);
  std::vector<Window> windows;
  for (int i = 0; i < count; ++i) {
    const int x = place(random), y = place(random);
    windows.push_back({x, x + kWindowSide - 1, y, y + kWindowSide - 1});
  }
  return windows;
}
