#include "XRSFile.h"

#include "XPath.h"

X_IMPLEMENT_RUNTIME_CLASS(XRSFile, XObject);

namespace {

template <class Element>
Element* At(const std::vector<std::unique_ptr<Element>>& elements, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) return nullptr;
  return elements[static_cast<std::size_t>(index)].get();
}

template <class Element>
void Add(std::vector<std::unique_ptr<Element>>& elements, Element* element) {
  // Owned before the list grows, so that it is not lost where the list can't.
  std::unique_ptr<Element> owned(element);
  if (owned) elements.push_back(std::move(owned));
}

void SetMatrix(std::vector<double>& matrix, const double* values, int numBands) {
  matrix.clear();
  if (!values || numBands <= 0) return;
  const auto count = static_cast<std::size_t>(numBands) * static_cast<std::size_t>(numBands);
  matrix.assign(values, values + count);
}

}  // namespace

XRSFile::XRSFile() = default;

XRSFile::~XRSFile() {
  // A follower may look at its master until its own end, and comes behind it in the list.
  while (!bands_.empty()) bands_.pop_back();
}

void XRSFile::SetFile(XFile* file, int owns) {
  // Attaching the same file again only says anew who owns it.
  if (ownedFile_.get() == file) static_cast<void>(ownedFile_.release());
  ownedFile_.reset(owns ? file : nullptr);
  file_ = file;
}

XString XRSFile::GetFilePath() const {
  return file_ && file_->IsOpen() ? file_->GetFilePath() : filePath_;
}

XString XRSFile::GetFileName() const {
  return XfnGetFileName(GetFilePath());
}

XString XRSFile::GetFileTitle() const {
  return XfnGetFileTitle(GetFilePath());
}

void XRSFile::AddBand(ZRMBand* band) {
  if (!band) return;
  band->SetXRSFile(this);
  Add(bands_, band);
}

ZRMBand* XRSFile::GetBandAt(int index) const {
  return At(bands_, index);
}

void XRSFile::AddVand(ZRMVand* vand) {
  if (!vand) return;
  vand->SetXRSFile(this);
  Add(vands_, vand);
}

ZRMVand* XRSFile::GetVandAt(int index) const {
  return At(vands_, index);
}

void XRSFile::AddROISet(XROI* roi) {
  Add(rois_, roi);
}

XROI* XRSFile::GetROIAt(int index) const {
  return At(rois_, index);
}

void XRSFile::AddGCPSet(tagGCPSets* gcps) {
  Add(gcpSets_, gcps);
}

tagGCPSets* XRSFile::GetGCPSetAt(int index) const {
  return At(gcpSets_, index);
}

void XRSFile::AddSIGSet(XRSSIG* sig) {
  Add(sigs_, sig);
}

XRSSIG* XRSFile::GetSIGAt(int index) const {
  return At(sigs_, index);
}

void XRSFile::SetCorrelationMatrix(const double* values, int numBands) {
  SetMatrix(correlationMatrix_, values, numBands);
}

void XRSFile::SetCovarianceMatrix(const double* values, int numBands) {
  SetMatrix(covarianceMatrix_, values, numBands);
}

bool XRSFile::HasValidStatistics() const {
  return !correlationMatrix_.empty() && correlationMatrix_.front() != kNotSet;
}

void XRSFile::GetBoundRect(double& west, double& east, double& south, double& north) const {
  if (const ZRMBand* first = GetBandAt(0)) first->GetBoundRect(west, east, south, north);
}

double XRSFile::GetXPixelSize() const {
  const ZRMBand* first = GetBandAt(0);
  return first ? first->GetXPixelSize() : 1.0;
}

double XRSFile::GetYPixelSize() const {
  const ZRMBand* first = GetBandAt(0);
  return first ? first->GetYPixelSize() : 1.0;
}

XSpatialReference* XRSFile::GetSR() const {
  ZRMBand* first = GetBandAt(0);
  return first ? first->GetSR() : nullptr;
}
