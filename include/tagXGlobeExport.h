#pragma once

#include "tagXTileLevel.h"
#include "XString.h"

#include <cstdint>
#include <vector>

/// What an export to a tile store of the globe makes (XGlobeExport.h).
struct tagXGlobeExport {
  bool isElevation = false;  ///< heights as PBE, otherwise pictures as PBI
  int minLevel = 0;          ///< levels of the global grid (XTileGrid.h), inclusive
  int maxLevel = 0;
  double minLon = -180.0;  ///< the extent, in degrees
  double minLat = -90.0;
  double maxLon = 180.0;
  double maxLat = 90.0;
  unsigned long backColor = 0;  ///< of pictures, 0x00BBGGRR: what no composite covers
  bool withNormals = false;     ///< of heights
};

/// What such an export comes to.
struct tagXGlobePlan {
  std::vector<tagXTileLevel> levels;  ///< as they stand in the header, the coarsest first
  std::int64_t numTiles = 0;
  std::int64_t fileBytes = 0;  ///< INT64_MAX for more
};

/// How one call takes part in an export that several calls, processes or machines make.
struct tagXGlobeShare {
  int shard = 1;  ///< the part of this call, counted from 1
  int numShards = 1;
  bool resumes = false;  ///< goes on with what was begun; a shard always does
  XString key;           ///< names the sources, in any words; an export begun with another key is not continued
  /// The name that the file gets when it is whole, in place of another file of that name; empty where it keeps its own.
  /// A call that finds the same export whole under that name has nothing to do.
  XString target;
};

/// How far an export is.
struct tagXGlobeState {
  std::int64_t numTiles = 0;
  std::int64_t numDone = 0;
  std::int64_t numMade = 0;  ///< by this call
  bool isComplete = false;   ///< the file is whole and has its name
  int waitingLevel = -1;     ///< the level that can't be begun before other shards have completed the one it is made of
};
