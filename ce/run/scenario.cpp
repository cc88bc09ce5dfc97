#include "run/scenario.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "emulator/graph/kit_library.h"
#include "emulator/graph/kit_scenario.h"

namespace ce {

void OfferScenario(Process& process, Platform& platform, const std::string& path) {
    std::string text;
    if (!path.empty()) {
        std::ifstream file(path, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(file), {});
        try {
            platform.Play(ReadScenario(text));
        } catch (const std::runtime_error& failure) {
            throw std::runtime_error(path + ": " + failure.what());
        }
    }
    OfferKit(process, platform, text);
}

}  // namespace ce
