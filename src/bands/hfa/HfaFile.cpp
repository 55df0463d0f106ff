#include "bands/hfa/HfaFile.h"

#include "bands/hfa/HfaLayout.h"
#include "base/Disk.h"

#include <gdal_frmts.h>
#include <mutex>
#include <new>
#include <utility>

namespace zrk {

namespace {

void RegisterHfa() {
  static std::once_flag once;
  std::call_once(once, [] { GDALRegister_HFA(); });
}

constexpr const char* kHfaSwitches[] = {"GDAL_PAM_ENABLED=NO", nullptr};
constexpr GdalFormat kHfaDriver = {"HFA", &RegisterHfa, "The file is no HFA file, or is damaged", false, kHfaSwitches};

}  // namespace

HfaFile::HfaFile(const XString& path, bool isExact) : handles_(kHfaDriver, path, isExact) {}

std::shared_ptr<HfaFile> HfaFile::Open(const XString& path, bool isExact, XString& reason) {
  auto file = std::make_shared<HfaFile>(path, isExact);
  const auto describe = [&](GDALDataset& dataset, XString& why) { return DescribeHfa(dataset, file->layout_, why); };
  if (!file->handles_.Open(describe, reason)) return nullptr;
  std::shared_ptr<DiskFile> opened;
  if (CurrentDisk().Open(path.AsStdString(), {}, opened) == 0)
    file->rows_ = std::make_shared<RowFile>(std::move(opened));
  file->stores_ = std::vector<LazyStore>(file->layout_.layers.size());
  return file;
}

/// False where the disk fails, which may be over at the next read. Without memory for the list of blocks the layer is
/// read through GDAL.
bool HfaFile::Seek(int layer, std::optional<HfaStore>& store) const {
  bool diskFails = false;
  try {
    store = FindHfaStore(rows_, layer, layout_.layers[static_cast<std::size_t>(layer)], diskFails);
  } catch (const std::bad_alloc&) {
  }
  return store || !diskFails;
}

const HfaStore* HfaFile::FindStore(int layer) {
  const auto number = static_cast<std::size_t>(layer);
  if (!rows_ || number >= stores_.size()) return nullptr;
  LazyStore& lazy = stores_[number];
  if (!lazy.isKnown) {
    const std::lock_guard lock(lazy.mutex);
    if (!lazy.isKnown && !Seek(layer, lazy.store)) return nullptr;
    lazy.isKnown = true;
  }
  return lazy.store ? &*lazy.store : nullptr;
}

}  // namespace zrk
