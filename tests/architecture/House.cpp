#include "House.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <utility>

namespace fs = std::filesystem;

namespace {

// Rooms of one floor do not see each other. Each folder of bands is a room of its own. Writers lie below the formats,
// whose rows name the writer that saves as them. Tile stores are files and know no bands: the bands over them are
// formats, each in a folder of its own beneath the stores.
const std::map<std::string, int> kFloors = {
    {"base", 0},       {"geo", 1},     {"math", 1},           {"codec", 2},      {"core/failure", 3},
    {"core/model", 3}, {"tiles", 3},   {"core/resample", 4},  {"core/level", 5}, {"core/native", 6},
    {"core/xld", 7},   {"display", 8}, {"core/load", 9},      {"writers", 9},    {"bands", 10},
    {"rpf", 10},       {"hawk", 10},   {"core/dispatch", 11}, {"tools", 12},
};

// Headers of the operating system that the ground floor stands on.
const std::set<std::string> kSystemHeaders = {
    "arpa/inet.h",        "dirent.h",     "dlfcn.h",      "errno.h",    "fcntl.h",
    "ifaddrs.h",          "net/if.h",     "netinet/in.h", "poll.h",     "stdlib.h",
    "sys/file.h",         "sys/ioctl.h",  "sys/mman.h",   "sys/stat.h", "sys/statvfs.h",
    "sys/types.h",        "sys/socket.h", "termios.h",    "unistd.h",   "linux/if_packet.h",
    "netpacket/packet.h", "sys/sysinfo.h"};

bool IsStandard(const std::string& header) {
  return header.find_first_of("./") == std::string::npos;
}

bool IsSource(const fs::path& path) {
  return path.extension() == ".h" || path.extension() == ".cpp";
}

SourceFile ReadSource(const fs::path& root, const fs::path& path) {
  static const std::regex kInclude(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)re");
  SourceFile file;
  file.path = fs::relative(path, root).generic_string();
  std::ifstream stream(path);
  for (std::string line; std::getline(stream, line);) {
    ++file.numLines;
    std::smatch match;
    if (std::regex_match(line, match, kInclude)) file.includes.push_back({match[2], match[1] == "<", file.numLines});
  }
  return file;
}

bool StartsWith(const std::string& text, const std::string& head) {
  return text.compare(0, head.size(), head) == 0;
}

std::string StemOf(const std::string& path) {
  return fs::path(path).stem().string();
}

std::string Place(const SourceFile& file, const IncludeLine& include) {
  return file.path + ":" + std::to_string(include.line);
}

/// The part of a public name behind the family's prefix: "FormatTable" of "XFormatTable".
std::string WithoutFamilyPrefix(const std::string& stem) {
  for (const std::string prefix : {"ZRK", "X"}) {
    if (StartsWith(stem, prefix)) return stem.substr(prefix.size());
  }
  return stem;
}

}  // namespace

int FloorOf(const std::string& room) {
  const bool isFormat = StartsWith(room, "bands/") || StartsWith(room, "tiles/");
  const auto found = kFloors.find(isFormat ? "bands" : room);
  return found == kFloors.end() ? -1 : found->second;
}

House::House(const fs::path& root, std::vector<std::string> bandClasses)
    : root_(root), bandClasses_(std::move(bandClasses)) {
  for (const char* folder : {"include", "src", "tools", "tests", "fuzz", "bench"}) {
    if (!fs::exists(root / folder)) continue;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
      if (entry.is_regular_file() && IsSource(entry.path())) files_.push_back(ReadSource(root, entry.path()));
    }
  }
  std::ranges::sort(files_, {}, &SourceFile::path);
  for (const SourceFile& file : files_) byPath_[file.path] = &file;
}

std::string House::RoomOf(const std::string& path) const {
  if (StartsWith(path, "tools/")) return "tools";
  for (const char* const storey : {"src/core/", "src/bands/", "src/tiles/", "src/"}) {
    if (!StartsWith(path, storey)) continue;
    const std::size_t end = path.find('/', std::string_view(storey).size());
    if (end != std::string::npos) return path.substr(4, end - 4);
  }
  const auto header = byPath_.find(path);
  return StartsWith(path, "include/") && header != byPath_.end() ? RoomOfHeader(*header->second) : "";
}

std::string House::RoomOfHeader(const SourceFile& header) const {
  const std::string stem = StemOf(header.path);
  for (const std::string& name : {stem, WithoutFamilyPrefix(stem)}) {
    for (const SourceFile& file : files_) {
      if (StartsWith(file.path, "src/") && file.path.ends_with("/" + name + ".cpp")) return RoomOf(file.path);
    }
  }
  std::string highest = "base";
  for (const IncludeLine& include : header.includes) {
    if (include.isAngled) continue;
    const std::string room = RoomOf("include/" + include.name);
    if (FloorOf(room) > FloorOf(highest)) highest = room;
  }
  return highest;
}

std::string House::Resolve(const SourceFile& file, const IncludeLine& include) const {
  const std::string beside = fs::path(file.path).parent_path().generic_string() + "/" + include.name;
  for (const std::string& path : {"include/" + include.name, "src/" + include.name, "tools/" + include.name, beside}) {
    if (byPath_.contains(path)) return path;
  }
  return "";
}

