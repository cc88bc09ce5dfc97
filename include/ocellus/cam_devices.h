/*
 * Which cameras there are, and which one is used. Goes beyond ocellus/cam.h and changes nothing of what
 * stands there unless it is called.
 *
 * On the desktop the cameras are the recorded drivers, as on Windows CE, and then the webcams that the system
 * knows; a webcam needs nothing registered. On Windows CE they are the active drivers, which can be listed
 * and chosen; camListDeviceFormats, camGetStreamState, camWatchDevices and camSetWarmUpFrames answer camFailed
 * there.
 *
 * Without a choice camera type 1 takes the second of two cameras or more. The environment variable
 * OCELLUS_CAMERA chooses for programs that do not call camChooseDevice. With OCELLUS_WEBCAMS=0 there are no
 * webcams.
 *
 * camFailed is also what they answer without memory. They may be called at any time and from any thread, which must be able to use COM.
 */
#pragma once

#include <ocellus/cam.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    CAM_DEVICE_DRIVER = 0, /* a camera driver that the device manager has recorded as active */
    CAM_DEVICE_WEBCAM = 1  /* a video input device of the desktop */
};

typedef struct camDevice {
    LONG type;             /* CAM_DEVICE_... */
    wchar_t name[260];     /* for people; two cameras may have the same */
    wchar_t identity[260]; /* stays the same from day to day, and differs between two cameras of one kind: the
                              device path of a webcam; of one that has none the system's name for it, which can
                              change; the driver's name, such as "CAM1:" */
} camDevice;

/* Writes the first `capacity` cameras to `devices` (null when `capacity` is 0) and how many there are to
 * `count`. Opens none. camInvalidArgument: a null pointer, or a capacity below 0. */
camResult WINAPI camListDevices(camDevice* devices, int capacity, int* count);

/* Chooses the camera for selections (camInit, camSelect with CAM_TYPE_DSHOW) from now on: by its identity, its
 * position in the list as digits, its name, or a part of its name; whatever fits first in this order, without
 * regard to case. Null or an empty text: no choice. It need not be there yet; a selection without it fails
 * with 0x8007048F. camInvalidArgument: longer than 259 characters. */
camResult WINAPI camChooseDevice(const wchar_t* device);

typedef struct camDeviceFormat {
    DWORD fourcc; /* 'YUY2', 'NV12', 'I420', 'MJPG'; 'RGB3' and 'RGB4': B, G, R in 3 or 4 bytes */
    LONG width;
    LONG height;
    LONG milliFramesPerSecond; /* the highest rate in thousandths of a frame; 0: it does not say */
} camDeviceFormat;

/* Writes the first `capacity` formats in which a webcam can send, among those that are understood, and how
 * many there are. Opens the webcam for that: it must not be in use. `device` as in camChooseDevice.
 * camInvalidArgument: there is no such camera, or as above; camFailed: it is no webcam or cannot be opened. */
camResult WINAPI camListDeviceFormats(const wchar_t* device, camDeviceFormat* formats, int capacity,
                                      int* count);

typedef struct camStreamState {
    camDeviceFormat format;            /* what the webcam was asked for, and agreed to */
    LONG startResult;                  /* an HRESULT below 0: why it could not be started */
    DWORD frames;                      /* that came since it was started */
    DWORD brokenFrames;                /* of them, those that could not be used */
    LONG measuredMilliFramesPerSecond; /* what it really sends; 0 before the second frame */
    LONG lost;                         /* not 0: it stopped sending, or was taken away */
} camStreamState;

/* How the webcam does that runs, or ran last. camInvalidArgument: a null pointer; camFailed: none has run
 * since a camera of type 1 was selected. */
camResult WINAPI camGetStreamState(camStreamState* state);

/* Lets so many frames of a webcam pass after every start, before preview and stills see any: some begin with
 * black or wrongly exposed ones. 0 unless set; counts from the next start on. camInvalidArgument: below 0. */
camResult WINAPI camSetWarmUpFrames(int frames);

/* wParam of the message that camWatchDevices asks for; lParam is 0. */
enum {
    CAM_DEVICE_ARRIVED = 1,
    CAM_DEVICE_REMOVED = 2,
    CAM_DEVICE_LOST = 3,     /* the one in use: no pictures come any more; preview can be stopped as always */
    CAM_DEVICE_RETURNED = 4, /* one that was removed is there again: start preview again */
};

/* From now on posts `message` to `window` when webcams come and go; a window of null ends it, which must
 * happen before the library is unloaded. One window at a time. camFailed: it cannot be done. */
camResult WINAPI camWatchDevices(HWND window, UINT message);

#ifdef __cplusplus
}
#endif
