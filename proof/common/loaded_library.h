// The library as a program uses it that loads it with dlopen: only by names and the functions for C.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace proof {

/// Files of Scene::files, and the address of the responder.
struct LibraryInputs {
    LibraryInputs(const std::string& folder, std::string address)
        : root(contentOf(folder + "/root.pem")),
          ca(contentOf(folder + "/ca.pem")),
          good(contentOf(folder + "/good.pem")),
          response(contentOf(folder + "/response.der")),
          rootCrl(contentOf(folder + "/root.crl")),
          caCrl(contentOf(folder + "/ca.crl")),
          responder(std::move(address)) {}

    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string root, ca, good, response, rootCrl, caCrl, responder;
};

/// Ends the process with status 2 when the library does not have the function.
template <typename Function>
Function* functionOf(void* library, const char* name) {
    auto* const found = reinterpret_cast<Function*>(::dlsym(library, name));
    if (found == nullptr) {
        std::fprintf(stderr, "%s\n", ::dlerror());
        std::exit(2);
    }
    return found;
}

/// Whether the certificate is good by the stored response, or by that of the responder.
inline bool isProven(void* library, const LibraryInputs& in, bool isAsking) {
    void* const checker = functionOf<void*()>(library, "tallow_checker_new")();
    using Add = std::int32_t(void*, const void*, std::size_t);
    const auto add = [&](const char* name, const std::string& what) {
        return functionOf<Add>(library, name)(checker, what.data(), what.size()) == 0;
    };
    bool isGood = add("tallow_checker_add_roots", in.root) && add("tallow_checker_add_crls", in.rootCrl) &&
                  add("tallow_checker_add_crls", in.caCrl) &&
                  functionOf<std::int32_t(void*, const char*)>(library, "tallow_checker_add_responder")(
                      checker, in.responder.c_str()) == 0;
    using Check = void*(const void*, const void*, std::size_t, const void*, std::size_t);
    using Verify = void*(const void*, const void*, std::size_t, const void*, std::size_t, const void*, std::size_t);
    void* const verdict =
        isAsking ? functionOf<Check>(library, "tallow_check")(checker, in.good.data(), in.good.size(), in.ca.data(),
                                                              in.ca.size())
                 : functionOf<Verify>(library, "tallow_verify")(checker, in.good.data(), in.good.size(), in.ca.data(),
                                                                in.ca.size(), in.response.data(), in.response.size());
    isGood = isGood && functionOf<bool(const void*)>(library, "tallow_verdict_is_good")(verdict);
    functionOf<void(void*)>(library, "tallow_verdict_free")(verdict);
    functionOf<void(void*)>(library, "tallow_checker_free")(checker);
    return isGood;
}

}  // namespace proof
