// What the lists of the Picture page offer.
#pragma once

#include <windows.h>

#include <ocellus/cam_text.hpp>

#include "model/texts.h"

namespace camview {

struct PictureFormat {
    Text name;
    const wchar_t* extension;
    bool hasQuality;
    bool hasThreshold;
};
inline constexpr PictureFormat kPictureFormats[] = {
    {Text::FormatBmp, L".bmp", false, false},
    {Text::FormatJpeg, L".jpg", true, false},
    {Text::FormatPng, L".png", false, false},
    {Text::FormatTiff, L".tif", false, true},
};

struct PositionChoice {
    Text name;
    ocellus::TextPosition position;
};
inline constexpr PositionChoice kPositions[] = {
    {Text::TopLeft, ocellus::TextPosition::TopLeft},
    {Text::TopCentre, ocellus::TextPosition::TopCentre},
    {Text::TopRight, ocellus::TextPosition::TopRight},
    {Text::MiddleLeft, ocellus::TextPosition::MiddleLeft},
    {Text::Middle, ocellus::TextPosition::MiddleCentre},
    {Text::MiddleRight, ocellus::TextPosition::MiddleRight},
    {Text::BottomLeft, ocellus::TextPosition::BottomLeft},
    {Text::BottomCentre, ocellus::TextPosition::BottomCentre},
    {Text::BottomRight, ocellus::TextPosition::BottomRight},
};

struct ColorChoice {
    Text name;
    COLORREF color;
};
inline constexpr ColorChoice kTextColors[] = {
    {Text::White, RGB(255, 255, 255)},  {Text::Black, RGB(0, 0, 0)},      {Text::Grey, RGB(128, 128, 128)},
    {Text::Silver, RGB(192, 192, 192)}, {Text::Red, RGB(255, 0, 0)},      {Text::Magenta, RGB(255, 0, 255)},
    {Text::Orange, RGB(255, 165, 0)},   {Text::Yellow, RGB(255, 255, 0)}, {Text::Brown, RGB(165, 42, 42)},
    {Text::Green, RGB(0, 255, 0)},      {Text::Blue, RGB(0, 0, 255)},     {Text::Cyan, RGB(0, 255, 255)},
    {Text::Violet, RGB(238, 130, 238)},
};

struct StampChoice {
    Text name;
    ocellus::StampColor code;
    COLORREF color;
};
inline constexpr StampChoice kStampColors[] = {
    {Text::NoChoice, ocellus::StampColor::None, 0},
    {Text::Black, ocellus::StampColor::Black, RGB(0, 0, 0)},
    {Text::Grey, ocellus::StampColor::Grey, RGB(128, 128, 128)},
    {Text::Silver, ocellus::StampColor::Silver, RGB(192, 192, 192)},
    {Text::White, ocellus::StampColor::White, RGB(255, 255, 255)},
    {Text::Red, ocellus::StampColor::Red, RGB(255, 0, 0)},
    {Text::Magenta, ocellus::StampColor::Magenta, RGB(255, 0, 255)},
    {Text::Orange, ocellus::StampColor::Orange, RGB(255, 165, 0)},
    {Text::Yellow, ocellus::StampColor::Yellow, RGB(255, 255, 0)},
    {Text::Brown, ocellus::StampColor::Brown, RGB(165, 42, 42)},
    {Text::Green, ocellus::StampColor::Green, RGB(0, 255, 0)},
    {Text::Blue, ocellus::StampColor::Blue, RGB(0, 0, 255)},
    {Text::Cyan, ocellus::StampColor::Cyan, RGB(0, 255, 255)},
    {Text::Violet, ocellus::StampColor::Violet, RGB(238, 130, 238)},
    {Text::Inverse, ocellus::StampColor::InverseOfText, 0},
};

}  // namespace camview
