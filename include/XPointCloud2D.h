#pragma once

#include "XArray.h"

namespace Vexorine::ZRL::IO {

/// Points in the plane, in the order in which they were added: an array of records that have the fields `first` and
/// `second`. What `XArray` says of failures and threads holds here.
template <class Point>
class XPointCloud2D : public XArray<Point> {
 public:
  /// A coordinate of a point. An index outside the array fails as in `GetAt`.
  double GetFirst(int index) const { return this->GetAt(index).first; }
  double GetSecond(int index) const { return this->GetAt(index).second; }
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPointCloud2D;
