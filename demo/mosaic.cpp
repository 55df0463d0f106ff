// Makes a large bitmap of a picture that is repeated side by side and one below the other, as a stand-in for a mosaic
// of many images. Shows how pixels are read row by row and a file is written through `XFile`. Uses the public interface
// only.

#include <ZRKio.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kHeaderBytes = 54;

/// What the bitmap is to be: copies of the picture each way.
struct Plan {
  XRSFile& picture;
  int copies;
  int Width() const { return picture.GetBandAt(0)->GetXSize() * copies; }
  int Height() const { return picture.GetBandAt(0)->GetYSize() * copies; }
  std::int64_t RowBytes() const { return (std::int64_t{3} * Width() + 3) / 4 * 4; }
  std::int64_t FileBytes() const { return kHeaderBytes + RowBytes() * Height(); }
};

void Put(unsigned char* place, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) place[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::array<unsigned char, kHeaderBytes> MakeHeader(const Plan& plan) {
  std::array<unsigned char, kHeaderBytes> header = {'B', 'M'};
  // The bytes of the file, where the pixels begin, the bytes of the second header, and the size in pixels.
  Put(&header[2], static_cast<std::uint32_t>(plan.FileBytes()));
  Put(&header[10], kHeaderBytes);
  Put(&header[14], 40);
  Put(&header[18], static_cast<std::uint32_t>(plan.Width()));
  Put(&header[22], static_cast<std::uint32_t>(plan.Height()));
  header[26] = 1;
  header[28] = 24;
  return header;
}

/// A row of the picture as the bitmap has it: blue, green, red, as often as there are copies.
bool MakeRow(const Plan& plan, int y, std::vector<unsigned char>& row) {
  const int width = plan.picture.GetBandAt(0)->GetXSize();
  for (int channel = 0; channel < 3; ++channel) {
    tagXArr2* samples = nullptr;  // belongs to the band
    if (!plan.picture.GetBandAt(2 - channel)->ReadSubset(samples, 0, 0, width - 1, y, y, nullptr)) return false;
    unsigned char* place = row.data() + channel;
    for (int x = 0; x < plan.Width(); ++x, place += 3) *place = samples->data[x % width];
  }
  return true;
}

/// Rows stand in the file from the bottom up.
bool WriteRows(const Plan& plan, XFile& out) {
  const int height = plan.picture.GetBandAt(0)->GetYSize();
  std::vector<unsigned char> row(static_cast<std::size_t>(plan.RowBytes()));
  for (int y = 0; y < height; ++y) {
    if (!MakeRow(plan, y, row)) return false;
    // A row is read once and written once for each copy below the other.
    for (int copy = 0; copy < plan.copies; ++copy) {
      const std::int64_t place = plan.Height() - 1 - (std::int64_t{copy} * height + y);
      if (!out.WriteAt(kHeaderBytes + place * plan.RowBytes(), row.data(), plan.RowBytes())) return false;
    }
  }
  return true;
}

/// Writes the bitmap. It gets its name when it is whole, so that nobody takes half of it for a picture.
bool Write(const Plan& plan, const XString& path) {
  const XString unfinished = path + "_tmp";
  XFile out;
  if (!out.Open(unfinished, XFile::kReadWrite | XFile::kCreate)) return false;
  const auto header = MakeHeader(plan);
  const bool isWritten =
      out.Preallocate(plan.FileBytes()) && out.WriteAt(0, header.data(), kHeaderBytes) && WriteRows(plan, out);
  out.Close();
  if (isWritten && XFile::Rename(unfinished, path)) return true;
  XFile::Remove(unfinished);
  return false;
}

/// Whether a run before has left the bitmap.
bool IsThere(const Plan& plan, const XString& path) {
  XFile file;
  return file.Open(path, XFile::kRead) && file.GetLength() == plan.FileBytes();
}

}  // namespace

/// A bitmap tells its size in 32 bits, which many programs read as a signed number. Larger bitmaps are not made.
int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "Usage: mosaic PICTURE COPIES OUT.bmp\n");
    return 2;
  }
  const XString path = argv[1];
  XRSFile picture;
  XString err;
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  if (!XRSFileIO::LoadFileRaster(&picture, id, path, err, 0, kLevelNone, nullptr) || picture.GetNumOfBands() != 3) {
    std::fprintf(stderr, "%s: %s\n", path.GetText(), err.IsEmpty() ? "not a colour picture" : err.GetText());
    return 1;
  }
  const Plan plan{picture, std::atoi(argv[2])};
  if (plan.copies < 1 || plan.FileBytes() > INT32_MAX) {
    std::fprintf(stderr, "%s copies make no bitmap\n", argv[2]);
    return 2;
  }
  if (!IsThere(plan, argv[3]) && !Write(plan, argv[3])) {
    std::fprintf(stderr, "%s can't be written\n", argv[3]);
    return 1;
  }
  std::printf("%s: %d x %d pixels, %.0f MB\n", argv[3], plan.Width(), plan.Height(),
              static_cast<double>(plan.FileBytes()) / 1e6);
  return 0;
}
