// A native raster file is a header, the bodies of the bands, and the XML that describes them. The header says where the
// XML begins. The XML alone also ends a level file, for which the bands are there already.
//
// Numbers of a file are compared with the file before they are trusted. The offset of the text is compared with the
// length of the file, the size of the text with the limit, and each body with the room in front of the text. A dataset
// is changed only when all of that has succeeded. The bands keep the open file and read their bodies from it later.

#include "base/Cursor.h"
#include "base/Fence.h"
#include "core/native/NativeHeader.h"
#include "core/native/NativeLoad.h"
#include "core/native/NativeXml.h"
#include "XFile.h"
#include "XLimits.h"
#include "XRSFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>

namespace {

constexpr char kNotComplete[] = "The native raster file is not complete";

/// The offset at which the XML begins; -1, and a sentence, where the header does not tell. A file that was never
/// finished has -1 in its header, and is told apart from one of another kind or version.
std::int64_t ReadHeader(const XFile& file, XString& err) {
  std::array<unsigned char, zrk::kNativeHeaderSize> bytes{};
  const std::int64_t count = file.ReadAt(0, bytes.data(), zrk::kNativeHeaderSize);
  if (count < 4 || std::memcmp(bytes.data(), zrk::kNativeMagic, 4) != 0) {
    err = "Invalid ZRM Magic string";
    return -1;
  }
  zrk::Cursor cursor(bytes);
  cursor.Skip(4);
  const std::uint32_t version = cursor.U32LE();
  const std::int64_t offset = cursor.I64LE();
  const bool isWhole = count == zrk::kNativeHeaderSize;
  if (isWhole && version != zrk::kNativeVersion) {
    err.Format("Native raster files of version %u can't be read", version);
  } else if (!isWhole || offset < zrk::kNativeHeaderSize || offset >= file.GetLength()) {
    err = kNotComplete;
  } else {
    return offset;
  }
  return -1;
}

/// The text from `offset` to the end of the file; empty, and a sentence, where there is none to be had.
std::string ReadText(const XFile& file, std::int64_t offset, XString& err) {
  const std::int64_t bytes = file.GetLength() - offset;
  if (bytes > XfnGetLimits().xmlBytes) {
    err = "The raster metadata is refused: the text is too long";
    return {};
  }
  // The file may have been cut since its header was read.
  std::string text(static_cast<std::size_t>(std::max<std::int64_t>(bytes, 0)), '\0');
  if (bytes > 0 && file.ReadAt(offset, text.data(), bytes) == bytes) return text;
  err = kNotComplete;
  return {};
}

/// The dataset takes the file over last. Until then it is closed by whatever fails, and no band of it is left.
int LoadFile(XRSFile& dataset, const XString& path, XString& err) {
  if (dataset.GetNumOfBands() > 0) {
    err = "The dataset has bands already";
    return 0;
  }
  auto file = std::make_unique<XFile>();
  if (!file->Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Fail to open ZRM file";
    return 0;
  }
  const std::int64_t offset = ReadHeader(*file, err);
  if (offset < 0) return 0;
  const std::string text = ReadText(*file, offset, err);
  pugi::xml_document document;
  if (text.empty() || !zrk::ParseNativeXml(text, document, err)) return 0;
  if (!zrk::LoadNewBands(dataset, document, {file.get(), offset}, err)) return 0;
  dataset.SetFile(file.release(), 1);
  dataset.SetName(path);
  dataset.SetFilePath(path);
  return 1;
}

/// A dataset with bands is being given what its level file tells. One without gets the bands of the text, over the file
/// that it has, if any.
int LoadText(XRSFile& dataset, const XString& xml, XString& err) {
  pugi::xml_document document;
  if (!zrk::ParseNativeXml(xml.AsStdString(), document, err)) return 0;
  if (dataset.GetNumOfBands() > 0) return zrk::LoadLevelFields(dataset, document, err);
  XFile* file = dataset.GetFilePtr();
  return zrk::LoadNewBands(dataset, document, {file, file ? file->GetLength() : 0}, err);
}

}  // namespace

int XRSFile::LoadFileZRM(XString path, XString& err, XThread*) {
  return zrk::Fenced(err, [&] { return LoadFile(*this, path, err); });
}

int XRSFile::LoadStringZRM(XString xml, XString& err, XThread*) {
  return zrk::Fenced(err, [&] { return LoadText(*this, xml, err); });
}
