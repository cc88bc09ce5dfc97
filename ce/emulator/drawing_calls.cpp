// Drawing into 16-bit bitmaps: solid rectangles, and a font whose glyphs are made from the characters' codes,
// so that a picture tells what was drawn where.
#include "emulator/drawing.h"

#include <algorithm>

#include "emulator/windows.h"

namespace ce {

bool GlyphDot(u16 character, u32 x, u32 y) {
    if (character == u' ' || x >= kGlyphWidth - 1 || y >= kGlyphHeight - 1) return false;
    return (character * 2654435761u >> ((x * 5 + y * 3) % 29) & 1) != 0 || x == 0 || y == 0;
}

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kBitFields = 3;
constexpr u32 kStockObjects = 0x000C0000;

u16 To565(u32 color) {
    return static_cast<u16>((color & 0xF8) << 8 | (color >> 8 & 0xFC) << 3 | (color >> 16 & 0xF8) >> 3);
}

// Rows are stored from the bottom up in a bitmap of positive height.
void Put(Process& p, const Bitmap& bitmap, i32 x, i32 y, u16 value) {
    const i32 rows = std::abs(bitmap.height);
    if (x < 0 || y < 0 || x >= bitmap.width || y >= rows) return;
    const i32 row = bitmap.height > 0 ? rows - 1 - y : y;
    p.machine.Write(bitmap.bits + static_cast<u32>(row) * bitmap.stride + 2 * static_cast<u32>(x), value);
}

u32 CreateSection(Process& p, u32 info, u32 bitsAt) {
    if (p.Attachment<Drawing>("drawing").refuseSections) return p.SetLastError(kErrorNotEnoughMemory), 0;
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = p.machine.Read<i32>(info + 4);
    bitmap->height = p.machine.Read<i32>(info + 8);
    if (bitmap->width <= 0 || bitmap->height == 0 || p.machine.Read<u16>(info + 14) != 16 ||
        p.machine.Read<u32>(info + 16) != kBitFields) {
        return p.SetLastError(kErrorInvalidParameter), 0;
    }
    bitmap->stride = static_cast<u32>((bitmap->width + 1) / 2 * 4);
    bitmap->bits = p.heap.Allocate(bitmap->stride * static_cast<u32>(std::abs(bitmap->height)), true);
    bitmap->ownsBits = true;
    if (!bitmap->bits) return p.SetLastError(kErrorNotEnoughMemory), 0;
    if (bitsAt) p.machine.Write(bitsAt, bitmap->bits);
    return p.AddHandle(bitmap);
}

u32 CreateDeviceBitmap(Process& p, i32 width, i32 height, u32 planes, u32 depth, u32 bits) {
    if (width <= 0 || height == 0 || planes != 1 || depth != 16)
        return p.SetLastError(kErrorInvalidParameter), 0;
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = width;
    bitmap->height = height;
    bitmap->stride = static_cast<u32>((width + 1) / 2 * 4);
    const u32 size = bitmap->stride * static_cast<u32>(std::abs(height));
    bitmap->contents.assign(p.machine.Bytes(bits, size), p.machine.Bytes(bits, size) + size);
    return p.AddHandle(bitmap);
}

// Bitmaps only: type, width, height, bytes a row, planes, bits a pixel, pixels.
u32 DescribeObject(Process& p, u32 handle, u32 size, u32 out) {
    constexpr u32 kRecordBytes = 24;
    const auto bitmap = p.FromHandle<Bitmap>(handle);
    if (!bitmap || size < kRecordBytes) return 0;
    const u32 words[] = {0,
                         static_cast<u32>(bitmap->width),
                         static_cast<u32>(std::abs(bitmap->height)),
                         bitmap->stride,
                         16u << 16 | 1u,
                         bitmap->bits};
    for (const u32 word : words) p.machine.Write(std::exchange(out, out + 4), word);
    return kRecordBytes;
}

void BindObjects(Process& p) {
    p.Bind(kLibrary, "CreateCompatibleDC",
           [&p](u32) { return p.AddHandle(std::make_shared<DeviceContext>("DeleteDC")); });
    p.Bind(kLibrary, "GetDC", [&p](u32 window) -> u32 {
        return IsGone(p, window) ? 0 : p.AddHandle(std::make_shared<DeviceContext>("ReleaseDC"));
    });
    p.Bind(kLibrary, "ReleaseDC", [&p](u32, u32 handle) -> u32 {
        return p.FromHandle<DeviceContext>(handle) && p.CloseHandle(handle, "ReleaseDC");
    });
    p.Bind(kLibrary, "DeleteDC", [&p](u32 handle) -> u32 {
        return p.FromHandle<DeviceContext>(handle) && p.CloseHandle(handle, "DeleteDC");
    });
    p.Bind(kLibrary, "CreateSolidBrush", [&p](u32 color) {
        auto brush = std::make_shared<Brush>();
        brush->color = color;
        return p.AddHandle(brush);
    });
    p.Bind(kLibrary, "CreateFontIndirectW", [&p](u32) { return p.AddHandle(std::make_shared<Font>()); });
    p.Bind(kLibrary, "GetStockObject", [](u32 kind) { return kStockObjects + kind; });
    p.Bind(kLibrary, "GetObjectW",
           [&p](u32 handle, u32 size, u32 out) { return DescribeObject(p, handle, size, out); });
    p.Bind(kLibrary, "CreateDIBSection",
           [&p](u32, u32 info, u32, u32 bitsAt, u32, u32) { return CreateSection(p, info, bitsAt); });
    p.Bind(kLibrary, "CreateBitmap", [&p](i32 width, i32 height, u32 planes, u32 depth, u32 bits) {
        return CreateDeviceBitmap(p, width, height, planes, depth, bits);
    });
    p.Bind(kLibrary, "DeleteObject", [&p](u32 handle) -> u32 {
        const auto object = p.FromHandle<Drawable>(handle);
        if (!object) return 0;
        for (const auto& [other, holder] : p.AllHandles()) {
            const auto context = std::dynamic_pointer_cast<DeviceContext>(holder);
            if (!context || (context->bitmapHandle != handle && context->fontHandle != handle)) continue;
            throw Failure("the " + object->Describe() +
                          " was deleted while it is selected into a device context\n" +
                          p.machine.Backtrace());
        }
        if (const auto bitmap = p.FromHandle<Bitmap>(handle); bitmap && bitmap->ownsBits)
            p.heap.Free(bitmap->bits);
        return p.CloseHandle(handle, "DeleteObject");
    });
    p.Bind(kLibrary, "SelectObject", [&p](u32 contextHandle, u32 handle) -> u32 {
        const auto context = p.FromHandle<DeviceContext>(contextHandle);
        if (!context) return p.SetLastError(kErrorInvalidHandle), 0;
        const auto bitmap = p.FromHandle<Bitmap>(handle);
        if (bitmap || handle == kFirstBitmap) {
            context->bitmap = bitmap;
            return std::exchange(context->bitmapHandle, handle);
        }
        return std::exchange(context->fontHandle, handle);
    });
}

void BindPainting(Process& p) {
    p.Bind(kLibrary, "SetTextColor", [&p](u32 handle, u32 color) -> u32 {
        const auto context = p.FromHandle<DeviceContext>(handle);
        return context ? std::exchange(context->textColor, color) : 0xFFFFFFFF;
    });
    p.Bind(kLibrary, "SetBkMode", [&p](u32 handle, u32 mode) -> u32 {
        const auto context = p.FromHandle<DeviceContext>(handle);
        return context ? std::exchange(context->backgroundMode, mode) : 0;
    });
    p.Bind(kLibrary, "GetTextExtentExPointW",
           [&p](u32, u32, i32 count, u32, u32 fitAt, u32, u32 sizeAt) -> u32 {
               if (fitAt) p.machine.Write(fitAt, count);
               p.machine.Write(sizeAt, kGlyphWidth * static_cast<u32>(count));
               p.machine.Write(sizeAt + 4, kGlyphHeight);
               return 1;
           });
    p.Bind(kLibrary, "GetTextMetricsW", [&p](u32 handle, u32 metrics) -> u32 {
        if (!p.FromHandle<DeviceContext>(handle)) return p.SetLastError(kErrorInvalidHandle), 0;
        p.machine.Write(metrics, kGlyphHeight);
        return 1;
    });
    p.Bind(kLibrary, "FillRect", [&p](u32 handle, u32 rectangle, u32 brushHandle) -> u32 {
        const auto context = p.FromHandle<DeviceContext>(handle);
        const auto brush = p.FromHandle<Brush>(brushHandle);
        if (!context || !context->bitmap || !brush) return 0;
        const auto side = [&](u32 index) { return p.machine.Read<i32>(rectangle + 4 * index); };
        for (i32 y = side(1); y < side(3); ++y) {
            for (i32 x = side(0); x < side(2); ++x) Put(p, *context->bitmap, x, y, To565(brush->color));
        }
        return 1;
    });
    // Into windows only, which show nothing.
    p.Bind(kLibrary, "StretchDIBits",
           [&p](u32 handle, u32, u32, u32, u32, u32, u32, u32, i32 rows, u32, u32, u32, u32) -> i32 {
               return p.FromHandle<DeviceContext>(handle) ? rows : 0;
           });
    p.Bind(kLibrary, "ExtTextOutW",
           [&p](u32 handle, i32 left, i32 top, u32 options, u32, u32 text, u32 count, u32) -> u32 {
               const auto context = p.FromHandle<DeviceContext>(handle);
               if (!context || !context->bitmap) return 0;
               TextOut out{
                   {}, left, top, options, context->textColor, context->backgroundMode, context->fontHandle};
               for (u32 i = 0; i < count; ++i)
                   out.text.push_back(static_cast<char16_t>(p.machine.Read<u16>(text + 2 * i)));
               p.Attachment<Drawing>("drawing").texts.push_back(out);
               for (u32 i = 0; i < count; ++i) {
                   const u16 character = p.machine.Read<u16>(text + 2 * i);
                   for (u32 y = 0; y < kGlyphHeight; ++y) {
                       for (u32 x = 0; x < kGlyphWidth; ++x) {
                           if (GlyphDot(character, x, y)) {
                               Put(p, *context->bitmap, left + static_cast<i32>(i * kGlyphWidth + x),
                                   top + static_cast<i32>(y), To565(context->textColor));
                           }
                       }
                   }
               }
               return 1;
           });
}

}  // namespace

void BindDrawing(Process& process) {
    BindObjects(process);
    BindPainting(process);
}

}  // namespace ce
