// The manual page and the shell's completion, of what the command line's own help says.
#include "manual.h"

#include <CLI/CLI.hpp>

#include <cctype>

namespace camctl {

namespace {

using Commands = std::vector<const CLI::App*>;

Commands CommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

// Roff takes a hyphen for a place to break a line, and a line that begins with a dot or an apostrophe for an
// order.
std::string Roff(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const bool atStart = out.empty() || out.back() == '\n';
        if (atStart && (c == '.' || c == '\'')) out += "\\&";
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out;
}

std::string Upper(std::string text) {
    for (char& c : text) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    return text;
}

// What stands after an option's name; nothing for a flag.
std::string ValueOf(const CLI::Option& option) {
    return option.get_type_size() == 0 ? "" : option.get_type_name();
}

std::string OptionText(const CLI::Option& option) {
    const std::string name = option.get_name(option.get_positional(), !option.get_positional());
    const std::string value = option.get_positional() ? "" : ValueOf(option);
    std::string text = ".TP\n.B " + Roff(name) + "\n" + (value.empty() ? "" : Roff(value) + ". ");
    text += Roff(option.get_description());
    if (!option.get_default_str().empty()) text += " (default: " + Roff(option.get_default_str()) + ")";
    return text + "\n";
}

}  // namespace

std::string ManualPage(const CLI::App& app, const std::string& version) {
    std::string page = ".TH " + Upper(app.get_name()) + " 1 \"\" \"Ocellus " + version + "\"\n.SH NAME\n" +
                       app.get_name() + " \\- " + Roff(app.get_description()) + "\n.SH SYNOPSIS\n.B " +
                       app.get_name() + "\n.I command\n[options]\n.SH COMMANDS\n";
    for (const CLI::App* command : CommandsOf(app)) {
        std::string line = command->get_name();
        std::string options;
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional()) line += " " + option->get_name(true);
            options += OptionText(*option);
        }
        page += ".SS " + Roff(line) + "\n" + Roff(command->get_description()) + ".\n" + options;
    }
    return page + ".SH EXIT STATUS\n" + Roff(app.get_footer()) + "\n";
}

std::string BashCompletion(const CLI::App& app) {
    std::string names, cases, values;
    for (const CLI::App* command : CommandsOf(app)) {
        names += (names.empty() ? "" : " ") + command->get_name();
        std::string options;
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional()) continue;
            const std::string name = option->get_name();
            options += (options.empty() ? "" : " ") + name.substr(name.rfind(',') + 1);
            std::string choices = ValueOf(*option);
            if (choices.find('|') == std::string::npos || values.find(" " + name + ")") != std::string::npos)
                continue;
            for (char& c : choices) c = c == '|' ? ' ' : c;
            values += "        " + name + ") choices=\"" + choices + "\" ;;\n";
        }
        cases += "        " + command->get_name() + ") words=\"" + options + "\" ;;\n";
    }
    return "# Completion of camctl in bash: source this file.\n_camctl() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} words= choices=\n"
           "    case ${COMP_WORDS[COMP_CWORD - 1]} in\n" +
           values +
           "    esac\n"
           "    case ${COMP_WORDS[1]} in\n" +
           cases +
           "    esac\n"
           "    if [ \"$COMP_CWORD\" = 1 ]; then\n        choices=\"" +
           names +
           "\"\n"
           "    elif [ -z \"$choices\" ] && [[ $word == -* ]]; then\n        choices=$words\n    fi\n"
           "    if [ -n \"$choices\" ]; then\n        mapfile -t COMPREPLY < <(compgen -W \"$choices\" -- "
           "\"$word\")\n"
           "    else\n        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n    fi\n}\n"
           "complete -o filenames -F _camctl camctl camctl.exe\n";
}

}  // namespace camctl
