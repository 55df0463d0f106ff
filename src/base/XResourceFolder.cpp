#include "XResourceFolder.h"

#include "base/ResourceFolder.h"
#include "XPath.h"

#include <mutex>

namespace {

struct ResourceSetting {
  std::mutex mutex;
  XString folder;
  unsigned generation = 0;
};

/// It is never destroyed, because bands may be made until the program ends.
ResourceSetting& TheResources() {
  static auto& setting = *new ResourceSetting;
  return setting;
}

}  // namespace

XString XfnGetResourceFolder() {
  ResourceSetting& setting = TheResources();
  const std::scoped_lock lock(setting.mutex);
  return setting.folder.IsEmpty() ? XfnGetModulePathUpper() + "/resource" : setting.folder;
}

void XfnSetResourceFolder(const XString& folder) {
  ResourceSetting& setting = TheResources();
  const std::scoped_lock lock(setting.mutex);
  setting.folder = folder;
  ++setting.generation;
}

unsigned zrk::GetResourceGeneration() {
  ResourceSetting& setting = TheResources();
  const std::scoped_lock lock(setting.mutex);
  return setting.generation;
}
