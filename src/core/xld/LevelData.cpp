// Level data: the companion file of a raster. A load calls these functions when its bands are in the dataset. They look
// for a level file, check that it belongs to the image, and build one if the level mode asks for it. Then each band
// gets a `ZRMBandXLD` over its pyramid, and the dataset gets the stored statistics. Every function answers 0 if there
// is no level data, and the load goes on without.

#include "core/xld/LevelData.h"

#include "base/Fence.h"
#include "core/native/NativeXml.h"
#include "core/xld/ImageStamp.h"
#include "core/xld/LevelFile.h"
#include "XFile.h"
#include "XLevelMode.h"
#include "XLimits.h"
#include "XMessageBox.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFile2XLD.h"
#include "ZRMBandDRIO.h"
#include "ZRMBandEPOT.h"
#include "ZRMBandXLD.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr unsigned kReadShared = XFile::kRead | XFile::kShareDenyNone;

int FailWith(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

/// What takes the level data of a band; null where it has none, or there is no band.
ZRMBandDRIO* LevelSourceAt(XRSFile& dataset, int index) {
  ZRMBand* const band = dataset.GetBandAt(index);
  return band ? band->GetLevelSource() : nullptr;
}

/// The level bands that a file makes, until it is known that all of it fits.
struct LevelBands {
  std::vector<std::pair<ZRMBandDRIO*, std::unique_ptr<ZRMBandXLD>>> bands;

  void Attach() {
    for (auto& [source, level] : bands) source->SetBandXLD(level.release());
  }
};

/// Level bands that serve nothing, as a level file without stores gives them.
LevelBands MakeEmptyBands(XRSFile& dataset) {
  LevelBands made;
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    ZRMBandDRIO* source = LevelSourceAt(dataset, i);
    if (source) made.bands.emplace_back(source, std::make_unique<ZRMBandXLD>());
  }
  return made;
}

/// Level bands over the stores of the file, which lie between its head and its text. The first band takes the file
/// over. Empty where the stores that the dataset wants are not just those that are there.
LevelBands MakeStoreBands(XRSFile& dataset, std::unique_ptr<XFile> file, std::int64_t textOffset) {
  LevelBands made;
  XFile* const shared = file.get();
  std::int64_t offset = zrk::kLevelHeadBytes;
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    ZRMBandDRIO* source = LevelSourceAt(dataset, i);
    if (!source) continue;
    auto band = std::make_unique<ZRMBandXLD>();
    if (file) {
      band->SetFile(file.release(), 1);
    } else {
      band->SetFile(shared, 0);
    }
    band->SetOffset(offset);
    band->Init(source, source->GetXSize(), source->GetYSize(), source->GetDataType(), source->GetXTileSize(),
               source->GetYTileSize());
    const std::int64_t size = band->CalcBandSize(0, 0, 0, 0, 0);
    if (size <= 0 || size > textOffset - offset) return {};
    offset += size;
    made.bands.emplace_back(source, std::move(band));
  }
  return offset == textOffset ? std::move(made) : LevelBands();
}

/// Whether the operator wants the level data to be built.
bool AskToCreate() {
  constexpr unsigned kStyle = kMessageYesNo | kMessageIconQuestion;
  return XfnMessageBox("Do you want to create level data?", "Create Level Data[XLD]", kStyle) != kAnswerNo;
}

int AttachLevelData(XRSFile& dataset, const XString& path, XString& err) {
  auto file = std::make_unique<XFile>();
  if (!file->Open(zrk::LevelFileNameOf(path), kReadShared)) return 0;
  std::int64_t textOffset = 0;
  if (zrk::ReadLevelHead(*file, textOffset) != zrk::LevelHead::kGood) return 0;
  // A dataset that goes by another name has level data of its own.
  if (XfnGetFileName(dataset.GetFilePath()) != XfnGetFileName(path)) return 0;
  if (!dataset.LoadStringZRM(zrk::ReadLevelText(*file, textOffset), err, nullptr)) return 0;
  if (textOffset == zrk::kLevelHeadBytes) {
    MakeEmptyBands(dataset).Attach();
    return 1;
  }
  LevelBands made = MakeStoreBands(dataset, std::move(file), textOffset);
  if (made.bands.empty()) return 0;
  made.Attach();
  return 1;
}

/// Puts the text in the place of the old one, which ends the file. One that has become shorter is filled up with blanks
/// until the file is cut, so that it can be read at every moment. For one that has become longer room is made first, so
/// that a full disk leaves the old one as it was; a machine that stops just then leaves a text that is refused.
bool ReplaceText(XFile& file, std::int64_t textOffset, const XString& oldText, const XString& text) {
  const std::int64_t oldLength = file.GetLength(), newLength = textOffset + text.GetLength();
  if (text.GetLength() > XfnGetLimits().xmlBytes) return false;
  if (newLength > oldLength && !file.Preallocate(newLength)) {
    file.SetLength(oldLength);
    return false;
  }
  std::string padded = text.AsStdString();
  padded.resize(static_cast<std::size_t>(std::max(oldLength, newLength) - textOffset), ' ');
  if (file.WriteAt(textOffset, padded.data(), static_cast<std::int64_t>(padded.size()))) {
    return file.SetLength(newLength) && file.Flush();
  }
  file.WriteAt(textOffset, oldText.GetText(), oldText.GetLength());
  file.SetLength(oldLength);
  return false;
}

bool IsThematicAt(const XRSFile& dataset, int index) {
  const ZRMBand* const band = dataset.GetBandAt(index);
  return band && band->GetBandType() == kBandTypeThematic;
}

