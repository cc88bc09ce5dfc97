#include "still/text/text_stamp.h"

#include <climits>

#include "base/unique_resource.h"
#include "platform/platform.h"
#include "still/filter_interfaces.h"
#include "still/text/text_layout.h"

namespace cam::still {
namespace {

// An object in use by a device context: it could not be deleted meanwhile.
class Selection {
  public:
    Selection(HDC dc, HGDIOBJ object) : dc_(dc), previous_(SelectObject(dc, object)) {}
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    ~Selection() {
        if (previous_) SelectObject(dc_, previous_);
    }

  private:
    HDC dc_;
    HGDIOBJ previous_;
};

// The outline is the text drawn around its own place, which is (1, 1) of the surface.
constexpr POINT kOutlineOffsets[] = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
constexpr POINT kTextOffset = {1, 1};
// The text colour's top byte, which a device wants set.
constexpr DWORD kDeviceColor = 0xFF000000;

class TextStamp {
  public:
    TextStamp(StillPicture& picture, BYTE* frame)
        : picture_(picture),
          frame_(frame),
          shape_{picture.width, picture.height, picture.stride},
          colors_(TakeApart(picture.colorWord)),
          dc_(CreateCompatibleDC(nullptr)),
          font_(dc_.get(), picture.textFont),
          brush_(CreateSolidBrush(ColorOfCode(colors_.background, colors_.text))) {
        SetBkMode(dc_.get(), TRANSPARENT);
    }

    HRESULT Run() {
        wchar_t* const text = picture_.overlayText.get();
        const std::uint32_t lineCount = CountTextLines(text);
        TextLines lines(text);
        for (std::uint32_t index = 0; index < lineCount; ++index) {
            const wchar_t* line = lines.Next();
            if (!line) break;
            const TextLine length = LengthOfLine(line);
            const auto box =
                PlaceLine(shape_, picture_.textPosition, index, lineCount, Measure(line, length));
            if (!box) return E_INVALIDARG;
            if (!box->isVisible(shape_)) continue;
            if (const HRESULT result = StampLine(*box, line, length)) return result;
        }
        return S_OK;
    }

  private:
    TextExtent Measure(const wchar_t* line, const TextLine& length) const {
        SIZE size = {0, 0};
        GetTextExtentExPointW(dc_.get(), line, static_cast<int>(length.measured), 0, nullptr, nullptr, &size);
        return {size.cx, size.cy};
    }

    HRESULT StampLine(const TextBox& box, const wchar_t* line, const TextLine& length) {
        void* surface = nullptr;
        const UniqueBitmap bitmap(MakeSurface(box, &surface));
        if (!bitmap) return kBitmapSectionFailed;
        CopyToSurface(shape_, frame_, box, static_cast<BYTE*>(surface));
        {
            // Taking the surface out of the device context also ends drawing that the system may have put
            // off.
            const Selection selected(dc_.get(), bitmap.get());
            Draw(box, line, static_cast<UINT>(length.drawn));
        }
        CopyFromSurface(shape_, frame_, box, static_cast<const BYTE*>(surface));
        return S_OK;
    }

    // Null when there is none of that size. More bytes than an int counts are not asked for: not every system
    // refuses them.
    HBITMAP MakeSurface(const TextBox& box, void** bits) {
        if (!picture_.infoHeader || box.width <= 0 || box.height <= 0) return nullptr;
        if (static_cast<ULONGLONG>(SurfaceStride(box.width)) * static_cast<ULONGLONG>(box.height) > INT_MAX)
            return nullptr;
        picture_.infoHeader->header.biWidth = box.width;
        picture_.infoHeader->header.biHeight = box.height;
        return CreateDIBSection(dc_.get(), reinterpret_cast<const BITMAPINFO*>(picture_.infoHeader.get()),
                                DIB_RGB_COLORS, bits, nullptr, 0);
    }

    void Draw(const TextBox& box, const wchar_t* line, UINT characters) {
        const HDC dc = dc_.get();
        if (colors_.background != StampColorCode::None) {
            const RECT whole = {0, 0, box.width, box.height};
            FillRect(dc, &whole, brush_.get());
        }
        if (colors_.outline != StampColorCode::None) {
            SetTextColor(dc, ColorOfCode(colors_.outline, colors_.text));
            for (const POINT& offset : kOutlineOffsets) {
                ExtTextOutW(dc, offset.x, offset.y, 0, nullptr, line, characters, nullptr);
            }
        }
        SetTextColor(dc, platform::DeviceTextColor(kDeviceColor | colors_.text));
        ExtTextOutW(dc, kTextOffset.x, kTextOffset.y, 0, nullptr, line, characters, nullptr);
    }

    StillPicture& picture_;
    BYTE* frame_;
    TextFrame shape_;
    StampColors colors_;
    UniqueMemoryDc dc_;
    Selection font_;
    UniqueBrush brush_;
};

}  // namespace

HRESULT StampText(StillPicture& picture, BYTE* frame) {
    const HRESULT result = TextStamp(picture, frame).Run();
    if (result == S_OK) picture.overlayText.reset();
    return result;
}

}  // namespace cam::still
