#pragma once

/// A direction in space. Elevation stores keep the normal of the surface at each post as one; files have it as three
/// floats, one right behind the other.
struct tagXVector3f {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
};
