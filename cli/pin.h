// The PIN of a private key or the password at a proxy, from the first line of a file; wiped from memory by the
// destructor.
#pragma once

#include <string>
#include <vector>

namespace tallow::cli {

class Pin {
public:
    /// No PIN.
    Pin() = default;
    /// Throws InputError when the file cannot be read, or its first line is empty, too long or not UTF-8. `what` it
    /// should contain is for the message.
    explicit Pin(const std::string& path, const char* what = "PIN");
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;
    ~Pin();

    /// Null for none.
    const wchar_t* get() const { return text_.empty() ? nullptr : text_.data(); }

private:
    std::vector<wchar_t> text_;
};

}  // namespace tallow::cli
