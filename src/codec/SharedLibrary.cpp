// Loads shared libraries through the system's loader, and finds their functions by name. The loader reports a library
// for another kind of machine as a missing file. So the head of the file is looked at first, if its path is known, and
// the caller gets the true reason.

#include "codec/SharedLibrary.h"

#include "base/Disk.h"

#include <dlfcn.h>
#include <link.h>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <utility>

namespace zrk {

namespace {

using ElfHead = ElfW(Ehdr);

/// The head of this library as it lies in memory. It tells which machine the program runs on.
const ElfHead* OwnHead() {
  Dl_info info{};
  const void* const here = reinterpret_cast<const void*>(&OwnHead);
  return ::dladdr(here, &info) ? static_cast<const ElfHead*>(info.dli_fbase) : nullptr;
}

/// Why the file can't be a library of this machine; empty where it may be one.
XString FindFaultOfHead(const std::string& path) {
  std::shared_ptr<DiskFile> file;
  ElfHead head{};
  if (SystemDisk().Open(path, {}, file) != 0) return "it can't be opened";
  const std::int64_t got = file->ReadAt(0, &head, sizeof head);
  if (got < SELFMAG || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) return "it is no shared library";
  const ElfHead* const own = OwnHead();
  const bool isWhole = got == static_cast<std::int64_t>(sizeof head);
  const bool isOther = own && isWhole &&
                       (head.e_ident[EI_CLASS] != own->e_ident[EI_CLASS] ||
                        head.e_ident[EI_DATA] != own->e_ident[EI_DATA] || head.e_machine != own->e_machine);
  return isOther ? "it is for another kind of machine" : "";
}

/// The folders that the system's loader searches.
std::vector<std::string> ListLoaderFolders() {
  std::vector<std::string> folders;
  void* const program = ::dlopen(nullptr, RTLD_LAZY);
  if (!program) return folders;
  Dl_serinfo size{};
  if (::dlinfo(program, RTLD_DI_SERINFOSIZE, &size) == 0) {
    // The record ends with an array of a length that is known only now.
    std::vector<std::max_align_t> room(size.dls_size / sizeof(std::max_align_t) + 1);
    auto* const info = reinterpret_cast<Dl_serinfo*>(room.data());
    info->dls_size = size.dls_size;
    info->dls_cnt = size.dls_cnt;
    if (::dlinfo(program, RTLD_DI_SERINFO, info) == 0) {
      const Dl_serpath* const paths = info->dls_serpath;
      for (unsigned i = 0; i < info->dls_cnt; ++i) folders.emplace_back(paths[i].dls_name);
    }
  }
  ::dlclose(program);
  return folders;
}

/// The version as one text that sorts by its numbers: each group of digits has ten of them.
std::string SortKey(const std::string& version) {
  constexpr std::size_t kDigits = 10;
  std::string key, digits;
  const auto flush = [&] {
    if (!digits.empty() && digits.size() < kDigits) key.append(kDigits - digits.size(), '0');
    key += digits;
    digits.clear();
  };
  for (const char c : version) {
    if (c >= '0' && c <= '9') {
      digits += c;
    } else {
      flush();
      key += c;
    }
  }
  flush();
  return key;
}

}  // namespace

SharedLibrary::SharedLibrary(void* handle) : handle_(handle) {
  const link_map* map = nullptr;
  if (::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name) path_ = map->l_name;
}

std::shared_ptr<const SharedLibrary> SharedLibrary::Load(const std::string& name, XString& reason) {
  reason = name.find('/') == std::string::npos ? XString() : FindFaultOfHead(name);
  if (!reason.IsEmpty()) return nullptr;
  if (void* const handle = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    return std::shared_ptr<const SharedLibrary>(new SharedLibrary(handle));
  }
  const char* const told = ::dlerror();
  reason = XString("the system can't load it (") + (told ? told : "no reason") + ")";
  return nullptr;
}

void* SharedLibrary::Find(const char* symbol) const {
  return ::dlsym(handle_, symbol);
}

/// The loader knows no other disk than the system's, and so the folder is listed there.
std::vector<std::string> ListLibraries(const std::string& folder, const std::string& name) {
  std::vector<std::string> names;
  if (SystemDisk().ListFolder(folder, names) != 0) return {};
  std::erase_if(names, [&](const std::string& each) { return each != name && !each.starts_with(name + '.'); });
  std::ranges::sort(names, [&](const std::string& one, const std::string& other) {
    if (one == name || other == name) return one == name && other != name;
    return SortKey(one) > SortKey(other);
  });
  for (std::string& each : names) each.insert(0, folder + '/');
  return names;
}

/// Folders of the system hold thousands of files, and each opening of a file asks.
std::vector<std::string> ListLoaderLibraries(const std::string& name) {
  using Clock = std::chrono::steady_clock;
  struct Listed {
    Clock::time_point at;
    std::vector<std::string> paths;
  };
  static std::mutex mutex;
  static std::map<std::string, Listed> listed;
  const std::lock_guard lock(mutex);
  const auto known = listed.find(name);
  const Clock::time_point now = Clock::now();
  if (known != listed.end() && now - known->second.at < std::chrono::seconds(1)) return known->second.paths;
  Listed fresh{now, {}};
  for (const std::string& folder : ListLoaderFolders()) {
    std::ranges::copy(ListLibraries(folder, name), std::back_inserter(fresh.paths));
  }
  return (listed[name] = std::move(fresh)).paths;
}

}  // namespace zrk
