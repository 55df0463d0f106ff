#include "ZRKVersion.h"

#include <cstdio>
#include <string>
#include <string_view>

#include <gdal.h>
#include <geotiff.h>
#include <hwy/highway.h>
#include <jpeglib.h>
#include <ogr_srs_api.h>
#include <tiffio.h>

namespace {

XString WithNumbers(const char* name, int major, int minor, int patch) {
  XString text;
  text.Format("%s %d.%d.%d", name, major, minor, patch);
  return text;
}

/// Libraries are asked at run time where they tell, because the one that is loaded counts and not the one that was
/// built with.
XString DescribeGdal() {
  return XString("GDAL ") + GDALVersionInfo("RELEASE_NAME");
}

XString DescribeProj() {
  int major = 0;
  int minor = 0;
  int patch = 0;
  OSRGetPROJVersion(&major, &minor, &patch);
  return WithNumbers("PROJ", major, minor, patch);
}

/// The library tells its interface version at run time but not its own.
XString DescribeJpeg() {
  // Millions, thousands and ones: 2001005 is 2.1.5.
  constexpr int kNumber = LIBJPEG_TURBO_VERSION_NUMBER;
  return WithNumbers("libjpeg-turbo", kNumber / 1000000, kNumber / 1000 % 1000, kNumber % 1000);
}

/// The first line of the library's own text ends with the number.
XString DescribeTiff() {
  const std::string_view text = TIFFGetVersion();
  const std::string_view line = text.substr(0, text.find('\n'));
  return XString("libtiff ") + std::string(line.substr(line.rfind(' ') + 1));
}

XString DescribeGeoTiff() {
  // 1710 is 1.7.1, and the last digit is for the library's own use.
  constexpr int kNumber = LIBGEOTIFF_VERSION;
  return WithNumbers("libgeotiff", kNumber / 1000, kNumber / 100 % 10, kNumber / 10 % 10);
}

}  // namespace

const char* XfnGetVersion() {
  return ZRK_VERSION;
}

XStringList XfnGetLibraryVersions() {
  XStringList versions;
  versions.AddTail(DescribeGdal());
  versions.AddTail(DescribeProj());
  versions.AddTail(DescribeJpeg());
  versions.AddTail(DescribeTiff());
  versions.AddTail(DescribeGeoTiff());
  versions.AddTail(WithNumbers("Highway", HWY_MAJOR, HWY_MINOR, HWY_PATCH));
  return versions;
}
