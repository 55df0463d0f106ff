// Written TIFF files as others see them. Tags and keys are read by libtiff and libgeotiff, and the coordinate system by
// GDAL, so that no code of ours judges itself. Their complaints are kept for the tests.

#include "WrittenTiff.h"

#include "GdalDataset.h"
#include "TempFolder.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <cpl_error.h>
#include <gdal.h>
#include <geotiff.h>
#include <ogr_srs_api.h>
#include <xtiffio.h>

namespace {

struct CloseTiff {
  void operator()(TIFF* tiff) const { XTIFFClose(tiff); }
};
using OpenedTiff = std::unique_ptr<TIFF, CloseTiff>;

int Keep(TIFF*, void* complaints, const char* module, const char*, va_list) {
  static_cast<std::vector<std::string>*>(complaints)->emplace_back(module ? module : "libtiff");
  return 1;
}

void CPL_STDCALL KeepComplaint(CPLErr severity, CPLErrorNum, const char* text) {
  if (severity >= CE_Warning) static_cast<std::vector<std::string>*>(CPLGetErrorHandlerUserData())->emplace_back(text);
}

std::unique_ptr<TIFF, decltype(&TIFFClose)> OpenPlain(const std::string& path, std::vector<std::string>& complaints) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, &Keep, &complaints);
  TIFFOpenOptionsSetWarningHandlerExtR(options, &Keep, &complaints);
  TIFF* tiff = TIFFOpenExt(path.c_str(), "r", options);
  TIFFOpenOptionsFree(options);
  return {tiff, &TIFFClose};
}

/// Of a tag as it is in the file, not what libtiff takes where it is not.
template <class Stored>
int NumberOf(TIFF* tiff, unsigned tag) {
  Stored value = 0;
  return TIFFGetField(tiff, tag, &value) ? static_cast<int>(value) : -1;
}

std::vector<double> DoublesOf(TIFF* tiff, unsigned tag) {
  std::uint16_t count = 0;
  double* values = nullptr;
  if (!TIFFGetField(tiff, tag, &count, &values)) return {};
  return {values, values + count};
}

GdalImage::Band ReadGdalBand(GDALRasterBandH handle, int width, int height) {
  GdalImage::Band band;
  const GDALDataType type = GDALGetRasterDataType(handle);
  band.dataType = type;
  band.interpretation = GDALGetRasterColorInterpretation(handle);
  band.bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                    static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)));
  if (GDALRasterIO(handle, GF_Read, 0, 0, width, height, band.bytes.data(), width, height, type, 0, 0) != CE_None) {
    band.bytes.clear();
  }
  if (const GDALColorTableH table = GDALGetRasterColorTable(handle)) {
    for (int i = 0; i < GDALGetColorEntryCount(table); ++i) {
      const GDALColorEntry* entry = GDALGetColorEntry(table, i);
      band.colours.push_back({entry->c1, entry->c2, entry->c3});
    }
  }
  return band;
}

int FindEpsg(GDALDatasetH dataset) {
  const OGRSpatialReferenceH system = GDALGetSpatialRef(dataset);
  const char* const code = system ? OSRGetAuthorityCode(system, nullptr) : nullptr;
  return code ? std::atoi(code) : 0;
}

/// Row `y` of all planes, pixel by pixel.
std::vector<unsigned char> InterleavedRow(const PlainImage& image, int y) {
  std::vector<unsigned char> row;
  for (int x = 0; x < image.width; ++x) {
    for (const auto& plane : image.planes) {
      const auto* sample = plane.data() + static_cast<std::ptrdiff_t>(y * image.width + x) * image.sampleBytes;
      row.insert(row.end(), sample, sample + image.sampleBytes);
    }
  }
  return row;
}

void WriteRows(TIFF* tiff, const PlainImage& image) {
  const int rowBytes = image.width * image.sampleBytes;
  if (image.isInterleaved) {
    for (int y = 0; y < image.height; ++y) {
      std::vector<unsigned char> row = InterleavedRow(image, y);
      if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) < 0) throw std::runtime_error("row");
    }
    return;
  }
  for (std::size_t plane = 0; plane < image.planes.size(); ++plane) {
    std::vector<unsigned char> samples = image.planes[plane];
    for (int y = 0; y < image.height; ++y) {
      unsigned char* row = samples.data() + static_cast<std::ptrdiff_t>(y) * rowBytes;
      if (TIFFWriteScanline(tiff, row, static_cast<std::uint32_t>(y), static_cast<std::uint16_t>(plane)) < 0) {
        throw std::runtime_error("row");
      }
    }
  }
}

