#include "core/dispatch/Outcome.h"
#include "core/dispatch/VectorLoad.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSpatialReference.h"

#include <memory>
#include <new>

// DXF, DGN and DLG files know no system, so that the caller's is copied over what the load left; NITF vector data may
// have one and gets the caller's first. Shapefiles and native vectors bring their own.

namespace zrk {

ZRMVand* NewVand() {
  return new (std::nothrow) ZRMVand;
}

int LoadVector(const VectorCall& call, const VectorSteps& steps, VandMaker makeVand) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    std::unique_ptr<ZRMVand> vand(makeVand());
    if (!vand) {
      call.err = "Unable to call new ZRMVand()";
      return 0;
    }
    steps.beforeLoad(*vand);
    if (!steps.load(*vand)) return 0;
    steps.afterLoad(*vand);
    call.file->AddVand(vand.release());
    call.file->SetName(call.path);
    call.file->SetFilePath(call.path);
    return 1;
  });
}

namespace {

auto LoadAs(ZRMVand::Kind kind, const VectorCall& call) {
  return [kind, call](ZRMVand& vand) { return vand.LoadFile(call.path, kind, call.err, call.thread); };
}

auto CopySystem(const XSpatialReference* sr) {
  return [sr](ZRMVand& vand) {
    if (sr) vand.SetSR(*sr);
  };
}

int LoadWithoutSystem(ZRMVand::Kind kind, const VectorCall& call, const XSpatialReference* sr) {
  return LoadVector(call, {.load = LoadAs(kind, call), .afterLoad = CopySystem(sr)});
}

}  // namespace
}  // namespace zrk

using zrk::VectorCall;

int XRSFileIO::LoadFileXVC(XRSFile* file, XString path, XString& err, XThread* thread) {
  const VectorCall call{file, path, err, thread};
  return zrk::LoadVector(call, {.load = zrk::LoadAs(ZRMVand::kKindXVC, call)});
}

int XRSFileIO::LoadFileSHP(XRSFile* file, XString path, XString& err, XThread* thread) {
  const VectorCall call{file, path, err, thread};
  return zrk::LoadVector(call, {.load = zrk::LoadAs(ZRMVand::kKindSHP, call)});
}

int XRSFileIO::LoadFileKML(XRSFile* file, XString path, XString& err, XThread* thread) {
  const VectorCall call{file, path, err, thread};
  // KML is in WGS 84 by definition. The dataset's system is that of its first band, and is set along.
  const auto setWgs84 = [file](ZRMVand& vand) {
    XSpatialReference* const sr = file->GetSR();
    if (!sr) return;
    sr->SetWellKnownGeogCS("WGS84");
    vand.SetSR(*sr);
  };
  return zrk::LoadVector(call, {.load = zrk::LoadAs(ZRMVand::kKindKML, call), .afterLoad = setWgs84});
}

int XRSFileIO::LoadFileDXF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return zrk::LoadWithoutSystem(ZRMVand::kKindDXF, {file, path, err, thread}, sr);
}

int XRSFileIO::LoadFileDGN(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return zrk::LoadWithoutSystem(ZRMVand::kKindDGN, {file, path, err, thread}, sr);
}

int XRSFileIO::LoadFileDLG(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  return zrk::LoadWithoutSystem(ZRMVand::kKindDLG, {file, path, err, thread}, sr);
}

int XRSFileIO::LoadFileNITF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread) {
  const VectorCall call{file, path, err, thread};
  return zrk::LoadVector(call, {.beforeLoad = zrk::CopySystem(sr), .load = zrk::LoadAs(ZRMVand::kKindNITF, call)});
}

int XRSFileIO::LoadFileNITFEx(XRSFile* file, XString path, XSpatialReference* sr, XObList& objects, int* numObjects,
                              XString& err, XThread* thread) {
  const auto load = [&](ZRMVand& vand) {
    return vand.LoadFileEx(path, ZRMVand::kKindNITF, objects, numObjects, err, thread);
  };
  return zrk::LoadVector({file, path, err, thread}, {.beforeLoad = zrk::CopySystem(sr), .load = load});
}
