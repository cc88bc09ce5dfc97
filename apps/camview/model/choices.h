// What the lists of the Picture page offer.
#pragma once

#include <windows.h>

#include <ocellus/cam_text.hpp>

namespace camview {

struct PictureFormat {
    const wchar_t* name;
    const wchar_t* extension;
    bool hasQuality;
    bool hasThreshold;
};
inline constexpr PictureFormat kPictureFormats[] = {
    {L"BMP", L".bmp", false, false},
    {L"JPEG", L".jpg", true, false},
    {L"PNG", L".png", false, false},
    {L"TIFF, black and white", L".tif", false, true},
};

struct PositionChoice {
    const wchar_t* name;
    ocellus::TextPosition position;
};
inline constexpr PositionChoice kPositions[] = {
    {L"top left", ocellus::TextPosition::TopLeft},
    {L"top centre", ocellus::TextPosition::TopCentre},
    {L"top right", ocellus::TextPosition::TopRight},
    {L"middle left", ocellus::TextPosition::MiddleLeft},
    {L"middle", ocellus::TextPosition::MiddleCentre},
    {L"middle right", ocellus::TextPosition::MiddleRight},
    {L"bottom left", ocellus::TextPosition::BottomLeft},
    {L"bottom centre", ocellus::TextPosition::BottomCentre},
    {L"bottom right", ocellus::TextPosition::BottomRight},
};

struct ColorChoice {
    const wchar_t* name;
    COLORREF color;
};
inline constexpr ColorChoice kTextColors[] = {
    {L"white", RGB(255, 255, 255)},  {L"black", RGB(0, 0, 0)},      {L"grey", RGB(128, 128, 128)},
    {L"silver", RGB(192, 192, 192)}, {L"red", RGB(255, 0, 0)},      {L"magenta", RGB(255, 0, 255)},
    {L"orange", RGB(255, 165, 0)},   {L"yellow", RGB(255, 255, 0)}, {L"brown", RGB(165, 42, 42)},
    {L"green", RGB(0, 255, 0)},      {L"blue", RGB(0, 0, 255)},     {L"cyan", RGB(0, 255, 255)},
    {L"violet", RGB(238, 130, 238)},
};

struct StampChoice {
    const wchar_t* name;
    ocellus::StampColor code;
    COLORREF color;
};
inline constexpr StampChoice kStampColors[] = {
    {L"none", ocellus::StampColor::None, 0},
    {L"black", ocellus::StampColor::Black, RGB(0, 0, 0)},
    {L"grey", ocellus::StampColor::Grey, RGB(128, 128, 128)},
    {L"silver", ocellus::StampColor::Silver, RGB(192, 192, 192)},
    {L"white", ocellus::StampColor::White, RGB(255, 255, 255)},
    {L"red", ocellus::StampColor::Red, RGB(255, 0, 0)},
    {L"magenta", ocellus::StampColor::Magenta, RGB(255, 0, 255)},
    {L"orange", ocellus::StampColor::Orange, RGB(255, 165, 0)},
    {L"yellow", ocellus::StampColor::Yellow, RGB(255, 255, 0)},
    {L"brown", ocellus::StampColor::Brown, RGB(165, 42, 42)},
    {L"green", ocellus::StampColor::Green, RGB(0, 255, 0)},
    {L"blue", ocellus::StampColor::Blue, RGB(0, 0, 255)},
    {L"cyan", ocellus::StampColor::Cyan, RGB(0, 255, 255)},
    {L"violet", ocellus::StampColor::Violet, RGB(238, 130, 238)},
    {L"inverse", ocellus::StampColor::InverseOfText, 0},
};

}  // namespace camview
