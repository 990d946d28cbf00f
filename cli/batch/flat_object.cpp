#include "cli/batch/flat_object.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

namespace tallow::cli {

namespace {

using Json = nlohmann::json;

// Ends the parser at the first value that does not belong, before anything nested is read.
class Reader : public Json::json_sax_t {
public:
    explicit Reader(const FlatRules& rules) : rules_(rules) {}

    bool null() override { return reject("null"); }
    bool boolean(bool) override { return reject("true or false"); }
    bool number_integer(number_integer_t) override { return reject("a negative number"); }
    bool number_unsigned(number_unsigned_t value) override {
        return rules_.mayHaveNumbers ? take(std::to_string(value)) : reject("a number");
    }
    bool number_float(number_float_t, const string_t&) override { return reject("a number that is not whole"); }
    bool string(string_t& value) override { return take(std::move(value)); }
    bool binary(binary_t&) override { return reject("binary data"); }
    bool start_object(std::size_t) override { return std::exchange(isOpen_, true) ? reject("an object") : true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return reject("a list"); }
    bool end_array() override { return true; }
    bool key(string_t& name) override {
        constexpr std::size_t kLongestKey = 64;
        if (name.size() > kLongestKey) {
            fault = "has a key of more than " + std::to_string(kLongestKey) + " octets";
            return false;
        }
        name_ = std::move(name);
        if (rules_.onName) {
            rules_.onName(name_);
        }
        return true;
    }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
        fault = "is malformed JSON at octet " + std::to_string(position);
        return false;
    }

    std::map<std::string, std::string> members;
    std::string fault;

private:
    bool take(std::string value) {
        if (!isOpen_) {
            return reject("a single value");
        }
        if (!members.emplace(name_, std::move(value)).second) {
            fault = "has the key \"" + name_ + "\" twice";
            return false;
        }
        return true;
    }
    bool reject(const char* what) {
        fault = isOpen_ ? "has " + std::string(what) + " as the value of \"" + name_ + "\"; give a text"
                        : "is " + std::string(what) + ", not an object";
        return false;
    }

    const FlatRules& rules_;
    bool isOpen_ = false;
    std::string name_;
};

}  // namespace

std::map<std::string, std::string> flatObject(const std::string& text, const FlatRules& rules) {
    Reader reader(rules);
    if (!Json::sax_parse(text, &reader)) {
        throw NotFlat(reader.fault);
    }
    return std::move(reader.members);
}

std::string quoted(const std::string& text) {
    return Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace tallow::cli
