// The modules of this library: files in the directory `tallow` beside it, loaded on first use and never unloaded.
//
// A module is looked for only there: no search path, no variable of the environment and no current directory may choose
// the code that is loaded. Its own symbols are all bound when it is loaded, so that a library that lacks one is noticed
// then (-z now). RTLD_NOW would bind those of thirty libraries too.
#pragma once

#include <string>

namespace tallow::platform {

// The path of a module, by its name without version, such as "libtallow-http".
std::string moduleFile(const std::string& name);
bool isFileThere(const std::string& file);

struct OpenModule {
    void* handle = nullptr;  // of dlopen; null when there is none
    std::string fault;       // why, phrased to follow the name of the file
};
OpenModule openModule(const std::string& file);

}  // namespace tallow::platform
