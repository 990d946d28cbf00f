#include "tests/scripted_service/scripted_service.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace testkit {
namespace {

ScriptedService* active = nullptr;

// The function that the dynamic linker would choose without the script.
template <class Function>
Function* real(const char* name) {
    void* const symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        throw std::runtime_error(std::string("no real platform to answer ") + name);
    }
    return reinterpret_cast<Function*>(symbol);
}

// Load and unload of the library open and close its trace, long before and after any script.
bool mayComeWithoutScript(std::string_view name) {
    return name.starts_with("support_print_");
}

template <class Result>
Result withoutScript(const char* name) {
    if (!mayComeWithoutScript(name)) {
        ADD_FAILURE() << name << " was called without a script";
    }
    return Result();
}

}  // namespace

ScriptedService::ScriptedService() {
    if (active != nullptr) {
        throw std::logic_error("one script at a time");
    }
    active = this;
}

ScriptedService::~ScriptedService() {
    active = nullptr;
}

void ScriptedService::answerByPlatform() {
#define SCRIPTED(result, name, parameters, arguments) \
    ON_CALL(*this, name).WillByDefault(testing::Invoke(real<result parameters>(#name)));
#include "tests/scripted_service/service_functions.inc"
#undef SCRIPTED
}

}  // namespace testkit

extern "C" {

#define SCRIPTED(result, name, parameters, arguments)     \
    result name parameters {                              \
        if (testkit::active == nullptr) {                 \
            return testkit::withoutScript<result>(#name); \
        }                                                 \
        return testkit::active->name arguments;           \
    }
#include "tests/scripted_service/service_functions.inc"
#undef SCRIPTED

void support_dprint_print_(TSupportDbContext_*, const char* format, const char*, int, const char* function, ...) {
    if (testkit::active == nullptr) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, function);
    char text[1024] = "";
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is above
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    testkit::active->trace(function, text);
}

}  // extern "C"