Violations House::FindWrongArrows() const {
  Violations violations;
  for (const SourceFile& file : files_) {
    if (StartsWith(file.path, "tests/") || StartsWith(file.path, "fuzz/") || StartsWith(file.path, "bench/")) continue;
    if (file.path == "include/ZRKio.h") continue;
    if (FloorOf(RoomOf(file.path)) < 0) {
      violations.push_back(file.path + " lies in no room");
      continue;
    }
    for (const IncludeLine& include : file.includes) CheckArrow(file, include, violations);
  }
  return violations;
}

void House::CheckArrow(const SourceFile& file, const IncludeLine& include, Violations& violations) const {
  if (include.isAngled) return;
  const std::string target = Resolve(file, include);
  if (target.empty()) {
    violations.push_back(Place(file, include) + " includes " + include.name + ", which is not in the tree");
    return;
  }
  const std::string from = RoomOf(file.path);
  const std::string to = RoomOf(target);
  // A tool includes everything at once, as any caller does.
  const bool isUmbrella = target == "include/ZRKio.h" && from == "tools";
  if (from == to || FloorOf(to) < FloorOf(from) || isUmbrella) return;
  violations.push_back(Place(file, include) + " includes " + include.name + ": from " + from + " to " + to);
}

Violations House::FindBandsThatAreSeen() const {
  Violations violations;
  for (const SourceFile& file : files_) {
    const std::string room = RoomOf(file.path);
    if (room.empty() || file.path == "include/ZRKio.h") continue;
    for (const IncludeLine& include : file.includes) {
      const std::string band = StemOf(include.name);
      const bool isBand = std::ranges::find(bandClasses_, band) != bandClasses_.end();
      const bool isOwn = StartsWith(StemOf(file.path), band);
      const std::string bandRoom = RoomOf("include/" + include.name);
      const bool isOfItsRoom = bandRoom == room;
      const bool isOfTheModel = StartsWith(bandRoom, "core/");  // and no format's alone
      if (isBand && !isOwn && !isOfItsRoom && !isOfTheModel)
        violations.push_back(Place(file, include) + " knows " + band);
    }
  }
  return violations;
}

namespace {

/// Where a format's id or class may be named: in folders of formats, in the table and in the door, whose loaders have
/// names of formats.
bool MayNameFormats(const std::string& path) {
  constexpr const char* kPlaces[] = {"src/bands/",
                                     "src/rpf/",
                                     "src/tiles/",
                                     "src/hawk/",
                                     "src/core/dispatch/FormatTable.cpp",
                                     "src/core/dispatch/XRSFileIO.cpp"};
  return std::ranges::any_of(kPlaces, [&](const char* place) { return StartsWith(path, place); });
}

bool IsOfTheProgram(const std::string& path) {
  return StartsWith(path, "src/") || StartsWith(path, "tools/") || StartsWith(path, "bench/");
}

}  // namespace

Violations House::FindNamedFormats() const {
  // The id of one format, which kFormatNone is not; or a cast to a class of bands.
  static const std::regex kName(R"(\bkFormat[A-Z0-9]+\b|_cast<(const )?ZRMBand[A-Z])");
  Violations violations;
  for (const SourceFile& file : files_) {
    if (!IsOfTheProgram(file.path) || MayNameFormats(file.path)) continue;
    std::ifstream stream(root_ / file.path);
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
      ++number;
      std::smatch match;
      if (std::regex_search(line, match, kName)) {
        violations.push_back(file.path + ":" + std::to_string(number) + " names " + match.str());
      }
    }
  }
  return violations;
}

Violations House::FindForeignHeaders() const {
  Violations violations;
  for (const SourceFile& file : files_) {
    const bool isPublic = StartsWith(file.path, "include/");
    const bool isGround = StartsWith(file.path, "src/base/");
    if (!isPublic && !isGround) continue;
    for (const IncludeLine& include : file.includes) {
      const bool isAllowed = IsStandard(include.name) || (isGround && kSystemHeaders.contains(include.name));
      if (include.isAngled && !isAllowed) violations.push_back(Place(file, include) + " includes " + include.name);
    }
  }
  return violations;
}

Violations House::FindLongFiles(int maxLines) const {
  Violations violations;
  for (const SourceFile& file : files_) {
    if (file.numLines > maxLines) violations.push_back(file.path + " has " + std::to_string(file.numLines) + " lines");
  }
  return violations;
}

Violations House::FindHeadersMissingFrom(const std::string& umbrella) const {
  const auto found = byPath_.find("include/" + umbrella);
  if (found == byPath_.end()) return {"there is no " + umbrella};
  Violations violations;
  for (const SourceFile& file : files_) {
    if (!StartsWith(file.path, "include/") || file.path == found->first) continue;
    const std::string name = file.path.substr(std::string("include/").size());
    if (std::ranges::find(found->second->includes, name, &IncludeLine::name) == found->second->includes.end()) {
      violations.push_back(name + " is missing");
    }
  }
  return violations;
}
