#pragma once

#include "tagXGlobeExport.h"
#include "XExport.h"
#include "XString.h"

class XThread;
class ZRMCompManager;

// Exports of what a manager's composites show, or of their heights, as pyramids of tiles of the globe: pictures as PBI
// (XPBIFile.h), heights as PBE (XPBEFile.h). The manager's system has to be geographic, in degrees. Composites of other
// systems are warped on the way.
//
// All functions return 1; or 0 with the reason in `error`. If the thread was asked to stop, `error` stays as it was.
// The thread may be null. It is told the percentage and asked for a stop at each tile. As many threads make tiles as
// `XfnSetWorkerCount` grants, and the bytes are the same for any number. Memory does not grow with the extent.
//
// Where a band's read policy is exact (XReadPolicy.h), a source that can't be read fails the export. Otherwise a
// picture goes without the composite, and a tile of heights is zero.
//
// Sentences of all of them, in the order in which they are looked for:
//   "Invalid ZRM composite manager"                  the manager is null
//   "Invalid output data level"                      a level is negative
//   "Invalid spatial reference : NULL"               the manager has no system
//   "Invalid spatial reference : Not geographic"     it is another one, or empty
//   "Number of output level must be at least 1."     the first level is above the last one

/// Makes a PBI of version 1.0 with tiles of 256 by 256 pixels in DXT1. Every level covers the tiles of `minLevel` that
/// the extent touches. A corner on an edge counts as lying in the tile east and north of it. A level more than eight
/// above `minLevel` lacks the last row and column of its tiles. Tiles of `maxLevel` show the composites over
/// `backColor`, 0x00BBGGRR, the first on top. Those of each other level are means of the level above, as they are read
/// back from the file. Levels stand in the file from the coarsest on and are made from the finest on.
///
/// A file of the name is replaced. What was written stays after a failure and after a stop. Further sentences:
///   "Fail to create backbuffer for exporting PBI", "Fail to resize backbuffer for exporting PBI"    no memory
///   "Invalid PBI File : NULL"                        the extent holds no tile
///   "Fail to crate PBI file"                         spelled so: the file can't be made, has no room on the disk, or
///                                                    its header has no room for so many levels
///   "Fail to allocate PBI output data memory"
///   "A tile of the finer level can't be read"        in the exact policy; otherwise it counts as black
///   "Fail to write tiles to the file"
ZRKIO_API int XfnExport2PBI(XString path, ZRMCompManager* manager, int minLevel, int maxLevel, double minLon,
                            double minLat, double maxLon, double maxLat, unsigned long backColor, XString& error,
                            XThread* thread);

/// Makes a PBE of version 1.2, or with normals of version 2.0, with tiles of 31 by 31 posts. Each level has the tiles
/// that the extent touches. A post is the height of band 0 of the first composite that has one at its place, as its
/// nearest sample; 0 where none has. The order of work is that of the file: levels from `minLevel` on, rows from the
/// south, columns from the west. A tile that does not lie wholly within the extent is zero, and so are its normals. An
/// extent that ends on edges of tiles of `minLevel` has no such tile.
///
/// Normals are of unit length and point outward in earth-centred coordinates (XEarthCentred.h). They come from central
/// differences, are the same in all tiles that share a post, across longitude 180 too, and are the axis at the poles.
///
/// A file of the name is replaced. What was written stays after a failure and after a stop. Further sentences:
///   "Fail to create mosaic DEM data band"            no composite has heights, or the extent has none or too many
///                                                    posts of `maxLevel`
///   "Invalid PBE File : NULL"                        the extent holds no tile
///   "Fail to crate PBE file"                         spelled so: the file can't be made, or has no room on the disk
///   "Invalid PBE File Information"                   a header has no room for so many levels
///   "Fail to allocate PBI output data memory"        spelled so for heights too
///   "Fail to allocate PBE output norm memory"        goes to the message box (XMessageBox.h), and `error` stays as it
///                                                    is; in the exact policy it comes as the others
///   "Fail to write tiles to the file"
ZRKIO_API int XfnExport2PBE(XString path, ZRMCompManager* manager, int minLevel, int maxLevel, double minLon,
                            double minLat, double maxLon, double maxLat, int withNormals, XString& error,
                            XThread* thread);

/// Works out the levels, the number of tiles and the bytes of an export, without a file or a source. Returns 1, or 0
/// for invalid levels, with their sentence, and for an extent without a tile.
ZRKIO_API int XfnPlanGlobeExport(const tagXGlobeExport& what, tagXGlobePlan& plan, XString& error);

/// Makes an export, or a share of it, that can be continued after a failure, a stop or a crash. The file has all its
/// room from the beginning. A record beside it, PATH.done, knows the tiles that are done; it stays until the caller
/// removes it.
///
/// With `share.target` the whole file gets that name, on the disk and in one step. A process that is killed at any
/// moment leaves either the whole file, or a file and a record that a later call continues. The record is removed when
/// the file is whole. The record of a shared export stays, without its tiles, so that a late shard recognizes the file
/// by its time and its key. A record of a whole file of other sources does not prevent a new export. An export of one
/// process in which no tile was made leaves nothing.
///
/// Shards are parts of the work that any processes on any machines may make at any time and in any order, with the same
/// order, key and number of shards. A level of pictures can be begun when the finer one is complete. A shard that
/// has made its part of that level ends with 1, and `state.waitingLevel` tells what is left for a later call. A call
/// that could not make a single tile for that reason fails. The file is that of a single run, byte by byte, when
/// `state.isComplete` is true; all of it is on the medium then.
///
/// Without shards and without `share.resumes` the export begins anew. Sentences besides those above:
///   "The unfinished file was begun with other sources or options"
///   "Another process is making the file, or there can be no record beside it"
///   "Fail to write the record of tiles that are done", "Fail to read the record of tiles that are done"
///   "Level N is made of level M, which other shards have not completed"
///   "There is no such shard"                         the number is not among 1 to `share.numShards`
///   "The unfinished file can't be opened again", "The finished file can't take the name of its target"
ZRKIO_API int XfnContinueGlobeExport(const XString& path, ZRMCompManager* manager, const tagXGlobeExport& what,
                                     const tagXGlobeShare& share, tagXGlobeState& state, XString& error,
                                     XThread* thread);
