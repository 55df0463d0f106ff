#include "bands/hfa/HfaFile.h"

#include "bands/hfa/HfaLayout.h"

#include <gdal_frmts.h>
#include <mutex>

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
  return file->handles_.Open(describe, reason) ? file : nullptr;
}

}  // namespace zrk
