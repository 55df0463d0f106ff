// A program that knows the library by its installed headers only. It uses something of every family of classes, so that
// a symbol which is not exported is found when this is linked, and reads back a bitmap that it writes itself.

#include <ZRKio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
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

/// 2 by 2 pixels of 24 bits: blue, green below; red, white above.
void WriteBitmap(const std::string& path) {
  // clang-format off
  const unsigned char bytes[] = {
      'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,
      40, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24, 0,
      0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
      255, 0, 0, 0, 255, 0, 0, 0,
      0, 0, 255, 255, 255, 255, 0, 0};
  // clang-format on
  static_assert(sizeof bytes == 70);
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

void UseBase() {
  XString text;
  text.Format("%s-%d", "a", 7);
  CHECK(text == "a-7");
  CHECK(XfnGetFileExt("folder/picture.bmp") == "bmp");
  unsigned char bits[] = {0};
  XfnSetBitBuffer(bits, 0, 1);
  CHECK(bits[0] == 0x80 && XfnGetPowerOf2nValue(64) == 6);
  CHECK(XfnGetAvailablePhysicalMemoryInPercent() > 0.0);
  XStringList addresses;
  CHECK(XfnGetMacAddress(addresses) == addresses.GetCount());
  tagXArr1 line(4, 2);
  tagXArr2 plane(4, 3, 2);
  tagXArr3 colour(4, 3, 1);
  CHECK(line.data && plane.data && colour.planes[2].data);
  XThreadSafeArr1 lines;
  XThreadSafeArr2 planes;
  CHECK(XfnGetDataSize(kReal64) == 8);
  XfnSetLimits(XfnGetLimits());
}

void UseMessages() {
  XString asked;
  XfnSetMessageBoxHandler([&asked](const XString& question, const XString&, unsigned) {
    asked = question;
    return static_cast<int>(kAnswerYes);
  });
  CHECK(XfnMessageBox("Go on?", "consumer", kMessageYesNo) == kAnswerYes && asked == "Go on?");
  XfnSetMessageBoxHandler(nullptr);
  XThread thread;
  thread.CallbackPercent(50.0);
  thread.Terminate();
  CHECK(XfnIsStopRequested(thread.GetStatePtr()));
  try {
    throw XFileException();
  } catch (const XException&) {
  }
}

void UseModel() {
  XSpatialReference sr;
  CHECK(sr.importFromEPSG(4326) && sr.IsGeographic());
  CHECK(Xepot::CalcProperLevel(1024, 1024, 256, 256) == 2);
  ZRMBandComplex complex(new ZRMBandXLD);
  complex.SetSize(10, 10);
  complex.SetSR(sr);
  CHECK(complex.IsKindOf(XBand::GetRuntimeClassStatic()) && complex.IsKindOf(XObject::GetRuntimeClassStatic()));
  XRSFile file;
  file.AddVand(new ZRMVand);
  file.AddROISet(new XROI);
  CHECK(file.GetNumOfVands() == 1 && XfnCalcBlockHeight(&complex, 4) == 4);
  CHECK(!XfnGetFormats().empty() && XfnFindFormat(kFormatBMP)->canRead);
  CHECK(XfnGetVersion()[0] != '\0' && XfnGetLibraryVersions().GetCount() > 0);
}

/// The red channel of the 2 by 2 bitmap: red and white above, blue and green below.
void ReadBack(const XString& path) {
  XFile raw;
  CHECK(raw.Open(path, XFile::kRead) && raw.GetLength() == 70);
  XWorldFile world;
  CHECK(!world.Read(path + ".none"));
  XRSFile file;
  XString err;
  CHECK(XRSFileIO::LoadFileBMP(&file, path, err, 1, kLevelNone, nullptr));
  CHECK(file.GetNumOfBands() == 3 && file.GetBandAt(0)->GetBandMax() == 255.0);
  CHECK(dynamic_cast<ZRMBandBMP*>(file.GetBandAt(0)) && !dynamic_cast<ZRMBandJPG*>(file.GetBandAt(0)));
  tagXArr2* out = nullptr;
  CHECK(file.GetBandAt(0)->ReadSubset(out, 0, 0, 1, 0, 1, nullptr));
  CHECK(out->data[0] == 255 && out->data[1] == 255 && out->data[2] == 0 && out->data[3] == 0);
}

}  // namespace

int main(int argc, char** argv) {
  CHECK(argc == 2);
  WriteBitmap(argv[1]);
  UseBase();
  UseMessages();
  UseModel();
  ReadBack(argv[1]);
  std::printf("zrkio %s serves this program\n", XfnGetVersion());
}
