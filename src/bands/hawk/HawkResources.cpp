#include "bands/hawk/HawkResources.h"

#include "base/ResourceFolder.h"
#include "XResourceFolder.h"

#include <mutex>

namespace zrk {
namespace {

std::shared_ptr<HawkGrid> OpenResource(const char* name, double lowest) {
  auto file = std::make_unique<XRSFile>();
  XString err;
  const XString path = XfnGetResourceFolder() + "/" + name;
  return file->LoadFileZRM(path, err, nullptr) ? HawkGrid::Make(std::move(file), lowest) : nullptr;
}

struct Installed {
  std::mutex mutex;
  bool isOpened = false;
  unsigned generation = 0;
  HawkTerrain terrain;
};

}  // namespace

/// What is shared is never destroyed, because bands of static objects may outlive it.
HawkTerrain GetInstalledTerrain() {
  static auto& installed = *new Installed;
  const std::scoped_lock lock(installed.mutex);
  const unsigned generation = GetResourceGeneration();
  if (!installed.isOpened || installed.generation != generation) {
    installed.terrain = {OpenResource("korea_dem.zrm", kLowestTerrain), OpenResource("WW15MGH.zrm", kLowestGeoid)};
    installed.generation = generation;
    installed.isOpened = true;
  }
  return installed.terrain;
}

}  // namespace zrk
