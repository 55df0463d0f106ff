#pragma once

#include "ZRMBand.h"

#include <string>
#include <vector>

/// An inclusive window of a band in full-resolution pixels.
struct Window {
  int x0 = 0;
  int x1 = 0;
  int y0 = 0;
  int y1 = 0;
  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
};

/// The whole of a band.
Window WholeOf(const ZRMBand& band);

/// The window that a user asked for, as x0, x1, y0, y1, or the whole band where none was. False with the reason in
/// `err` where it is not within the band.
bool FindWindow(const ZRMBand& band, const std::vector<int>& wanted, Window& window, std::string& err);
