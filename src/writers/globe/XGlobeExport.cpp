#include "XGlobeExport.h"

#include "base/Fence.h"
#include "writers/globe/GlobeJob.h"

namespace {

int MakeWhole(const XString& path, ZRMCompManager* manager, const tagXGlobeExport& what, XString& error,
              XThread* thread) {
  return zrk::Fenced(error, [&] {
    zrk::GlobeJob job(manager, what, thread);
    return job.Prepare(error) && job.MakeAll(path, error) ? 1 : 0;
  });
}

}  // namespace

int XfnExport2PBI(XString path, ZRMCompManager* manager, int minLevel, int maxLevel, double minLon, double minLat,
                  double maxLon, double maxLat, unsigned long backColor, XString& error, XThread* thread) {
  const tagXGlobeExport what{false, minLevel, maxLevel, minLon, minLat, maxLon, maxLat, backColor, false};
  return MakeWhole(path, manager, what, error, thread);
}

int XfnExport2PBE(XString path, ZRMCompManager* manager, int minLevel, int maxLevel, double minLon, double minLat,
                  double maxLon, double maxLat, int withNormals, XString& error, XThread* thread) {
  const tagXGlobeExport what{true, minLevel, maxLevel, minLon, minLat, maxLon, maxLat, 0, withNormals != 0};
  return MakeWhole(path, manager, what, error, thread);
}

int XfnPlanGlobeExport(const tagXGlobeExport& what, tagXGlobePlan& plan, XString& error) {
  return zrk::Fenced(error, [&] {
    const char* sentence = zrk::FindFaultOfLevels(what);
    const zrk::StorePlan made = sentence ? zrk::StorePlan{} : zrk::MakeStorePlan(what);
    if (!sentence && made.CountTiles() == 0) {
      sentence = what.isElevation ? "Invalid PBE File : NULL" : "Invalid PBI File : NULL";
    }
    if (sentence) {
      error = sentence;
      return 0;
    }
    plan = {made.levels, made.CountTiles(), made.head.fileBytes};
    return 1;
  });
}

int XfnContinueGlobeExport(const XString& path, ZRMCompManager* manager, const tagXGlobeExport& what,
                           const tagXGlobeShare& share, tagXGlobeState& state, XString& error, XThread* thread) {
  return zrk::Fenced(error, [&] {
    zrk::GlobeJob job(manager, what, thread);
    return job.Prepare(error) && job.MakeShare(path, share, state, error) ? 1 : 0;
  });
}
