// The parser's commands, options and mistakes in words.
#pragma once

#include <string>
#include <vector>

#include "cli/help.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace tallow::cli {

/// The help page of a command. Options stand under their groups, in the order of declaration.
HelpPage helpPageOf(const CLI::App& command);

/// What is wrong with the arguments of `command` that the parser could not place: an unknown option or command, with a
/// suggestion, or one argument too many. `arguments` is not empty. An option is named without its value.
std::string unexpected(const CLI::App& command, const std::vector<std::string>& arguments);

/// Any other mistake in the arguments of `command`, with its remedy.
std::string plainWords(const CLI::App& command, const CLI::ParseError& mistake);

}  // namespace tallow::cli