/// Whether the levels of every thematic band have classes of the image. Those of a compatible build have means of class
/// numbers, and nothing but the text tells them apart.
bool HasClasses(const XRSFile& dataset, std::int64_t textOffset, const XString& text) {
  if (textOffset == zrk::kLevelHeadBytes) return true;
  std::optional<std::vector<bool>> told;
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    if (!IsThematicAt(dataset, i)) continue;
    if (!told) told = zrk::ReadLevelClasses(text);
    if (static_cast<std::size_t>(i) >= told->size() || !(*told)[static_cast<std::size_t>(i)]) return false;
  }
  return true;
}

int CheckLevelFile(XRSFile& dataset, const XString& path, XString& err) {
  const XString name = zrk::LevelFileNameOf(path);
  if (!XFile::Exists(name)) return FailWith(err, "There is not a corresponding XLD file");
  XFile file;
  if (!file.Open(name, kReadShared)) return FailWith(err, "Fail to open XLD file");
  std::int64_t textOffset = 0;
  const zrk::LevelHead head = zrk::ReadLevelHead(file, textOffset);
  if (head == zrk::LevelHead::kShort) return 0;
  if (head == zrk::LevelHead::kUnreadable) return FailWith(err, "Fail to load XLD information");
  if (head == zrk::LevelHead::kForeign) return FailWith(err, "Invalid XLD Magic string");
  const XString text = zrk::ReadLevelText(file, textOffset);
  // Statistics and system are taken over with the text, and those of another image must not be.
  if (dataset.GetReadPolicy() == kReadExact) {
    if (!HasClasses(dataset, textOffset, text)) return FailWith(err, kLevelFileHasMeans);
    if (!zrk::IsOfImage(name, textOffset, text, path)) return FailWith(err, kLevelFileIsStale);
  }
  // A text makes the bands of a dataset that has none, but those of a level file are no bands to read.
  XString reason;
  const bool isLoaded = dataset.GetNumOfBands() > 0 && dataset.LoadStringZRM(text, reason, nullptr);
  return isLoaded ? 1 : FailWith(err, "Fail to load XLD information");
}

int UpdateProjections(const XString& name, const XSpatialReference& sr, XString& err) {
  if (!XFile::Exists(name)) return FailWith(err, "There is not a corresponding XLD file");
  XFile file;
  if (!file.Open(name, XFile::kReadWrite | XFile::kShareDenyNone)) return FailWith(err, "Fail to open XLD file");
  std::int64_t textOffset = 0;
  const zrk::LevelHead head = zrk::ReadLevelHead(file, textOffset);
  if (head == zrk::LevelHead::kForeign) return FailWith(err, "Invalid XLD Magic string");
  if (head == zrk::LevelHead::kUnreadable) return FailWith(err, "Fail to load XLD information");
  if (head != zrk::LevelHead::kGood) return 0;
  const XString oldText = zrk::ReadLevelText(file, textOffset);
  if (oldText.IsEmpty()) return FailWith(err, "Fail to load XLD information");
  XString text = oldText, wkt;
  sr.exportToWkt(wkt);
  if (!zrk::ReplaceProjections(text, wkt)) return 0;
  return ReplaceText(file, textOffset, oldText, text) ? 1 : FailWith(err, "Fail to write Data");
}

}  // namespace

namespace zrk {

XString LevelFileNameOf(const XString& path) {
  XString extension = XfnGetFileExt(path);
  extension.MakeUpper();
  if (extension == "XLD") return path;
  return XfnGetFileFolder(path) + XfnGetFileTitle(path) + ".xld";
}

int CheckLevelData(XRSFile& dataset, const XString& path, XString& err) {
  return Fenced(err, [&] { return CheckLevelFile(dataset, path, err); });
}

int CreateLevelData(XRSFile& dataset, const XString& path, XString& err, int levelMode, XThread* thread) {
  if (levelMode == kLevelNone) return 0;
  XRSFile2XLD builder;
  builder.SetXRSFile(&dataset);
  return builder.Save(LevelFileNameOf(path), err, levelMode, thread);
}

int LoadLevelData(XRSFile& dataset, const XString& path, XString& err, int levelMode, XThread* thread) {
  int isGood = CheckLevelData(dataset, path, err);
  if (!isGood && levelMode != kLevelNone) {
    if (levelMode == kLevelAsk && !AskToCreate()) return 0;
    err.Empty();
    isGood = CreateLevelData(dataset, path, err, levelMode, thread);
    if (!isGood && (levelMode == kLevelAsk || levelMode == kLevelBuild)) return 0;
  }
  // What is attached is looked at once more, but not whether it is of these bytes.
  if (!isGood && dataset.GetReadPolicy() == kReadExact) return 0;
  return Fenced(err, [&] { return AttachLevelData(dataset, path, err); });
}

int UpdateLevelSystem(XRSFile& dataset, const XSpatialReference& sr, XString& err) {
  const XString path = dataset.GetFilePath().IsEmpty() ? dataset.GetName() : dataset.GetFilePath();
  return Fenced(err, [&] { return UpdateProjections(LevelFileNameOf(path), sr, err); });
}

bool HasLevelData(XRSFile& dataset) {
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    ZRMBand* const band = dataset.GetBandAt(i);
    if (!band || band->IsKindOf(ZRMBandEPOT::GetRuntimeClassStatic())) continue;
    const ZRMBandDRIO* const source = band->GetLevelSource();
    // A band that shows another one does not pass by that one's level data.
    if (source != band || !source->GetBandXLD()) return false;
  }
  return true;
}

}  // namespace zrk
