// Formats that no extension leads to, and that are known by how their files begin.

#include "FileFormat.h"

#include "XFile.h"
#include "XPath.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace {

struct Signature {
  int id;
  std::string_view bytes;
};

constexpr Signature kSignatures[] = {{kFormatHDF4, "\x0E\x03\x13\x01"}};
constexpr std::size_t kLongest = 4;

}  // namespace

int FindFormatId(const std::string& path) {
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  XFile file;
  if (id != kFormatNone || !file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return id;
  std::array<char, kLongest> bytes{};
  const std::string_view start(bytes.data(), static_cast<std::size_t>(file.ReadAt(0, bytes.data(), kLongest)));
  const auto* const found =
      std::ranges::find_if(kSignatures, [&](const Signature& s) { return start.starts_with(s.bytes); });
  return found == std::end(kSignatures) ? kFormatNone : found->id;
}

bool IsKnownByContent(int id) {
  return std::ranges::find(kSignatures, id, &Signature::id) != std::end(kSignatures);
}
