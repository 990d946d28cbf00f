// Loads the library and verifies a response, for faults in what happens before a program can catch anything:
//
//   load_library LIBRARY DIRECTORY      the files of Scene::files
//
// Exit status 3 with a line on standard error when the library cannot be loaded or used. It is built twice; the other
// program, start_linked, is linked with the library, which is then loaded before main.
#include <dlfcn.h>

#include <exception>

#include "proof/common/loaded_library.h"

int main(int argc, char** argv) {
    try {
        void* const library = argc == 3 ? ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
        if (library == nullptr) {
            const char* const error = ::dlerror();
            std::fprintf(stderr, "%s\n", error == nullptr ? "the library cannot be loaded" : error);
            return 3;
        }
        if (!proof::isProven(library, proof::LibraryInputs(argv[2], "http://127.0.0.1:1/"), false)) {
            std::fprintf(stderr, "not proven\n");
            return 3;
        }
        return 0;
    } catch (const std::exception& failure) {  // of this program
        std::fprintf(stderr, "%s\n", failure.what());
        return 3;
    }
}
