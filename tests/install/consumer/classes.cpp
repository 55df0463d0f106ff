// Makes every public class that has virtual functions and asks it for its class and by its own functions, through
// pointers to its own class, so that compilers call directly what they can. A function whose body a header hides from
// the library's symbols is found when this is linked.

#include <ZRKio.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

#define CHECK(condition)                                                         \
  do {                                                                           \
    if (!(condition)) {                                                          \
      std::fprintf(stderr, "line %d does not hold: %s\n", __LINE__, #condition); \
      std::exit(1);                                                              \
    }                                                                            \
  } while (false)

/// The class is known by its name, and as what it derives from.
template <class Object>
void CheckClass(Object& object, const char* name) {
  CHECK(std::string(object.GetRuntimeClass()->className) == name);
  CHECK(object.GetRuntimeClass() == Object::GetRuntimeClassStatic());
  CHECK(object.IsKindOf(XObject::GetRuntimeClassStatic()));
}

/// An empty band answers all questions and serves no read.
template <class Band>
void CheckBand(Band& band, const char* name) {
  CheckClass(band, name);
  CHECK(static_cast<XBand&>(band).GetRuntimeClass() == band.GetRuntimeClass());
  tagXArr2* out = nullptr;
  CHECK(!static_cast<ZRMBand&>(band).ReadSubset(out, 0, 0, 0, 0, 0, nullptr) && !out);
  CHECK(band.CleanupMemory(1, 1) == 1);
  CHECK(band.CloneBand(nullptr) == 0);
  CHECK(band.GetLevel() >= 0 && band.CalcProcessWidthBytes() == 0);
  CHECK(band.GetHighestLevelForTarget(0, 0, 0, 0, 1, 1) == 0);
}

/// Bands asked where they lie: the compiler knows their classes, and calls their functions without the table.
void MakeBandsOfFiles() {
  ZRMBandBMP bitmap(nullptr), channel(&bitmap);
  CheckBand(bitmap, "ZRMBandBMP");
  CheckBand(channel, "ZRMBandBMP");
  ZRMBandJPG jpeg(nullptr);
  CheckBand(jpeg, "ZRMBandJPG");
  ZRMBandCADRG frame(nullptr);
  CheckBand(frame, "ZRMBandCADRG");
  ZRMBandGTIFF tiff(nullptr);
  CheckBand(tiff, "ZRMBandGTIFF");
  CHECK(!tiff.GetJointSource() && !static_cast<XJointReader&>(tiff).GetJointSource());
  ZRMBandDTED cell;
  CheckBand(cell, "ZRMBandDTED");
  ZRMBandHDF4 raster;
  CheckBand(raster, "ZRMBandHDF4");
  ZRMBandCIB grey;
  CheckBand(grey, "ZRMBandCIB");
}

void MakeOtherBands() {
  ZRMBand plain;
  CheckBand(plain, "ZRMBand");
  ZRMBandEPOT store;
  CheckBand(store, "ZRMBandEPOT");
  ZRMBandXLD levels;
  CheckBand(levels, "ZRMBandXLD");
  ZRMBandComplex complex(nullptr);
  CheckBand(complex, "ZRMBandComplex");
  ZRMBand2DMem memory;
  CheckBand(memory, "ZRMBand2DMem");
  ZRMBandResize resized;
  CheckBand(resized, "ZRMBandResize");
  ZRMBandMosaic mosaic;
  CheckBand(mosaic, "ZRMBandMosaic");
}

class Target : public XMessageTarget {
 public:
  void PostMessage(unsigned, XThread*, long value) override { last = value; }
  long last = -1;
};

class Joint : public XJointReader {
 public:
  const void* GetJointSource() const override { return this; }
  int ReadJointly(std::span<ZRMBand* const>, int, int, int, int, int*, std::span<tagXArr2*>) override { return 0; }
};

class Tiled : public XTileSource {
 public:
  const XEPOT2D* GetTileStore() const override { return &store_; }

 private:
  XEPOT2D store_;
};

void MakeTheRest() {
  XRSFile file;
  CheckClass(file, "XRSFile");
  ZRMVand vectors;
  CheckClass(vectors, "ZRMVand");
  XException failure;
  CheckClass(failure, "XException");
  XFileException fileFailure;
  CheckClass(fileFailure, "XFileException");
  XString title, text, advice;
  fileFailure.GetErrorText(title, text, advice);
  Target target;
  XThread thread(&target);
  thread.CallbackPercent(50.0);
  CHECK(target.last == 50);
  const Joint joint;
  CHECK(joint.GetJointSource() == &joint);
  const Tiled tiled;
  CHECK(!tiled.GetTileStore()->IsOpen());
  const XCIBframe frame;
  const XCIBtoc table;
  const XWorldFile world;
  const XRSFile2Tiff tiffWriter;
  const XRSFile2XLD levelBuilder;
  const XRSFile2ZRM rasterWriter;
  const XRSFileSaver saver;
  const XEPOT2D store;
  CHECK(!store.IsOpen());
}

/// Tile stores, their infos, which come from a template, and the file beneath them.
void MakeTileStores() {
  XPBIFile images(1.0, 18.0);
  XPBEFile elevations(2.0, 18.0);
  CHECK(images.AddLevel(0, 256, 256, kDxt1) && elevations.AddLevel(0, 31, 31));
  CHECK(XPBIFileInfo(*images.GetFileInfo()).GetNumberOfLevel() == 1);
  CHECK(XPBEFileInfo(*elevations.GetFileInfo()).GetLevelInfoAt(0)->GetNumTiles() == 200);
  XPBIFileInfo assigned;
  assigned = *images.GetFileInfo();
  CHECK(assigned.GetLevelInfo(0) != nullptr && XRSFile3D().GetMaxX() == 0.0);
  XMMFile file;
  XMMFile copy = file;
  copy = file;
  CHECK(!copy.Seek(0, XMMFile::kBegin) && Vexorine::ZRL::IO::XMMFile().GetLength() == 0);
}

}  // namespace

int main() {
  MakeBandsOfFiles();
  MakeOtherBands();
  MakeTheRest();
  MakeTileStores();
  std::printf("all classes are made\n");
}
