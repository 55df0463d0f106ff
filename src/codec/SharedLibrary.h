#pragma once

#include "XString.h"

#include <memory>
#include <string>
#include <vector>

namespace zrk {

/// A shared library that was loaded while the program runs. It stays loaded until the program ends, since it may have
/// threads of its own.
class SharedLibrary {
 public:
  /// Loads a library. A name with a separator is a path; any other one is looked for as the system's loader does it.
  /// Null, with the reason, where that fails.
  static std::shared_ptr<const SharedLibrary> Load(const std::string& name, XString& reason);

  /// The address of a function or variable that the library exports, or null.
  void* Find(const char* symbol) const;
  /// Sets `function` to the function of the name. False, with the reason, where the library lacks it.
  template <class Function>
  bool Bind(const char* symbol, Function*& function, XString& reason) const {
    function = reinterpret_cast<Function*>(Find(symbol));
    if (!function) reason = XString("it lacks ") + symbol;
    return function != nullptr;
  }
  const std::string& GetPath() const { return path_; }

 private:
  explicit SharedLibrary(void* handle);

  void* handle_;
  std::string path_;
};

/// The paths of all files in the folder that have the name, or the name with a version behind it, as "libA.so.5". The
/// one without a version comes first, and higher versions come before lower ones.
std::vector<std::string> ListLibraries(const std::string& folder, const std::string& name);

/// The same in all folders that the system's loader searches, by what it was told and by itself. Its list of single
/// libraries is not among them: a name without a separator finds what is in that. What was found counts for a second.
std::vector<std::string> ListLoaderLibraries(const std::string& name);

}  // namespace zrk
