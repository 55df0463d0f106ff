#include "geo/GdalMemory.h"

#include "geo/GdalScope.h"

#include <cpl_vsi.h>
#include <cstdio>
#include <utility>

namespace zrk {

GdalMemoryFile::GdalMemoryFile() {
  // The address is part of the name, because no two objects that live at the same time share one.
  char name[64];
  std::snprintf(name, sizeof name, "/vsimem/zrkio-geokeys-%p.tif", static_cast<void*>(this));
  name_ = name;
}

GdalMemoryFile::GdalMemoryFile(std::vector<unsigned char> bytes) : GdalMemoryFile() {
  bytes_ = std::move(bytes);
  // GDAL keeps the file under its name when the handle is closed. The bytes stay ours.
  if (VSILFILE* const file = VSIFileFromMemBuffer(GetName(), bytes_.data(), bytes_.size(), FALSE)) VSIFCloseL(file);
}

GdalMemoryFile::~GdalMemoryFile() {
  const QuietGdal quiet;
  VSIUnlink(GetName());
}

std::span<const unsigned char> GdalMemoryFile::GetBytes() const {
  vsi_l_offset count = 0;
  const GByte* const bytes = VSIGetMemFileBuffer(GetName(), &count, FALSE);
  if (!bytes) return {};
  return {bytes, static_cast<std::size_t>(count)};
}

}  // namespace zrk
