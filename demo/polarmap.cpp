// Draws the map around the North Pole from a picture of the earth: the picture is shown in another system than its own,
// which warps it on the way. Uses the public interface only.

#include <ZRKio.h>

#include <cstdio>

namespace {

constexpr int kPolarStereographic = 3413;
/// From the pole to the edges of the map, in metres.
constexpr double kReach = 6.0e6;
constexpr int kPixels = 600;

/// Red, green and blue are the first three bands. The manager deletes the composite.
bool Show(const XRSFile& picture, ZRMCompManager& manager) {
  auto* const composite = new ZRMComposite;
  manager.AddZRMComposite(composite);
  for (int i = 0; i < kCompositeBands; ++i) {
    if (!picture.GetBandAt(i)) return false;
    composite->SetBand(i, picture.GetBandAt(i));
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: polarmap PICTURE OUT.jpg\n");
    return 2;
  }
  XRSFile picture;
  XString err;
  ZRMCompManager manager;
  XSpatialReference polar;
  if (!XfnOpenFile(&picture, argv[1], err) || !Show(picture, manager) || !polar.importFromEPSG(kPolarStereographic)) {
    std::fprintf(stderr, "polarmap: %s\n", err.GetText());
    return 1;
  }
  manager.SetSR(polar);
  const double pixel = 2.0 * kReach / kPixels;
  if (!XfnConvertImage2JPG(argv[2], err, nullptr, &manager, -kReach, -kReach, kReach, kReach, pixel, pixel, nullptr)) {
    std::fprintf(stderr, "polarmap: %s\n", err.GetText());
    return 1;
  }
  std::printf("%d x %d pixels of %g metres around the pole, in %s\n", kPixels, kPixels, pixel,
              polar.GetName().GetText());
  return 0;
}
