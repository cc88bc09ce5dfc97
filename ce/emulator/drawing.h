// Drawing objects behind handles.
#pragma once

#include <string>
#include <vector>

#include "emulator/process.h"

namespace ce {

struct Drawable : Object {
    const char* Closer() const override { return "DeleteObject"; }
};

struct Bitmap final : Drawable {
    std::string Describe() const override {
        return "bitmap " + std::to_string(width) + " x " + std::to_string(height);
    }
    i32 width = 0, height = 0;  // positive height: rows from the bottom up
    u32 stride = 0;
    u32 bits = 0;  // a section's pixels, in the program's memory
    bool ownsBits = false;
    std::vector<u8> contents;  // a device bitmap's
};

struct Brush final : Drawable {
    std::string Describe() const override { return "brush"; }
    u32 color = 0;
};

// All fonts look like the one below.
struct Font final : Drawable {
    std::string Describe() const override { return "font"; }
};

// What a device context begins with: one pixel.
constexpr u32 kFirstBitmap = 0x000B0001;

struct DeviceContext final : Object {
    explicit DeviceContext(const char* givenBackBy) : closer(givenBackBy) {}
    std::string Describe() const override { return "device context"; }
    const char* Closer() const override { return closer; }
    const char* closer;
    std::shared_ptr<Bitmap> bitmap;
    u32 bitmapHandle = kFirstBitmap;
    u32 fontHandle = 0x000F0001;
    u32 textColor = 0;
    u32 backgroundMode = 2;
};

// The one font: cells of this size, with every character but the blank in a shape of its own.
constexpr u32 kGlyphWidth = 8, kGlyphHeight = 12;
bool GlyphDot(u16 character, u32 x, u32 y);

// One call of ExtTextOutW.
struct TextOut {
    std::u16string text;
    i32 left, top;
    u32 options, color, backgroundMode, font;
    bool operator==(const TextOut&) const = default;
};

// What the program drew, and what it is refused.
struct Drawing {
    std::vector<TextOut> texts;
    bool refuseSections = false;
};

}  // namespace ce
