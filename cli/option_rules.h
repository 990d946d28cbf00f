// Rules about options that hold for several of them together, which the parser cannot check.
#pragma once

#include <string>
#include <vector>

#include "cli/options.h"

namespace tallow::cli {

/// The first rule that the options break, in one line; empty when there is none.
std::string mistakeIn(const CommandOptions& options);

/// The files that the options name as inputs, and as outputs; empty texts among them name none.
std::vector<std::string> inputFilesOf(const CommandOptions& options);
std::vector<std::string> outputFilesOf(const CommandOptions& options);
/// The settings file that the options name; empty: the default one is in force.
std::string settingsFileOf(const CommandOptions& options);

/// Whether an output file of the command is standard output, so that its result goes to standard error.
bool isOutputTaken(const CommandOptions& options);

/// A mistake in the use of --help, -h and --version, which count only without other arguments: a file of such a name
/// must not turn a check into a help page with exit status 0. Empty when there is none.
std::string helpMistakeIn(int argc, char** argv);

/// The arguments without the program and without "--", which ends the options: a file after it that begins with a dash
/// becomes "./-name". The parser ends only the options of the whole program there, not those of a command.
std::vector<std::string> withoutMark(int argc, char** argv);

}  // namespace tallow::cli
