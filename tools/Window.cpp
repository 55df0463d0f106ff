#include "Window.h"

Window WholeOf(const ZRMBand& band) {
  return {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
}

/// A window that is not within the image is refused and not cut, because the result would be of another size than was
/// asked for.
bool FindWindow(const ZRMBand& band, const std::vector<int>& wanted, Window& window, std::string& err) {
  window = WholeOf(band);
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
