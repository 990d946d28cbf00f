// A settings file, and every setting read from it. A file with a mistake must answer no read, and the mistake must be
// one line that names a place in the file.
#include <cstdlib>
#include <string>

#include "platform/support/settings.h"
#include "platform/support/settings_table.h"
#include "tests/support/temp_dir.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Reads {
    int used = 0;
};

// Reads the key as each type.
void read(void* context, const SUPPORT_SETTINGS_KEY* key) {
    auto& reads = *static_cast<Reads*>(context);
    const std::string path = key->path;
    require(path.find_first_of("\n\r") == std::string::npos);
    long number = 0;
    int flag = 0;
    reads.used += support_registry_get_long(path.c_str(), &number) == 0;
    reads.used += support_registry_get_bool(path.c_str(), &flag) == 0;
    require(flag == 0 || flag == 1);
    for (const auto get : {support_registry_get_string, support_registry_get_multi_string}) {
        std::size_t size = 0;
        if (get(path.c_str(), &size, nullptr) == 0) {
            std::string text(size + 1, 'x');
            if (get(path.c_str(), &size, text.data()) == 0) {
                require(text.at(size) == '\0');
                ++reads.used;
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testkit::TempDir folder;
    const std::string file = folder.write("settings.toml", testkit::Bytes(data, data + size));
    const bool isUsable = support_settings_open(file.c_str()) == 0;
    Reads reads;
    static_cast<void>(support_settings_keys(nullptr, read, &reads));
    SUPPORT_SETTINGS_ERROR error{};
    const bool isBroken = support_settings_error(&error) != 0;
    require(isUsable || (isBroken && reads.used == 0));
    if (isBroken) {
        const std::string message = error.message;
        require(!message.empty() && message.find_first_of("\n\r") == std::string::npos);
        reads = {};
        static_cast<void>(support_settings_keys(nullptr, read, &reads));
        require(reads.used == 0);  // also after a value of the wrong type was read
    }
    return 0;
}
