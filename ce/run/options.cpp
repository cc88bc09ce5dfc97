#include "run/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>

namespace ce {

namespace {

const char* const kAbout =
    "Runs a Windows CE 5 program for ARM on this machine, or calls one function that a DLL exports.\n"
    "\n"
    "  ce-run [options] PROGRAM.exe [ARGUMENTS]\n"
    "  ce-run [options] LIBRARY.dll EXPORT [ARGUMENTS]\n"
    "\n"
    "An export's arguments are 32-bit numbers, decimal (also negative) or hexadecimal with 0x; anything "
    "else\n"
    "is passed as a pointer to that text in UTF-16. Its result is printed.";

const char* const kExitCodes =
    "Exit code: the program's own (its low 8 bits), 0 after an export has been called, 2 when the command\n"
    "line or a file that it names is refused, 124 at the deadline, 125 when the program faults.";

bool HasEnding(const std::string& path, const std::string& ending) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ending;
}

// What CLI11 left: the image, and everything after it.
void TakeImage(std::vector<std::string> rest, Options& options) {
    if (rest.empty()) throw CLI::RequiredError("a program or a DLL");
    if (rest[0].starts_with("-")) throw CLI::ExtrasError("ce-run", {rest[0]});
    options.image = rest[0];
    rest.erase(rest.begin());
    if (!std::filesystem::is_regular_file(options.image))
        throw CLI::ValidationError(options.image, "there is no such file");
    options.image = std::filesystem::canonical(options.image).string();
    if (HasEnding(options.image, ".dll")) {
        if (rest.empty()) throw CLI::RequiredError("the name of an export after the DLL");
        options.exportName = rest[0];
        rest.erase(rest.begin());
    }
    options.arguments = std::move(rest);
    if (options.folder.empty()) options.folder = std::filesystem::path(options.image).parent_path().string();
}

}  // namespace

std::optional<Options> ReadOptions(int count, char** arguments, int& exitCode) {
    Options options;
    CLI::App app(kAbout, "ce-run");
    app.footer(kExitCodes);
    app.prefix_command();
    app.add_option("--folder", options.folder, "Its files are the device's (default: the image's own folder)")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory);
    app.add_option("--registry", options.registry,
                   "Registry file (.reg, UTF-8 or UTF-16) read before the start")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    app.add_option("--save-registry", options.savedRegistry, "Writes the registry there at the end")
        ->type_name("FILE");
    app.add_option("--scenario", options.scenario,
                   "What the device's camera plays, and which of its calls fail")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    app.add_flag("--trace", options.trace, "Shows each system call on standard error when it returns");
    app.add_option("--deadline", options.deadlineSeconds, "Real time after which the run is ended")
        ->type_name("SECONDS")
        ->check(CLI::Range(1u, 86400u))
        ->capture_default_str();
    app.add_option("--stack", options.stackKilobytes, "Stack of each thread; a device's default is 64 KB")
        ->type_name("KB")
        ->check(CLI::Range(4u, 16384u))
        ->capture_default_str();
    app.add_option("--device-deadline", options.deviceSeconds,
                   "The device's time after which the run is ended (default: never)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1u, 1000000u));
    app.add_option("--seed", options.seed,
                   "Switches threads at random moments as well, the same ones for each seed")
        ->type_name("N");
    app.add_option("--watch", options.watched, "Counts that DLL's calls of the system for the JSON report")
        ->type_name("DLL");
    app.add_option("--fail", options.failing, "Its Nth call of that function fails")
        ->type_name("FUNCTION:N")
        ->needs("--watch");
    app.add_flag("--fast", options.fast, "Does not watch the alignment of accesses: about ten times faster");
    app.add_flag("--time", options.time,
                 "Estimates the cycles that a device would take, caches included; about twice as slow");
    app.add_flag("--quiet", options.quiet, "No report at the end");
    app.add_option("--json", options.json, "Writes the report there")->type_name("FILE");
    try {
        app.parse(count, arguments);
        TakeImage(app.remaining(), options);
        return options;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : kUsageError;
        return std::nullopt;
    }
}

}  // namespace ce
