#include "cli/parser_text.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/closest_name.h"

namespace tallow::cli {

namespace {

std::vector<std::string> commandsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* below : command.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(below->get_name());
    }
    return names;
}

std::vector<std::string> optionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

// "-o, --output FILE", or "CERT..." for an argument.
std::string namesOf(const CLI::Option& option) {
    if (option.get_positional()) {
        return option.get_name(true) + (option.get_items_expected_max() > 1 ? "..." : "");
    }
    std::string names;
    for (const std::string& name : option.get_snames()) {
        names += (names.empty() ? "-" : ", -") + name;
    }
    for (const std::string& name : option.get_lnames()) {
        names += (names.empty() ? "--" : ", --") + name;
    }
    return names + (option.get_type_size() > 0 ? ' ' + option.get_type_name() : std::string());
}

// "tallow store add"
std::string pathOf(const CLI::App* command) {
    const CLI::App* const above = command->get_parent();
    return (above == nullptr ? std::string() : pathOf(above) + ' ') + command->get_name();
}

// Of an option that the parser does not know.
std::string unknownOption(const CLI::App& command, const std::string& name) {
    const std::string near = closestName(name, optionsOf(command));
    const std::string said = "unknown option " + name;
    if (!near.empty()) {
        return said + "; did you mean " + near + "?";
    }
    return said + (commandsOf(command).empty() ? "; a file of this name is written ./" + name
                                               : "; options follow the command");
}

}  // namespace

HelpPage helpPageOf(const CLI::App& command) {
    HelpPage page{pathOf(&command), command.get_description(), {}, command.get_footer()};
    for (const CLI::App* action : command.get_subcommands([](const CLI::App*) { return true; })) {
        page.items.push_back({action->get_name(), action->get_description(), "Commands"});
    }
    page.usage += page.items.empty() ? " [OPTION]..." : " COMMAND ...";
    std::vector<std::string> headings = command.get_groups();
    const std::string last = command.get_help_ptr()->get_group();  // declared first
    std::stable_partition(headings.begin(), headings.end(), [&last](const std::string& each) { return each != last; });
    for (const std::string& heading : headings) {
        for (const CLI::Option* option : command.get_options()) {
            if (option->get_group() == heading) {
                const std::string names = namesOf(*option);
                const std::string required = option->get_required() && !option->get_positional() ? " (required)" : "";
                page.items.push_back({names, option->get_description() + required, heading});
                if (option->get_positional()) {
                    page.usage += option->get_required() ? " " + names : " [" + names + "]";
                }
            }
        }
    }
    return page;
}

std::string unexpected(const CLI::App& command, const std::vector<std::string>& arguments) {
    const auto isOption = [](const std::string& word) { return word.size() > 1 && word.front() == '-'; };
    const auto option = std::find_if(arguments.begin(), arguments.end(), isOption);
    if (option != arguments.end()) {
        return unknownOption(command, option->substr(0, option->find('=')));
    }
    const std::string& word = arguments.front();
    const std::vector<std::string> commands = commandsOf(command);
    if (commands.empty()) {
        return word + ": one argument too many; " +
               (command.get_name() == "verify" ? "name a certificate with --cert" : "leave it out");
    }
    const std::string near = closestName(word, commands);
    return "unknown command " + word + "; " +
           (near.empty() ? "the commands are " + joined(commands) : "did you mean " + near + "?");
}

std::string plainWords(const CLI::App& command, const CLI::ParseError& mistake) {
    std::string text = mistake.what();
    const std::string name = text.substr(0, text.find_first_of(": "));
    const CLI::Option* const option = command.get_option_no_throw(name);
    if (dynamic_cast<const CLI::RequiredError*>(&mistake) != nullptr) {
        return option == nullptr ? "a command is missing; give one of " + joined(commandsOf(command))
                                 : name + " is missing; give " + namesOf(*option) + ": " + option->get_description();
    }
    if (dynamic_cast<const CLI::RequiresError*>(&mistake) != nullptr) {
        const std::string other = text.substr(text.rfind(' ') + 1);
        return name + " works only with " + other + "; add " + other + " or leave out " + name;
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&mistake) != nullptr) {
        return name + " and " + text.substr(text.rfind(' ') + 1) + " exclude each other; give one of them";
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&mistake) == nullptr || option == nullptr) {
        return text;
    }
    if (option->get_type_size() == 0) {
        return name + " takes no value; give it alone";
    }
    return text.ends_with("missing") ? name + " needs a value; give " + namesOf(*option)
                                     : name + " is given more than once; give it once";
}

}  // namespace tallow::cli
