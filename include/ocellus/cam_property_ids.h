/* What the properties of a camera are called in calls. Plain C that needs no other header; part of cam.h. */
#pragma once

/*
 * Property ids, 0 to 80. What each means, which exist and in which units is the camera driver's; the names
 * are those of the system's video processing (0 to 8) and camera control (9 and above) property sets. The
 * imager camera knows CAM_PROPERTY_COLOR_ENABLE (6), CAM_PROPERTY_EXPOSURE (13), 16 and 80 only.
 */
enum {
    CAM_PROPERTY_CAMERA_ID = -1, /* readable only */
    CAM_PROPERTY_BRIGHTNESS = 0,
    CAM_PROPERTY_CONTRAST = 1,
    CAM_PROPERTY_HUE = 2,
    CAM_PROPERTY_SATURATION = 3,
    CAM_PROPERTY_SHARPNESS = 4,
    CAM_PROPERTY_GAMMA = 5,
    CAM_PROPERTY_COLOR_ENABLE = 6,
    CAM_PROPERTY_WHITE_BALANCE = 7,
    CAM_PROPERTY_BACKLIGHT_COMPENSATION = 8,
    CAM_PROPERTY_PAN = 9,
    CAM_PROPERTY_TILT = 10,
    CAM_PROPERTY_ROLL = 11,
    CAM_PROPERTY_ZOOM = 12,
    CAM_PROPERTY_EXPOSURE = 13,
    CAM_PROPERTY_IRIS = 14,
    CAM_PROPERTY_FOCUS = 15,
    CAM_PROPERTY_FLASH = 16,
    CAM_PROPERTY_FOCUS_STEP = 59,
    CAM_PROPERTY_FOCUS_MAXIMUM = 60,
    CAM_PROPERTY_FOCUS_MINIMUM = 61,
    CAM_PROPERTY_FOCUS_FIXED = 62,
    CAM_PROPERTY_LAST = 80
};
