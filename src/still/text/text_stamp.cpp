#include "still/text/text_stamp.h"

#include <climits>
#include <optional>

#include "base/unique_resource.h"
#include "platform/platform.h"
#include "still/bitmap_info.h"
#include "still/filter_interfaces.h"
#include "still/text/text_layout.h"

namespace cam::still {
namespace {

// An object in use by a device context: it could not be deleted meanwhile.
class Selection {
  public:
    Selection(HDC context, HGDIOBJ object) : dc(context), previous(SelectObject(context, object)) {}
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    ~Selection() {
        if (previous) SelectObject(dc, previous);
    }

  private:
    HDC dc;
    HGDIOBJ previous;
};

// The outline is the text drawn around its own place, which is (1, 1) of the surface.
constexpr POINT kOutlineOffsets[] = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
constexpr POINT kTextOffset = {1, 1};
// The text colour's top byte, which a device wants set.
constexpr DWORD kDeviceColor = 0xFF000000;

class TextStamp {
  public:
    TextStamp(const StillPicture& asked, const Frame& prepared)
        : picture(asked),
          frame(prepared),
          colors(TakeApart(picture.colorWord)),
          dc(CreateCompatibleDC(nullptr)),
          font(dc.get(), picture.textFont),
          brush(CreateSolidBrush(ColorOfCode(colors.background, colors.text))) {
        SetBkMode(dc.get(), TRANSPARENT);
    }

    HRESULT Run() {
        wchar_t* const text = picture.overlayText.get();
        const std::uint32_t lineCount = CountTextLines(text);
        TextLines lines(text);
        for (std::uint32_t index = 0; index < lineCount; ++index) {
            const auto line = lines.Next();
            if (!line) break;
            const auto extent = Measure(*line);
            if (!extent) return kBitmapSectionFailed;
            const auto box = PlaceLine(frame, picture.textPosition, index, lineCount, *extent);
            if (!box) return E_INVALIDARG;
            if (!box->isVisible(frame)) continue;
            if (const HRESULT result = StampLine(*box, DrawnPart(*line))) return result;
        }
        return S_OK;
    }

  private:
    std::optional<TextExtent> Measure(std::wstring_view line) const {
        SIZE size = {0, 0};
        if (!GetTextExtentExPointW(dc.get(), line.data(), static_cast<int>(line.size()), 0, nullptr, nullptr,
                                   &size) &&
            !line.empty()) {
            return std::nullopt;
        }
        return TextExtent{size.cx, size.cy};
    }

    HRESULT StampLine(const TextBox& box, std::wstring_view line) {
        Frame surface;
        const UniqueBitmap bitmap(MakeSurface(box, surface));
        if (!bitmap) return kBitmapSectionFailed;
        CopyToSurface(frame, box, surface);
        {
            // Taking the surface out of the device context also ends drawing that the system may have put
            // off.
            const Selection selected(dc.get(), bitmap.get());
            Draw(box, line);
        }
        CopyFromSurface(frame, box, surface);
        return S_OK;
    }

    // Null when there is none of that size. More bytes than an int counts are not asked for: not every system
    // refuses them.
    HBITMAP MakeSurface(const TextBox& box, Frame& surface) {
        if (box.width <= 0 || box.height <= 0) return nullptr;
        const ULONGLONG stride = RowStride(static_cast<DWORD>(box.width), kBitsPerPixel);
        const ULONGLONG size = stride * static_cast<DWORD>(box.height);
        if (size > INT_MAX) return nullptr;
        const BitmapInfo565 info = MakeBitmapInfo(box.width, box.height);
        void* bits = nullptr;
        const HBITMAP bitmap = CreateDIBSection(dc.get(), reinterpret_cast<const BITMAPINFO*>(&info),
                                                DIB_RGB_COLORS, &bits, nullptr, 0);
        surface = {{static_cast<BYTE*>(bits), static_cast<std::size_t>(size)},
                   box.width,
                   box.height,
                   static_cast<DWORD>(stride)};
        return bitmap;
    }

    void Draw(const TextBox& box, std::wstring_view line) {
        const auto drawLine = [&](const POINT& at) {
            ExtTextOutW(dc.get(), at.x, at.y, 0, nullptr, line.data(), static_cast<UINT>(line.size()),
                        nullptr);
        };
        if (colors.background != StampColorCode::None) {
            const RECT whole = {0, 0, box.width, box.height};
            FillRect(dc.get(), &whole, brush.get());
        }
        if (colors.outline != StampColorCode::None) {
            SetTextColor(dc.get(), ColorOfCode(colors.outline, colors.text));
            for (const POINT& offset : kOutlineOffsets) drawLine(offset);
        }
        SetTextColor(dc.get(), platform::DeviceTextColor(kDeviceColor | colors.text));
        drawLine(kTextOffset);
    }

    const StillPicture& picture;
    const Frame frame;
    StampColors colors;
    UniqueMemoryDc dc;
    Selection font;
    UniqueBrush brush;
};

}  // namespace

HRESULT StampText(StillPicture& picture, const Frame& frame) {
    const HRESULT result = TextStamp(picture, frame).Run();
    if (result == S_OK) picture.overlayText.reset();
    return result;
}

}  // namespace cam::still
