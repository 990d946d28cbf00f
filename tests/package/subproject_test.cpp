// The library as a part of another project, static and shared, and what is installed from a static build.
#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/package/package_fixture.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Subproject : public PackageFixture {
protected:
    // One static build serves all tests: installed below static/, with a consumer of its own in add/.
    static void SetUpTestSuite() {
        setUpPki();
        configure("add", {"-DBUILD_SHARED_LIBS=OFF", "-DTALLOW_INSTALL=ON"});
        runOrThrow({TALLOW_CMAKE, "--build", file("add"), "-j2"});
        runOrThrow({TALLOW_CMAKE, "--install", file("add"), "--prefix", file("static")});
    }

    static void configure(const std::string& how, const std::vector<std::string>& options = {}) {
        std::vector<std::string> command{TALLOW_CMAKE,
                                         "-GNinja",
                                         "-S",
                                         TALLOW_SOURCE "/tests/package/subproject",
                                         "-B",
                                         file(how),
                                         "-DHOW=" + how,
                                         "-DTALLOW=" TALLOW_SOURCE,
                                         "-DCMAKE_BUILD_TYPE=Release",
                                         "-DTALLOW_WERROR=" TALLOW_WARNINGS_ARE_ERRORS,  // reuses a compiler cache
                                         "-DCMAKE_C_COMPILER=" TALLOW_C_COMPILER,
                                         "-DCMAKE_CXX_COMPILER=" TALLOW_CXX_COMPILER,
                                         "-DCMAKE_CXX_COMPILER_LAUNCHER=" TALLOW_COMPILER_LAUNCHER};
        command.insert(command.end(), options.begin(), options.end());
        runOrThrow(command);
    }

    // The options of the compiler for the one source of the consumer.
    static std::string flagsOfConsumer(const std::string& how) {
        std::istringstream commands(textOf(file(how) + "/compile_commands.json"));
        for (std::string line; std::getline(commands, line);) {
            if (line.find("\"command\"") != std::string::npos &&
                line.find("CMakeFiles/consumer.dir") != std::string::npos) {
                return line.substr(0, line.find(" -o "));
            }
        }
        return "not found";
    }
};

TEST_F(Subproject, LeavesNoFlagAndNoTestInTheProjectAroundIt) {
    configure("fetch");
    for (const char* how : {"add", "fetch"}) {
        SCOPED_TRACE(how);
        const std::string flags = flagsOfConsumer(how);
        EXPECT_THAT(flags, HasSubstr("/tallow"));  // the directory of the headers
        for (const char* flag : {" -W", " -f", " -D_", " -DTALLOW"}) {
            EXPECT_THAT(flags, Not(HasSubstr(flag)));
        }
        EXPECT_THAT(run({TALLOW_CTEST, "--test-dir", file(how), "-N"}).out, HasSubstr("Total Tests: 0"));
    }
    const std::string cache = textOf(file("fetch") + "/CMakeCache.txt");
    EXPECT_THAT(cache, Not(HasSubstr("BUILD_SHARED_LIBS")));
    EXPECT_THAT(cache, HasSubstr("TALLOW_TESTS:BOOL=OFF"));
    // Nothing of the library is installed with the project, unless it asks for it.
    EXPECT_THAT(textOf(file("fetch") + "/cmake_install.cmake") +
                    run({"sh", "-c", "cat '" + file("fetch") + "'/_deps/tallow-build/cmake_install.cmake"}).out,
                Not(HasSubstr("file(INSTALL")));
}

TEST_F(Subproject, ServesStaticProgramsBuiltInEachWay) {
    buildExamples(file("static"), file("examples"), {"example-check", "example-check-c"});
    buildByPkgConfig(file("static"), "check.c", file("pc-check-c"));
    buildByPkgConfig(file("static"), "check.cpp", file("pc-check"));
    const Responder responder = Subproject::responder();
    for (const bool isGood : {true, false}) {
        const std::string leaf = leafNaming(responder, isGood ? good_ : revoked_);
        const std::vector<std::string> trust{file("ca.pem"), file("root.pem"), file("root.crl")};
        for (const char* program :
             {"add/consumer", "examples/example-check", "pc-check", "examples/example-check-c", "pc-check-c"}) {
            SCOPED_TRACE(program);
            const bool isC = std::string_view(program).ends_with("-c");
            const ProcessResult result = isC ? ask({file(program), leaf, trust[0], trust[1], trust[2]})
                                             : ask({file(program), leaf, file("root.pem")});
            EXPECT_EQ(result.exitStatus, isGood ? 0 : 1) << result.err;
            EXPECT_THAT(result.out, HasSubstr(isGood ? " is good " : " is revoked since "));
            EXPECT_THAT(run({"readelf", "-dW", file(program)}).out, Not(HasSubstr("libtallow")));
        }
    }
}

// The library loads the module from there, and from nowhere else.
TEST_F(Subproject, HasTheModuleForHttpBesideTheLibraryWhereverThatIsBuilt) {
    configure("fetch", {"-DCMAKE_BUILD_TYPE=Debug"});
    EXPECT_EQ(textOf(file("fetch") + "/module.txt"), "lib/tallow/libtallow-http.so." TALLOW_VERSION);
}

// The linker takes nothing out of an archive for a weak reference: a program would run without time limits, isolation
// and the rules for redirects, and no other test would notice.
TEST_F(Subproject, StaticLibraryNeedsAllServices) {
    const std::string symbols = run({"nm", "-u", file("static/" TALLOW_LIBDIR "/libtallow.a")}).out;
    EXPECT_THAT(symbols, HasSubstr(" U crypto_begin_check\n"));
    for (const char* prefix : {" w crypto_", " w support_"}) {
        EXPECT_THAT(symbols, Not(HasSubstr(prefix)));
    }
}

}  // namespace
