#pragma once

/// A place in a plane, or a corner of a range of it.
struct tagXVector2 {
  double x = 0.0;
  double y = 0.0;
};
