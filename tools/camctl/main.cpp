// camctl: takes pictures, shows what a camera can do, and measures it. docs/camctl.md is its manual.
#include <windows.h>

#include <objbase.h>

#include <CLI/CLI.hpp>

#include <algorithm>

#include "commands.h"
#include "manual.h"
#include "text.h"

namespace {

using namespace camctl;

// Turns what --type is given into its number; what it returns is CLI11's message, empty for none.
std::string ToCameraType(std::string& text) {
    const std::string lower = CLI::detail::to_lower(text);
    if (lower != "dshow" && lower != "imager") return "'" + text + "' is no kind of camera: dshow or imager";
    text = std::to_string(lower == "dshow" ? CAM_TYPE_DSHOW : CAM_TYPE_IMAGER);
    return "";
}

void AddJson(CLI::App* command, bool& asJson) {
    command->add_flag("--json", asJson, "Print the result, or the error, as JSON");
}

void AddCamera(CLI::App* command, CameraOptions& options, bool& asJson) {
    AddJson(command, asJson);
    command->add_option("--type", options.type, "Kind of camera")
        ->transform(CLI::Validator(ToCameraType, ""))
        ->type_name("dshow|imager")
        ->default_str("dshow");
    command->add_option("--camera", options.camera,
                        "Which camera: identity, position, name or part of a name, as in camctl list");
    command->add_option(
        "--scene", options.scene,
        "What the device kit's camera sees: chart, a picture file or a .y4m film (imager: barcode or page)");
    command->add_option("--scenario", options.scenario, "Scenario file of the device kit, or its JSON")
        ->excludes("--scene");
    auto* settings =
        command->add_option("--settings", options.settingsFile, "Settings file to apply (INI or XML)");
    command->add_option("--section", options.settingsSection, "Its section")->needs(settings);
    settings->needs("--section");
    command->add_option("--warm-up", options.warmUpFrames, "Frames of a webcam to let pass after every start")
        ->check(CLI::Range(0, 100000))
        ->capture_default_str();
    command
        ->add_option("--timeout", options.timeoutSeconds, "Seconds to wait for frames and for each picture")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
}

void AddText(CLI::App* command, TextOptions& text) {
    command->add_option("--text", text.text, "Text to stamp into the picture; \\n begins a new line");
    command->add_option("--stamp", text.stamp,
                        "Date and time to stamp, as in \"%Y-%m-%d %H:%M:%S\"; below the text");
    command->add_option("--position", text.position, "Where: top-left to bottom-right, middle-centre")
        ->capture_default_str();
    command->add_option("--text-color", text.textColor, "A colour's name or #rrggbb")->capture_default_str();
    command->add_option("--outline", text.outline, "A colour's name, inverse or none")->capture_default_str();
    command->add_option("--background", text.background, "A colour's name, inverse or none")
        ->capture_default_str();
    command->add_option("--font", text.font, "Name, height in pixels, and optionally bold or italic")
        ->capture_default_str();
}

struct Arguments {
    bool asJson = false;
    CameraOptions camera;
    SnapOptions snap;
    BenchOptions bench;
    double previewSeconds = 5;
    std::string name;
    std::string file;
    std::string section;
    std::string out;
    int mode = 0;
    std::vector<std::string> names;
    bool withFormats = false;
    double watchSeconds = 0;
    bool replace = false;
};

void AddDevices(CLI::App& app, Arguments& a) {
    auto* list = app.add_subcommand("list", "The cameras there are, by position, name and identity");
    list->add_flag("--formats", a.withFormats, "Open each webcam and say what it can send");
    AddJson(list, a.asJson);
    list->callback([&a] { List(a.withFormats, a.asJson); });

    auto* watch = app.add_subcommand("watch", "Tell which webcams come and go, until Ctrl-C");
    watch->add_option("--seconds", a.watchSeconds, "How long; 0: until Ctrl-C")->capture_default_str();
    AddJson(watch, a.asJson);
    watch->callback([&a] { Watch(a.watchSeconds, a.asJson); });

    auto* doctor = app.add_subcommand(
        "doctor", "Look for what keeps cameras from working; each finding with its remedy");
    AddCamera(doctor, a.camera, a.asJson);
    doctor->callback([&a] { Doctor(a.camera, a.asJson); });

    auto* kit = app.add_subcommand("kit", "The device kit as a webcam for every program: kit webcam on|off");
    kit->add_option("WHAT", a.name)->required()->check(CLI::IsMember({"webcam"}));
    kit->add_option("STATE", a.file)->required()->check(CLI::IsMember({"on", "off"}));
    AddJson(kit, a.asJson);
    kit->callback([&a] { SwitchKitWebcam(a.file == "on", a.asJson); });
}

void AddSnap(CLI::App& app, Arguments& a) {
    auto* snap = app.add_subcommand("snap", "Take still pictures; the extension chooses the format");
    snap->add_option("FILE", a.snap.files,
                     ".bmp, .jpg, .png or .tif, one picture each; may be a pattern such as %Y%m%d-%H%M%S.jpg")
        ->required();
    snap->add_option("--mode", a.snap.mode, "JPEG quality level or TIFF threshold")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    snap->add_option("--skip", a.snap.skip, "Preview frames to let pass first")
        ->check(CLI::Range(0L, 100000L))
        ->capture_default_str();
    snap->add_option("--settle", a.snap.settleSeconds,
                     "Wait until the brightness of preview stays what it is, at most so many seconds")
        ->check(CLI::Range(0.0, 60.0))
        ->capture_default_str();
    snap->add_option("--count", a.snap.count, "Pictures of each file; a number is put into their names")
        ->check(CLI::Range(1L, 1000000L))
        ->capture_default_str();
    snap->add_option("--interval", a.snap.intervalSeconds, "Seconds from one to the next")
        ->check(CLI::Range(0.0, 86400.0))
        ->capture_default_str();
    snap->add_option("--size", a.snap.size, "Still resolution, as in 640x480");
    AddText(snap, a.snap.text);
    AddCamera(snap, a.snap.camera, a.asJson);
    snap->callback([&a] { Snap(a.snap, a.asJson); });
}

void AddLooking(CLI::App& app, Arguments& a) {
    auto* info = app.add_subcommand("info", "Library, camera and its still resolutions");
    AddCamera(info, a.camera, a.asJson);
    info->callback([&a] { Info(a.camera, a.asJson); });

    auto* preview = app.add_subcommand("preview", "Run preview and count frames");
    preview->add_option("--seconds", a.previewSeconds, "How long")
        ->check(CLI::Range(0.1, 86400.0))
        ->capture_default_str();
    preview->add_flag("--show", a.camera.showWindow, "Show the window in which preview is drawn");
    AddCamera(preview, a.camera, a.asJson);
    preview->callback([&a] { Preview(a.camera, a.previewSeconds, a.asJson); });

    auto* formats = app.add_subcommand("formats", "Still resolutions");
    AddCamera(formats, a.camera, a.asJson);
    formats->callback([&a] { Formats(a.camera, a.asJson); });

    auto* bench =
        app.add_subcommand("bench", "Measure preview, and trigger to report for each format and size");
    bench->add_option("--pictures", a.bench.pictures, "Pictures a format and size")
        ->check(CLI::Range(1L, 10000L))
        ->capture_default_str();
    bench->add_option("--preview-seconds", a.bench.previewSeconds, "How long preview is watched")
        ->check(CLI::Range(0.5, 3600.0))
        ->capture_default_str();
    bench->add_option("--folder", a.bench.folder, "Where pictures are put while measuring")
        ->capture_default_str();
    AddCamera(bench, a.bench.camera, a.asJson);
    bench->callback([&a] { Bench(a.bench, a.asJson); });
}

void AddProperties(CLI::App& app, Arguments& a) {
    auto* props =
        app.add_subcommand("props", "All properties: name, unit, value, range, step, default, modes");
    AddCamera(props, a.camera, a.asJson);
    props->callback([&a] { Properties(a.camera, a.asJson); });

    auto* get = app.add_subcommand("get", "One property");
    get->add_option("NAME", a.name, "Name or number")->required();
    AddCamera(get, a.camera, a.asJson);
    get->callback([&a] { GetProperty(a.camera, a.name, a.asJson); });

    auto* set = app.add_subcommand("set", "Set a property");
    set->add_option("ASSIGNMENT", a.name, "NAME=VALUE or NAME=VALUE,auto")->required();
    AddCamera(set, a.camera, a.asJson);
    set->callback([&a] { SetProperty(a.camera, a.name, a.asJson); });

    auto* reset = app.add_subcommand("reset", "Set properties to their defaults: those named, or all");
    reset->add_option("NAME", a.names, "Names or numbers");
    AddCamera(reset, a.camera, a.asJson);
    reset->callback([&a] { ResetProperties(a.camera, a.names, a.asJson); });
}

void AddFiles(CLI::App& app, Arguments& a) {
    auto* profiles = app.add_subcommand("profiles", "Camera profiles in an XML configuration file");
    profiles->add_option("FILE", a.file)->required();
    AddJson(profiles, a.asJson);
    profiles->callback([&a] { Profiles(a.file, a.asJson); });

    auto* settings = app.add_subcommand("settings", "The camera settings that a settings file would apply");
    settings->add_option("FILE", a.file, "INI or XML")->required();
    settings->add_option("SECTION", a.section)->required();
    AddJson(settings, a.asJson);
    settings->callback([&a] { Settings(a.file, a.section, a.asJson); });

    auto* save =
        app.add_subcommand("save-settings", "Write the camera's settings into a settings file (INI)");
    save->add_option("FILE", a.file)->required();
    save->add_option("SECTION", a.out)->required();
    save->add_flag("--replace", a.replace, "Replace the file if there is one");
    AddCamera(save, a.camera, a.asJson);
    save->callback([&a] { SaveSettings(a.camera, a.file, a.out, a.replace, a.asJson); });

    auto* convert = app.add_subcommand("convert", "Any picture file to black and white Group 4 TIFF");
    convert->add_option("IN", a.file, "BMP, JPEG, PNG, GIF or TIFF")->required();
    convert->add_option("OUT", a.out, "The .tif file")->required();
    convert
        ->add_option("--mode", a.mode,
                     "Black is what is darker than its surroundings by 3 % (0), 10 % (1) or 20 % (2)")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    AddJson(convert, a.asJson);
    convert->callback([&a] { Convert(a.file, a.out, a.mode, a.asJson); });
}

void AddManual(CLI::App& app, Arguments& a) {
    auto* manual = app.add_subcommand("manual", "This help as a manual page, or as completion for a shell");
    manual->add_option("FORM", a.name)->required()->check(CLI::IsMember({"man", "bash"}));
    AddJson(manual, a.asJson);
    manual->callback([&app, &a] {
        const std::string text = a.name == "man" ? ManualPage(app, OCELLUS_VERSION) : BashCompletion(app);
        PrintResult(a.asJson, {{"ok", true}, {"text", text}}, text);
    });
}

// CLI11 asks for a command before it looks at what stands in its place.
std::string Problem(const CLI::App& app, const CLI::ParseError& error,
                    const std::vector<std::string>& words) {
    if (!app.get_subcommands().empty() || words.empty() || words.back().starts_with('-')) return error.what();
    return "there is no command '" + words.back() + "'";
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    // The library initialises COM for the process; this thread joins it for the tool's own use.
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CLI::App app("Takes pictures with ocellus.dll, shows what a camera can do, and measures it.", "camctl");
    app.require_subcommand(1);
    // A word that begins with a slash is a path: under Wine absolute ones do.
    app.allow_windows_style_options(false);
    app.footer(
        "Exit codes: 0 done, 2 usage, 3 no camera, 4 invalid argument, 5 capture failed, 6 time-out,\n"
        "7 picture reported but no valid file, 8 doctor found a problem.");
    Arguments arguments;
    AddDevices(app, arguments);
    AddSnap(app, arguments);
    AddLooking(app, arguments);
    AddProperties(app, arguments);
    AddFiles(app, arguments);
    AddManual(app, arguments);
    app.set_version_flag("--version", OCELLUS_VERSION, "Print the version");
    std::vector<std::string> words;  // CLI11 takes them last one first
    for (int i = argc - 1; i > 0; --i) words.push_back(ToUtf8(argv[i]));
    // Beforehand: what is wrong may stand before it.
    arguments.asJson = std::find(words.begin(), words.end(), "--json") != words.end();
    try {
        app.parse(std::vector<std::string>(words));
        return static_cast<int>(ExitCode::Ok);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const Diagnosed&) {
        return static_cast<int>(ExitCode::Findings);
    } catch (const CLI::ParseError& error) {
        PrintError(arguments.asJson, {ExitCode::Usage, Problem(app, error, words),
                                      "camctl --help, or camctl COMMAND --help, shows what there is"});
        return static_cast<int>(ExitCode::Usage);
    } catch (const ToolError& error) {
        PrintError(arguments.asJson, error);
        return static_cast<int>(error.exitCode);
    }
}
