#include "XPath.h"

#include <dlfcn.h>
#include <algorithm>

namespace {

/// The place behind the last separator of either kind. Paths of both worlds meet here, since files store paths of other
/// systems.
int NameBegin(const XString& path) {
  return std::max(path.ReverseFind('/'), path.ReverseFind('\\')) + 1;
}

}  // namespace

XString XfnGetFileName(const XString& path) {
  return path.Mid(NameBegin(path));
}

/// Only dots of the name count: a folder may have one too.
XString XfnGetFileTitle(const XString& path) {
  const XString name = XfnGetFileName(path);
  const int dot = name.ReverseFind('.');
  return dot < 0 ? name : name.Left(dot);
}

XString XfnGetFileExt(const XString& path) {
  const XString name = XfnGetFileName(path);
  const int dot = name.ReverseFind('.');
  return dot < 0 ? XString() : name.Mid(dot + 1);
}

XString XfnGetFileFolder(const XString& path) {
  return path.Left(NameBegin(path));
}

/// A program that has the library's objects in itself is the module.
XString XfnGetModulePathUpper() {
  Dl_info module{};
  if (!dladdr(reinterpret_cast<const void*>(&XfnGetModulePathUpper), &module) || !module.dli_fname) return XString();
  const XString folder = XfnGetFileFolder(module.dli_fname);
  return folder.IsEmpty() ? XString(".") : folder.Left(folder.GetLength() - 1);
}
