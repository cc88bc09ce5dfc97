#include "scene/scene.h"
#include "text.h"

namespace kit {

std::unique_ptr<Scene> OpenScene(const SceneSettings& settings, std::string& error) {
    switch (settings.kind) {
        case SceneSettings::Kind::Picture:
            return OpenPicture(Widen(settings.path), error);
        case SceneSettings::Kind::Film:
            return OpenFilm(Widen(settings.path), error);
        case SceneSettings::Kind::Chart:
            break;
    }
    return OpenChart();
}

}  // namespace kit
