// Finds the files of a raster map product by the paths that its table of contents stores. Products come from systems
// that ignore letter case, so a stored path may differ in case from the names on this disk. Each part of a path is
// first looked for as it is stored, and then among the names of its folder in lower case. A product has thousands of
// frames in few folders, and a folder is listed only once.
//
// A stored path is not trusted. It may hold "..", begin at a root, or go through a link that leads elsewhere. Unless
// the caller allows that, the spelling is checked before the disk is asked at all, and links are resolved at each part
// before the next part is looked for. A link can still be changed between this walk and the opening. An object serves
// one thread.

#include "rpf/FolderWalk.h"

#include "base/Disk.h"
#include "XString.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zrk {

namespace {

using Parts = std::vector<std::string>;

bool IsSeparator(char character) {
  return character == '/' || character == '\\';
}

/// Appends the parts between separators. Empty parts and single dots lead nowhere and are left out.
void Split(std::string_view path, Parts& parts) {
  while (!path.empty()) {
    const std::size_t length = std::min(path.find_first_of("/\\"), path.size());
    const std::string_view part = path.substr(0, length);
    if (!part.empty() && part != ".") parts.emplace_back(part);
    path.remove_prefix(std::min(length + 1, path.size()));
  }
}

/// A path from another system may begin with a drive, which is a root that has no separator in front.
bool HasDrive(std::string_view path) {
  return path.size() >= 2 && path[1] == ':';
}

std::string Lower(const std::string& name) {
  XString lower = name;
  lower.MakeLower();
  return lower.AsStdString();
}

}  // namespace

/// A part that is not found ends the search, but not the path: the rest is appended as it is stored, so that a caller
/// can say where the file should be.
std::string FolderWalk::Find(std::string_view path, std::string_view name, bool mayLeave) {
  Parts parts;
  Split(path, parts);
  const std::size_t numFolders = parts.size();
  Split(name, parts);
  if (parts.size() == numFolders) return "";
  const std::string_view beginning = path.empty() ? name : path;
  const bool isRooted = IsSeparator(beginning.front());
  const bool leaves = isRooted || HasDrive(beginning) || std::ranges::find(parts, "..") != parts.end();
  if (leaves && !mayLeave) return "";

  std::string found = isRooted ? "/" : folder_;
  bool isThere = true;
  for (const std::string& part : parts) {
    const std::string known = isThere ? FindName(found, part) : "";
    isThere = !known.empty();
    found += isThere ? known : part;
    // This is asked before anything is looked up below the part, so that nothing outside is touched.
    if (isThere && !mayLeave && !IsWithinFolder(found)) return "";
    found += '/';
  }
  found.pop_back();
  return found;
}

/// The name under which something exists in the folder; empty where nothing does. The stored name is tried first, which
/// saves the listing where its case is right. A name of the listing may be a link that leads nowhere, so that it has to
/// exist as well.
std::string FolderWalk::FindName(const std::string& folder, const std::string& name) {
  if (CurrentDisk().Exists(folder + name)) return name;
  const Names& names = NamesOf(folder);
  const auto alike = names.find(Lower(name));
  return alike != names.end() && CurrentDisk().Exists(folder + alike->second) ? alike->second : "";
}

/// The names in a folder by their lower case. Links give one folder as many paths as a file cares to spell, and so the
/// names are kept by the folder's path without links. A folder that can't be listed has no names, and is not asked
/// again.
const FolderWalk::Names& FolderWalk::NamesOf(const std::string& folder) {
  static const Names kNone;
  std::string resolved;
  if (CurrentDisk().ResolveLinks(folder.empty() ? "." : folder, resolved) != 0) return kNone;
  if (const auto known = names_.find(resolved); known != names_.end()) return known->second;
  Parts listed;
  CurrentDisk().ListFolder(folder.empty() ? "." : folder, listed);
  // Of names that differ in letter case alone the first in the order of bytes is taken.
  std::ranges::sort(listed);
  Names names;
  for (const std::string& name : listed) names.try_emplace(Lower(name), name);
  return names_.emplace(std::move(resolved), std::move(names)).first->second;
}

/// The separator behind the root matters: without it a neighbour whose name begins like the root's would count as
/// inside.
bool FolderWalk::IsWithinFolder(const std::string& path) {
  if (root_.empty() && CurrentDisk().ResolveLinks(folder_.empty() ? "." : folder_, root_) != 0) return false;
  std::string target;
  if (CurrentDisk().ResolveLinks(path, target) != 0) return false;
  return target == root_ || target.starts_with(root_.ends_with('/') ? root_ : root_ + '/');
}

}  // namespace zrk
