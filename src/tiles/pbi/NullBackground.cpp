#include "tiles/pbi/NullBackground.h"

#include "base/Cursor.h"
#include "XFile.h"
#include "XResourceFolder.h"

#include <array>
#include <span>

namespace zrk {
namespace {

constexpr std::size_t kBackgroundHeaderBytes = 14 + 40;
constexpr std::size_t kBackgroundBytes = std::size_t{256} * 256 * 4;

bool IsBackground(std::span<const unsigned char> header) {
  Cursor cursor(header);
  if (cursor.Text(2) != "BM") return false;
  cursor.Skip(12);
  const bool isSized = cursor.U32LE() == 40 && cursor.I32LE() == 256 && cursor.I32LE() == 256;
  cursor.Skip(2);  // the planes
  return isSized && cursor.U16LE() == 32 && !cursor.HasFailed();
}

}  // namespace

std::vector<unsigned char> ReadNullBackground(const XString& path) {
  XFile file;
  std::array<unsigned char, kBackgroundHeaderBytes> header;
  constexpr auto kHeader = static_cast<std::int64_t>(kBackgroundHeaderBytes);
  constexpr auto kPixels = static_cast<std::int64_t>(kBackgroundBytes);
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone) || file.GetLength() != kHeader + kPixels) return {};
  if (file.ReadAt(0, header.data(), kHeader) != kHeader || !IsBackground(header)) return {};
  std::vector<unsigned char> pixels(kBackgroundBytes);
  if (file.ReadAt(kHeader, pixels.data(), kPixels) != kPixels) return {};
  return pixels;
}

std::vector<unsigned char> LoadNullBackground() {
  return ReadNullBackground(XfnGetResourceFolder() + "/NullBackground.bmp");
}

}  // namespace zrk
