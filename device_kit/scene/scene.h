// What the camera looks at.
#pragma once

#include <memory>
#include <string>

#include "scene/picture.h"

namespace kit {

// Used by one pin's streaming thread; every pin opens a scene of its own.
class Scene {
  public:
    virtual ~Scene() = default;
    // Frame `number` in the given size. The picture is the scene's and stays as it is until the next call.
    virtual const Picture& Frame(unsigned number, int width, int height) = 0;
};

struct SceneSettings {
    enum class Kind { Chart, Picture, Film };
    Kind kind = Kind::Chart;
    std::string path;  // of the picture or film, UTF-8
};

// Null when the file cannot be used; `error` then says why, in words that end a sentence beginning with the
// path. Needs COM for pictures.
std::unique_ptr<Scene> OpenScene(const SceneSettings& settings, std::string& error);

std::unique_ptr<Scene> OpenChart();
std::unique_ptr<Scene> OpenPicture(const std::wstring& path, std::string& error);
std::unique_ptr<Scene> OpenFilm(const std::wstring& path, std::string& error);

}  // namespace kit
