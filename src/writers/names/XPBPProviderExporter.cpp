// Named points become a PBP file. The tables are made by `CoordinateSort`; here stand the rules of when a build counts
// and how the file is written.
//
// The two policies part in `Export2PBP`. The compatible one writes under the name of the file, whatever the tables
// hold. The exact one wants tables of all records, and publishes the file when it is whole.

#include "XPBPProviderExporter.h"

#include "base/Fence.h"
#include "base/NewFile.h"
#include "writers/names/CoordinateSort.h"
#include "writers/names/PbpLayout.h"
#include "XFile.h"
#include "XReadPolicy.h"
#include "XThread.h"

#include <climits>
#include <cstring>
#include <new>
#include <span>

namespace Vexorine::ZRL::IO {

namespace {

template <class Value>
std::span<const Value> ValuesOf(const XArray<Value>& array) {
  return {array.begin(), array.end()};
}

template <class Value>
bool WriteValues(XFile& file, std::span<const Value> values) {
  return values.empty() || file.Write(values.data(), static_cast<std::int64_t>(values.size_bytes()));
}

/// A thread that was asked to stop gets no report, and the writing goes on.
void ReportWhileRunning(XThread* thread, double percent) {
  if (thread && thread->GetState() == XThread::kStateRun) thread->CallbackPercent(percent);
}

}  // namespace

XPBPProviderExporter::XPBPProviderExporter() = default;

XPBPProviderExporter::~XPBPProviderExporter() {
  Clear();
}

bool XPBPProviderExporter::Clear() {
  records_.RemoveAll();
  sortedByFirst_.RemoveAll();
  sortedBySecond_.RemoveAll();
  builtCount_ = 0;
  isWhole_ = false;
  return true;
}

int XPBPProviderExporter::AddPName(double first, double second, XString name) {
  if (name.size() > tagPName::kNameBytes || records_.GetSize() == INT_MAX) return 0;
  tagPName record;
  record.first = first;
  record.second = second;
  std::memcpy(record.name, name.data(), name.size());
  return zrk::FencedRead([&] {
    records_.Add(record);
    return 1;
  });
}

bool XPBPProviderExporter::BuildTables(XThread* thread) {
  const std::span<const tagPName> records = ValuesOf(records_);
  return zrk::SortByCoordinate(records, &tagPName::first, thread, sortedByFirst_) &&
         zrk::SortByCoordinate(records, &tagPName::second, thread, sortedBySecond_);
}

void XPBPProviderExporter::BuildPointCloud(char version0, char version1, XThread* thread) {
  version_[0] = version0;
  version_[1] = version1;
  builtCount_ = records_.GetSize();
  isWhole_ = false;
  sortedBySecond_.RemoveAll();
  if (builtCount_ == 0) return;
  try {
    isWhole_ = BuildTables(thread);
  } catch (const std::bad_alloc&) {
    sortedByFirst_.RemoveAll();
    sortedBySecond_.RemoveAll();
    builtCount_ = 0;
  }
}

bool XPBPProviderExporter::IsBuilt() const {
  return isWhole_ && builtCount_ == records_.GetSize();
}

bool XPBPProviderExporter::Export2PBP(XString path, XThread* thread) {
  if (builtCount_ == 0) return false;
  const bool isExact = XfnGetDefaultReadPolicy() == kReadExact;
  return zrk::FencedRead([&] { return isExact ? ExportWhole(path, thread) : ExportUnderName(path, thread); });
}

bool XPBPProviderExporter::ExportUnderName(const XString& path, XThread* thread) const {
  XFile file;
  return file.Open(path, XFile::kReadWrite | XFile::kCreate) && WriteTo(file, thread);
}

bool XPBPProviderExporter::ExportWhole(const XString& path, XThread* thread) const {
  if (!IsBuilt()) return false;
  zrk::NewFile file;
  return file.BeginOrFill(path) && WriteTo(file.File(), thread) && file.Publish();
}

bool XPBPProviderExporter::WriteTo(XFile& file, XThread* thread) const {
  ReportWhileRunning(thread, 5.0);
  const auto head = zrk::FormatPbpHead({{version_[0], version_[1]}, records_.GetSize()});
  if (!file.Write(head.data(), head.size())) return false;
  ReportWhileRunning(thread, 6.0);
  if (!WriteValues(file, ValuesOf(records_))) return false;
  ReportWhileRunning(thread, 34.0);
  if (!WriteValues(file, ValuesOf(sortedByFirst_))) return false;
  ReportWhileRunning(thread, 67.0);
  if (!WriteValues(file, ValuesOf(sortedBySecond_))) return false;
  ReportWhileRunning(thread, 100.0);
  return true;
}

void XPBPProviderExporter::Cancel() {
  cancel_ = 1;
}

int XPBPProviderExporter::CompareByFirst(const tagPName& added, const tagPName& there) {
  return zrk::CompareCoordinates(added.first, there.first);
}

int XPBPProviderExporter::CompareBySecond(const tagPName& added, const tagPName& there) {
  return zrk::CompareCoordinates(added.second, there.second);
}

}  // namespace Vexorine::ZRL::IO
