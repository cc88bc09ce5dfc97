// A raw film (YUV4MPEG2, 8 bits, 4:2:0 or 4:2:2), played in a loop and read frame by frame.
#include "scene/scene.h"

#include <windows.h>

#include <array>
#include <cstdlib>

#include "base/unique_resource.h"

namespace kit {
namespace {

constexpr int kMaxLine = 256;
constexpr int kMaxSide = 8192;

struct FilmHeader {
    int width = 0;
    int height = 0;
    bool is422 = false;
    bool fullRange = false;

    int ChromaWidth() const { return (width + 1) / 2; }
    int ChromaHeight() const { return is422 ? height : (height + 1) / 2; }
    std::size_t FrameBytes() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) +
               2 * static_cast<std::size_t>(ChromaWidth()) * static_cast<std::size_t>(ChromaHeight());
    }
};

bool ParseHeader(const std::string& line, FilmHeader& header) {
    if (line.rfind("YUV4MPEG2 ", 0) != 0) return false;
    std::string chroma = "420jpeg";
    for (std::size_t at = line.find(' '); at != std::string::npos;) {
        const std::size_t end = line.find(' ', at + 1);
        const std::string field = line.substr(at + 1, end == std::string::npos ? end : end - at - 1);
        if (!field.empty()) {
            if (field[0] == 'W') header.width = std::atoi(field.c_str() + 1);
            if (field[0] == 'H') header.height = std::atoi(field.c_str() + 1);
            if (field[0] == 'C') chroma = field.substr(1);
            if (field == "XCOLORRANGE=FULL") header.fullRange = true;
        }
        at = end;
    }
    header.is422 = chroma == "422";
    const bool is420 = chroma == "420" || chroma == "420jpeg" || chroma == "420mpeg2" || chroma == "420paldv";
    return (is420 || header.is422) && header.width > 0 && header.width <= kMaxSide && header.height > 0 &&
           header.height <= kMaxSide;
}

class FilmScene final : public Scene {
  public:
    // False: no film that can be played; what is wrong is in `error`.
    bool Open(const std::wstring& path, std::string& error) {
        file.reset(
            CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        if (!file) {
            error = "cannot be opened; give an existing file";
            return false;
        }
        std::string line;
        if (!ReadLine(0, line) || !ParseHeader(line, header)) {
            error = "is no film that can be played; give a .y4m file of 8 bits, 4:2:0 or 4:2:2";
            return false;
        }
        FindFrames(static_cast<LONGLONG>(line.size()) + 1);
        if (frames.empty()) {
            error = "holds no whole frame; give a film of at least one frame";
            return false;
        }
        planes.resize(header.FrameBytes());
        MakeTables();
        return true;
    }

    const Picture& Frame(unsigned number, int width, int height) override {
        const std::size_t index = number % frames.size();
        if (index == shown && width == picture.width && height == picture.height) return picture;
        // A frame that cannot be read any more leaves the samples that are there; the size is what was asked
        // for.
        if (index != shown && ReadAt(frames[index], planes.data(), planes.size()) == planes.size())
            shown = index;
        picture.Resize(width, height);
        Convert();
        return picture;
    }

  private:
    std::size_t ReadAt(LONGLONG offset, void* buffer, std::size_t size) {
        LARGE_INTEGER position;
        position.QuadPart = offset;
        DWORD read = 0;
        if (!SetFilePointerEx(file.get(), position, nullptr, FILE_BEGIN)) return 0;
        return ReadFile(file.get(), buffer, static_cast<DWORD>(size), &read, nullptr) ? read : 0;
    }

    bool ReadLine(LONGLONG offset, std::string& line) {
        char buffer[kMaxLine];
        const std::size_t read = ReadAt(offset, buffer, sizeof buffer);
        const std::string text(buffer, read);
        const std::size_t end = text.find('\n');
        if (end == std::string::npos) return false;
        line = text.substr(0, end);
        return true;
    }

    // Frame headers may carry parameters, so their places are found by going through the film once.
    void FindFrames(LONGLONG offset) {
        LARGE_INTEGER size = {};
        GetFileSizeEx(file.get(), &size);
        const auto frameBytes = static_cast<LONGLONG>(header.FrameBytes());
        std::string line;
        while (ReadLine(offset, line) && line.rfind("FRAME", 0) == 0) {
            offset += static_cast<LONGLONG>(line.size()) + 1;
            if (offset + frameBytes > size.QuadPart) break;
            frames.push_back(offset);
            offset += frameBytes;
        }
    }

    // BT.601: the terms of each sample value, in 1/256.
    void MakeTables() {
        for (int value = 0; value < 256; ++value) {
            const auto at = static_cast<std::size_t>(value);
            const int chroma = value - 128;
            luma[at] = header.fullRange ? value * 256 : (value - 16) * 298;
            redV[at] = chroma * (header.fullRange ? 359 : 409);
            greenU[at] = chroma * (header.fullRange ? -88 : -100);
            greenV[at] = chroma * (header.fullRange ? -183 : -208);
            blueU[at] = chroma * (header.fullRange ? 454 : 516);
        }
    }

    void Convert() {
        const BYTE* lumaPlane = planes.data();
        const BYTE* blue =
            lumaPlane + static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.height);
        const BYTE* red = blue + static_cast<std::size_t>(header.ChromaWidth()) *
                                     static_cast<std::size_t>(header.ChromaHeight());
        columns.resize(static_cast<std::size_t>(picture.width));
        for (int x = 0; x < picture.width; ++x)
            columns[static_cast<std::size_t>(x)] = (2 * x + 1) * header.width / (2 * picture.width);
        for (int y = 0; y < picture.height; ++y) {
            const int sourceY = (2 * y + 1) * header.height / (2 * picture.height);
            const int chromaY = header.is422 ? sourceY : sourceY / 2;
            const BYTE* lumaRow = lumaPlane + std::ptrdiff_t{sourceY} * header.width;
            const BYTE* blueRow = blue + std::ptrdiff_t{chromaY} * header.ChromaWidth();
            const BYTE* redRow = red + std::ptrdiff_t{chromaY} * header.ChromaWidth();
            Pixel* out = picture.Row(y);
            for (int x = 0; x < picture.width; ++x) {
                const int sourceX = columns[static_cast<std::size_t>(x)];
                const BYTE u = blueRow[sourceX / 2], v = redRow[sourceX / 2];
                const int base = luma[lumaRow[sourceX]] + 128;
                out[x] = Rgb(Clamp255((base + redV[v]) >> 8), Clamp255((base + greenU[u] + greenV[v]) >> 8),
                             Clamp255((base + blueU[u]) >> 8));
            }
        }
    }

    cam::UniqueFileHandle file;
    FilmHeader header;
    std::vector<LONGLONG> frames;  // where each frame's samples begin
    std::vector<BYTE> planes;
    std::size_t shown = static_cast<std::size_t>(-1);
    std::vector<int> columns;
    std::array<int, 256> luma, redV, greenU, greenV, blueU;
    Picture picture;
};

}  // namespace

std::unique_ptr<Scene> OpenFilm(const std::wstring& path, std::string& error) {
    auto film = std::make_unique<FilmScene>();
    if (!film->Open(path, error)) return nullptr;
    return film;
}

}  // namespace kit
