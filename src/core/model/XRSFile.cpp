// A dataset: the owner of its bands, vector sets, regions, control points and signatures, and mostly of the open file
// that its bands read. What is added belongs to the dataset from then on, also where adding it fails.
//
// The order in which all this ends matters. Followers go before their masters, and all bands before the file. Questions
// about the georeference are answered by the first band, as all bands of a dataset are taken to lie in one place. A
// dataset is filled by one thread; afterwards several may ask it.

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
  // The element is owned before the list grows, so that it is not lost where memory runs out.
  std::unique_ptr<Element> owned(element);
  if (owned) elements.push_back(std::move(owned));
}

/// A matrix has a row and a column for each band. Whatever can't be one leaves none, so that no old values stay behind.
void SetMatrix(std::vector<double>& matrix, const double* values, int numBands) {
  matrix.clear();
  if (!values || numBands <= 0) return;
  const auto count = static_cast<std::size_t>(numBands) * static_cast<std::size_t>(numBands);
  matrix.assign(values, values + count);
}

}  // namespace

XRSFile::XRSFile() = default;

XRSFile::~XRSFile() {
  // A follower may look at its master until its own end. It comes behind it in the list, and so the list is emptied
  // from the back.
  while (!bands_.empty()) bands_.pop_back();
}

void XRSFile::SetFile(XFile* file, int owns) {
  // Attaching the same file again only tells anew who owns it.
  if (ownedFile_.get() == file) static_cast<void>(ownedFile_.release());
  ownedFile_.reset(owns ? file : nullptr);
  file_ = file;
}

/// An open file knows its path best. The stored one serves datasets that hold no open file themselves.
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

/// The first value stands for the whole matrix, which is filled at once.
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
