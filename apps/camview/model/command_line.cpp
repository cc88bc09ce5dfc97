#include "model/command_line.h"

#include <CLI/CLI.hpp>

#include <nlohmann/json.hpp>

#include <sstream>

#include <ocellus/camera.hpp>

#include "base/file_extension.h"

namespace camview {

namespace {

using ocellus::ToUtf16;
using ocellus::ToUtf8;

// "chart", "barcode", "page", or the picture or film of that name, as the device kit wants it.
std::string ScenarioOf(const std::string& scene) {
    nlohmann::json json = {{"scene", scene}};
    if (scene == "barcode" || scene == "page")
        json = {{"imager", json}};
    else if (scene != "chart") {
        const bool isFilm = cam::SameExtension(cam::FileExtension(ToUtf16(scene).c_str()), L".y4m");
        json["scene"] = {{isFilm ? "film" : "picture", scene}};
    }
    return json.dump();
}

}  // namespace

CommandLineAnswer ParseCommandLine(const std::vector<std::wstring>& words) {
    CommandLineAnswer answer;
    CommandLine& wanted = answer.wanted;
    CLI::App app("Shows the camera's live picture, its controls, and takes pictures.", "camview");
    app.allow_windows_style_options(false);  // a word that begins with a slash is a path
    std::string camera, type, scene, scenario, settings, section, snap, folder, state, log;
    app.add_option("--camera", camera, "Identity, position, name or part of a name, as in camctl list");
    app.add_option("--type", type, "Kind of camera")->check(CLI::IsMember({"dshow", "imager"}));
    app.add_flag("--kit", wanted.kit, "The device kit as camera");
    auto* const sceneOption =
        app.add_option("--scene", scene,
                       "What the kit sees: chart, a picture file or a .y4m film (imager: barcode or page)");
    app.add_option("--scenario", scenario, "Scenario file of the kit, or its JSON")->excludes(sceneOption);
    app.add_option("--settings", settings, "Settings file to apply (INI or XML)");
    app.add_option("--section", section, "Its section, Camera by itself");
    app.add_option("--snap", snap, "Take a picture into this file as soon as there is a live picture");
    app.add_option("--folder", folder, "Folder for pictures");
    app.add_option("--exit-after", wanted.exitAfter, "Seconds after which the program ends by itself")
        ->check(CLI::Range(0.1, 1e6));
    app.add_option("--state", state, "File in which the window's state is kept, in place of the user's own");
    app.add_option("--log", log, "File to which the log is written as it grows");
    app.add_option("--dpi", wanted.dpi, "Dots an inch, in place of the screen's")->check(CLI::Range(72, 480));
    app.add_option("--tab", wanted.tab, "Page that is shown first, from 0")->check(CLI::Range(0, 4));
    std::vector<std::string> last;  // CLI11 takes them last one first
    for (auto word = words.rbegin(); word != words.rend(); ++word) last.push_back(ToUtf8(*word));
    try {
        app.parse(last);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, problem;
        answer.goOn = false;
        const bool isHelp = app.exit(error, out, problem) == 0;
        answer.exitCode = isHelp ? 0 : 2;
        answer.text = isHelp ? out.str() : "camview: " + problem.str();
        return answer;
    }
    wanted.camera = ToUtf16(camera);
    wanted.typeGiven = !type.empty() || scene == "barcode" || scene == "page";
    if (type == "imager" || scene == "barcode" || scene == "page") wanted.type = CAM_TYPE_IMAGER;
    wanted.scenario = ToUtf16(scene.empty() ? scenario : ScenarioOf(scene));
    wanted.kit = wanted.kit || !wanted.scenario.empty();
    wanted.settings = ToUtf16(settings);
    wanted.section = section.empty() && !settings.empty() ? L"Camera" : ToUtf16(section);
    wanted.snap = ToUtf16(snap);
    wanted.folder = ToUtf16(folder);
    wanted.state = ToUtf16(state);
    wanted.log = ToUtf16(log);
    return answer;
}

}  // namespace camview
