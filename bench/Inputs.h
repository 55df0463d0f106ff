#pragma once

#include <string>
#include <vector>

/// An inclusive window, as the library takes it.
struct Window {
  int x0, x1, y0, y1;
};

constexpr int kWindowSide = 256;

/// Ends the program with a message where something that a figure rests on does not hold.
void Must(bool holds, const std::string& what);

/// Writes a 24-bit bitmap of `side` by `side` pixels unless the file is there.
void MakeBitmap(const std::string& path, int side);
/// Writes a colour JPEG of `side` by `side` pixels, a smooth picture with noise on it, unless the file is there.
void MakeJpeg(const std::string& path, int side);

/// The same windows of `kWindowSide` pixels in every run, anywhere inside an image of `side` by `side`.
std::vector<Window> PickWindows(int side, int count);
