#include "platform/crypto/network/module_file.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace tallow::platform {

namespace {

// Where modules should be if memory was exhausted when this library was loaded.
constexpr char kInstalledIn[] = TALLOW_LIBRARY_FOLDER;

struct TextFree {
    void operator()(char* text) const noexcept { std::free(text); }
};

// The dynamic linker knows this library by the name it was opened with, which is relative when the search path is. Such
// a name is made absolute at once: later the current directory may be another one.
char* ownFile = nullptr;

[[gnu::constructor]] void noteOwnFile() noexcept {
    if (Dl_info self{}; ::dladdr(&kInstalledIn, &self) != 0 && self.dli_fname != nullptr) {
        ownFile = self.dli_fname[0] == '/' ? ::strdup(self.dli_fname) : ::realpath(self.dli_fname, nullptr);
    }
}

std::string loaderError(const std::string& file) {
    const char* const error = ::dlerror();
    const std::string text = error == nullptr ? "unknown cause" : error;
    return "cannot be loaded: " + (text.starts_with(file + ": ") ? text.substr(file.size() + 2) : text);
}

}  // namespace

bool isFileThere(const std::string& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0;
}

std::string moduleFile(const std::string& name) {
    const std::string suffix = "/tallow/" + name + ".so." TALLOW_VERSION;
    if (ownFile == nullptr) {
        return kInstalledIn + suffix;
    }
    const auto beside = [&suffix](const std::string& own) { return own.substr(0, own.rfind('/')) + suffix; };
    const std::unique_ptr<char, TextFree> resolved(::realpath(ownFile, nullptr));
    std::string file = beside(resolved ? resolved.get() : ownFile);
    // In a tree of links to single files the directory is beside the link.
    if (const std::string linked = beside(ownFile); !isFileThere(file) && isFileThere(linked)) {
        file = linked;
    }
    return file;
}

OpenModule openModule(const std::string& file) {
    // Opening a pipe would wait.
    if (struct stat status{}; ::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return {nullptr, "is no regular file"};
    }
    void* const module = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    return {module, module == nullptr ? loaderError(file) : std::string()};
}

}  // namespace tallow::platform