std::string KeyText(GTIF* keys, geokey_t key) {
  int size = 0;
  tagtype_t type = TYPE_UNKNOWN;
  const int count = GTIFKeyInfo(keys, key, &size, &type);
  std::vector<unsigned char> value(static_cast<std::size_t>(size * count) + 1);
  GTIFKeyGet(keys, key, value.data(), 0, count);
  if (type == TYPE_ASCII) return std::string(reinterpret_cast<const char*>(value.data()));
  double number = 0.0;
  std::uint16_t code = 0;
  if (type == TYPE_DOUBLE) std::memcpy(&number, value.data(), sizeof(number));
  if (type == TYPE_SHORT) std::memcpy(&code, value.data(), sizeof(code));
  return type == TYPE_DOUBLE ? std::to_string(number) : std::to_string(code);
}

}  // namespace

TiffTags::TiffTags(const std::string& path) {
  const auto tiff = OpenPlain(path, complaints);
  if (!tiff) return;
  isOpen = true;
  width = NumberOf<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH);
  height = NumberOf<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH);
  rowsPerStrip = NumberOf<std::uint32_t>(tiff.get(), TIFFTAG_ROWSPERSTRIP);
  compression = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_COMPRESSION);
  planarConfig = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_PLANARCONFIG);
  photometric = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_PHOTOMETRIC);
  bitsPerSample = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_BITSPERSAMPLE);
  sampleFormat = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLEFORMAT);
  samplesPerPixel = NumberOf<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLESPERPIXEL);
  std::uint16_t count = 0, *kinds = nullptr, *red = nullptr, *green = nullptr, *blue = nullptr;
  if (TIFFGetField(tiff.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds)) extraSamples.assign(kinds, kinds + count);
  if (TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &red, &green, &blue)) {
    const int numEntries = 1 << bitsPerSample;
    colourMap = {{{red, red + numEntries}, {green, green + numEntries}, {blue, blue + numEntries}}};
  }
  isBig = TIFFIsBigTIFF(tiff.get()) != 0;
  ReadGeoTags(path);
}

void TiffTags::ReadGeoTags(const std::string& path) {
  const OpenedTiff tiff(XTIFFOpen(path.c_str(), "r"));
  if (!tiff) return;
  tiePoints = DoublesOf(tiff.get(), TIFFTAG_GEOTIEPOINTS);
  pixelScale = DoublesOf(tiff.get(), TIFFTAG_GEOPIXELSCALE);
}

GdalImage::GdalImage(const std::string& path) {
  GDALAllRegister();
  CPLPushErrorHandlerEx(&KeepComplaint, &complaints);
  const char* const drivers[] = {"GTiff", "JP2OpenJPEG", nullptr};
  if (const GdalDataset dataset{
          GDALOpenEx(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers, nullptr, nullptr)}) {
    isOpen = true;
    width = GDALGetRasterXSize(dataset.get());
    height = GDALGetRasterYSize(dataset.get());
    for (int i = 1; i <= GDALGetRasterCount(dataset.get()); ++i) {
      bands.push_back(ReadGdalBand(GDALGetRasterBand(dataset.get(), i), width, height));
    }
    isPlaced = GDALGetGeoTransform(dataset.get(), transform.data()) == CE_None;
    epsg = FindEpsg(dataset.get());
    const char* const place = GDALGetMetadataItem(dataset.get(), GDALMD_AREA_OR_POINT, nullptr);
    pixelOrPoint = place ? place : "";
  }
  CPLPopErrorHandler();
}

std::vector<unsigned char> WriteWithLibtiff(const std::string& path, const PlainImage& image,
                                            const std::function<void(TIFF*)>& setTags) {
  OpenedTiff tiff(XTIFFOpen(path.c_str(), "w"));
  if (!tiff) throw std::runtime_error(path);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, image.width);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, image.height);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 32);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, 1);
  setTags(tiff.get());
  WriteRows(tiff.get(), image);
  tiff.reset();
  return ReadBytes(path);
}

std::vector<std::string> ReadGeoKeys(const std::string& path) {
  const OpenedTiff tiff(XTIFFOpen(path.c_str(), "r"));
  const std::unique_ptr<GTIF, decltype(&GTIFFree)> keys(tiff ? GTIFNew(tiff.get()) : nullptr, &GTIFFree);
  std::vector<std::string> texts;
  for (int key = 1024; keys && key < 5200; ++key) {
    if (GTIFKeyInfo(keys.get(), static_cast<geokey_t>(key), nullptr, nullptr) == 0) continue;
    texts.push_back(std::to_string(key) + "=" + KeyText(keys.get(), static_cast<geokey_t>(key)));
  }
  return texts;
}
