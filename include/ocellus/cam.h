/*
 * Ocellus: the camera access library. Public interface of ocellus.dll, plain C.
 *
 * One camera is current at a time. camInit or camSelect brings it up, camShutDown takes it down, every other
 * call works on it:
 *
 *     camInit(ownerWindow, NULL, NULL);          // preview is drawn into ownerWindow
 *     camSetEventsWindow(eventsWindow);          // is told of finished pictures
 *     camStartPreview();                         // pictures can be taken from now on
 *     camSnapPicture(L"\\My Documents\\a.jpg", 0);
 *     ...                                        // WM CAM_MESSAGE_STILL_CAPTURED arrives
 *     camShutDown();
 *
 * Threads. All functions are synchronous and may be called from any thread, but not at the same time: the
 * current camera is not guarded by a lock. In particular nothing else may run during camInit, camSelect and
 * camShutDown, and the property and resolution functions must not overlap with any other call. A thread that
 * waits in one of these functions lets messages sent to its windows in; posted messages stay in its queue.
 *
 * Messages. A window procedure may call any function at any time, and the call returns. While it handles a
 * message that another thread has sent, or while another call of the same thread is under way, a call that
 * would have to wait for the camera's thread does not: that thread may be who sent the message. camGetState
 * then tells the state known last; camStartPreview, camStopPreview, camSnapPicture and camSetResolution are
 * refused with the result of their failure, after a fifth of a second at most, and nothing has changed;
 * camShutDown is refused with camFailed and camInit and camSelect with 0x8001010D, and the camera stays. Post
 * a message to oneself where it has to be done. camShutDown, camInit and camSelect are refused inside any
 * other call as well.
 *
 * COM. The library registers itself (regsvr32, or DllRegisterServer); on a device camera type 1 finds its own
 * filters that way. On the desktop it works without, wherever it lies. Loading it takes the loading thread
 * into the multithreaded apartment, unless it is in another one. While a camera of type 1 is selected the
 * process has a multithreaded apartment (on Windows 7, which lacks the means, some thread of the application
 * must be in one). Call camShutDown before you unload the library: nothing else ends its threads.
 *
 * Strings are UTF-16. Paths longer than MAX_PATH are the system's to accept or refuse.
 */
#pragma once

#include <windows.h>

#include "cam_property_ids.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results ------------------------------------------------------------------------------------------- */

/* 32 bits, signed. camInit and camSelect may also return a negative HRESULT: the reason why the camera
 * could not be brought up. */
typedef LONG camResult;

enum {
    camOk = 0,
    camNotInitialised = 1,  /* no camera is selected; also an unknown type in camSelect */
    camInvalidArgument = 3, /* null pointer, id out of range, bad extension; also every failure of the
                               property, resolution and snapshot functions */
    camCaptureFailed = 8,   /* the still picture could not be triggered */
    camFailed = 10          /* the camera refused: shut down, preview, state */
};

/* ---- Camera types, states, properties ---------------------------------------------------------------- */

enum {
    CAM_TYPE_DSHOW = 1, /* colour camera behind the system's video capture filter */
    CAM_TYPE_IMAGER = 2 /* the device's imager, through the imager library */
};

/* What camGetState reports. The imager camera knows 0, 1, 3 and 5 only, and its preview changes none: it
 * goes from 1 to 5 with the first picture that is asked for. */
enum {
    CAM_STATE_NONE = 0,           /* selected, but not brought up */
    CAM_STATE_INITIALISED = 1,    /* brought up, preview has not yet run */
    CAM_STATE_STOPPED = 2,        /* preview has been stopped */
    CAM_STATE_PREVIEWING = 3,     /* preview runs; also after every still picture that has been taken, even
                                     if preview was stopped before it came */
    CAM_STATE_PAUSED = 4,         /* the capture graph is paused */
    CAM_STATE_STILL_TRIGGERED = 5 /* a still picture was asked for and has not been taken yet */
};

/* Flags of a property value or range; a range may carry both. */
enum { CAM_FLAG_AUTO = 1, CAM_FLAG_MANUAL = 2 };

/* Posted to the events window, wParam 0 and lParam 0, when a still picture has been taken and its file, if
 * one was named, has been closed. It is posted as well when writing the file failed: check the file. With the
 * imager camera a failure posts nothing and ends the preview. */
#define CAM_MESSAGE_STILL_CAPTURED 2623

/* ---- Callbacks ---------------------------------------------------------------------------------------- */

/*
 * A preview frame or a still picture.
 *   frame   first byte of the lowest row (height > 0, rows stored bottom-up) or of the topmost row (height
 *           < 0). Preview: RGB 5-5-5. Still picture: RGB 5-6-5, after stamping, before encoding; a picture
 *           that is to become a TIFF holds only the words 0x0000 and 0xFFFF. The memory is the library's
 *           and valid until the callback returns; a still picture may be changed and is stored as changed.
 *   size    bytes of the buffer (preview: as allocated; still: sample size of the format)
 *   height  rows, signed as above
 *   width   pixels
 *   stride  bytes from one row to the next, a multiple of 4
 * Imager camera, preview and still picture: one byte of grey a pixel, the topmost row first though height is
 * positive, size is width by height, stride is width.
 * Called on a streaming thread of the capture graph (imager camera: on its preview thread), never on the
 * caller's own. It must neither call any function of this library nor wait for a thread that may be in one,
 * as SendMessage does; post a message instead.
 */
typedef void(WINAPI* camFrameCallback)(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

enum { CAM_FORMAT_OTHER = 0, CAM_FORMAT_YUY2 = 2, CAM_FORMAT_RGB555 = 3, CAM_FORMAT_RGB565 = 4 };

/*
 * The preview format, each time preview reaches the running state.
 *   height, width, sampleSize, stride   of a preview frame: rows (signed as above), pixels, bytes, bytes
 *   formatCode        CAM_FORMAT_...
 *   framesPerSecond   whole frames, 0 when the driver does not say
 * Called on the camera's worker thread, while camStartPreview waits for it or after the device has resumed.
 * It must not call any function of this library. The imager camera never calls it.
 */
typedef void(WINAPI* camMediaTypeCallback)(LONG height, LONG width, DWORD sampleSize, DWORD stride,
                                           LONG formatCode, LONG framesPerSecond);

/* ---- Life of the camera ------------------------------------------------------------------------------ */

/* Writes the library's revision, 13 characters and a terminating zero, to `revision`, which must hold at
 * least 14. Needs no camera. camInvalidArgument: `revision` is null. */
camResult WINAPI camGetDllRevision(wchar_t* revision);

/* camSelect with CAM_TYPE_DSHOW. */
camResult WINAPI camInit(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection);

/*
 * Discards the current camera, if there is one, and brings up a camera of the given type.
 *   ownerWindow      window in whose client area preview is drawn; null: the system shows a window of its own
 *                    (imager: nothing is drawn). Must live until camShutDown returns; its thread must dispatch
 *                    messages while another thread calls the library.
 *   settingsPath     settings file (INI or XML), or null
 *   settingsSection  section of that file, or null. When both are given, ten persisted settings (brightness,
 *                    autofocus, flash, resolution, colour, focus minimum, maximum, step and fixed focus,
 *                    zoom) are read and set in that order; the first that fails ends this, and it never
 *                    fails the call. The imager camera hands both to the imager library instead.
 *   cameraType       CAM_TYPE_...
 * Results: camOk; camNotInitialised: unknown type or no memory, and no camera is left; a negative HRESULT: the
 * camera could not be brought up. It stays selected all the same until camShutDown or the next selection.
 * Frequent ones: 0x8001010D refused inside another call or message, and the camera before it is still there;
 * 0x80070012 no camera driver; 0x80040154 library (on a device) or capture filter not registered; 0x800401F0
 * no multithreaded apartment; 0x8007007E no imager library.
 */
camResult WINAPI camSelect(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection,
                           int cameraType);

/* Writes the type last given to camSelect or camInit (0 before), known or not; camShutDown does not clear it.
 * `cameraType` must not be null. Always camOk. */
camResult WINAPI camGetSelectedType(int* cameraType);

/* Stops preview, ends the camera's threads and discards the camera. No message comes any more: neither for a
 * still picture that is on its way nor, where the events window is the calling thread's, for one that has been
 * taken and whose message waits in the queue. An imager library that hangs is waited for 5 seconds in all.
 * camNotInitialised: there is none; camFailed: it could not be shut down and stays, or the call came from
 * inside another one. */
camResult WINAPI camShutDown(void);

/* Starts preview; camOk at once in CAM_STATE_PREVIEWING. A picture can be taken only after preview has run
 * once. When the device resumes from standby a running preview is stopped and started again by itself.
 * camNotInitialised; camFailed. What counts for the state is what the graph says of itself 100 ms after its
 * start: one that says that it runs, and is still on its way there, makes the state CAM_STATE_PREVIEWING
 * with the result camFailed; one that does not run within that time leaves the state as it was, and may come
 * to run later. Imager camera: a preview that runs already gets
 * another one beside it. */
camResult WINAPI camStartPreview(void);

/* Stops preview; camOk at once, and nothing is stopped, in any state but CAM_STATE_PREVIEWING. While a still
 * picture is on its way wait for its message first. camNotInitialised, camFailed. Imager camera: ends one
 * preview, whatever the state; camFailed when it does not end within 5 seconds. */
camResult WINAPI camStopPreview(void);

/* Names the window that is sent CAM_MESSAGE_STILL_CAPTURED; it must live as long as the camera or until
 * another is named. camNotInitialised; camInvalidArgument: the window is null. */
camResult WINAPI camSetEventsWindow(HWND eventsWindow);

/* Writes CAM_STATE_... to `state`. camInvalidArgument: null (checked first); camNotInitialised; camFailed:
 * the camera has no capture graph; nothing is written. */
camResult WINAPI camGetState(int* state);

/* ---- Properties -------------------------------------------------------------------------------------- */

/* Smallest and largest value, step, default value and CAM_FLAG_... of property `id`, 0 to 80.
 * camNotInitialised; camInvalidArgument: id out of range, a null pointer, or the driver does not know the
 * property. */
camResult WINAPI camGetPropertyRange(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                     long* flags);

/* Current value and flags of property `id`, 0 to 80 or CAM_PROPERTY_CAMERA_ID. For CAM_PROPERTY_EXPOSURE of
 * the imager camera `*value` selects the exposure setting that is read, set and ranged from then on (-1:
 * direct exposure). Errors as above. */
camResult WINAPI camGetProperty(int id, long* value, long* flags);

/* Sets property `id`, 0 to 80. The driver judges the value. Errors as above. */
camResult WINAPI camSetProperty(int id, long value, long flags);

/* Value of CAM_PROPERTY_CAMERA_ID. Errors as camGetProperty. */
camResult WINAPI camGetCameraID(long* cameraId);

/* ---- Still resolutions ------------------------------------------------------------------------------- */

/* Writes how many still resolutions there are; 0 when the driver does not say. camInvalidArgument: null
 * (checked first); camNotInitialised. */
camResult WINAPI camGetResolutionCount(int* count);

/* Height and width in pixels, both positive, of resolution `index` (0 to count - 1), or of the current one
 * (-1). camNotInitialised; camInvalidArgument: a null pointer, or no such resolution. */
camResult WINAPI camGetResolutionDimensions(long* height, long* width, int index);

/* Selects still resolution `index`. A running preview is interrupted for about half a second; a still picture
 * that is on its way may be lost. camNotInitialised; camInvalidArgument: no such resolution or the driver
 * refused; a message box then names the step that failed, unless nothing has been tried.
 * With the imager camera it counts from the next picture, without interruption or message box. */
camResult WINAPI camSetResolution(int index);

/* ---- Still pictures ---------------------------------------------------------------------------------- */

/*
 * Triggers one still picture and returns; CAM_MESSAGE_STILL_CAPTURED follows when it has been taken.
 *   fileName  the extension chooses the format, in any case: .jpg, .bmp (16 bits, RGB 5-6-5), .png (24
 *             bits), .tif (black and white, Group 4). An existing file is replaced. Null: nothing is
 *             stored; callback, snapshot and message come all the same. The imager camera writes BMP
 *             whatever the extension, and refuses .tif. The string is copied.
 *   mode      0 to 2: JPEG quality level (registry key
 *             HKEY_LOCAL_MACHINE\Software\Microsoft\DirectShow\ImageSink\Quality\<mode>\JPG\Quality, value
 *             "Value", default 90) or TIFF threshold (3, 10 or 20 per cent below the neighbourhood's mean
 *            turns black). Keeps its last value for .bmp and .png.
 * Results, in the order of the checks: camNotInitialised; camInvalidArgument: mode or extension;
 * camCaptureFailed: preview has not run yet, or the driver refused. The imager camera takes pictures only
 * while preview runs: what is asked for before answers camOk and is lost.
 */
camResult WINAPI camSnapPicture(const wchar_t* fileName, int mode);

/*
 * The same, with text stamped into the picture. The text arguments have the width of a pointer, since some
 * carry one.
 *   text      const wchar_t*, lines separated by line feeds, copied; or 0: no text
 *   length    its characters, without a terminating zero; 0: no text
 *   position  0 top-left, 1 top-centre, 2 top-right, 4, 5, 6 middle, 8, 9, 10 bottom; any other: not
 *             stamped, and the text stays for the next picture. Imager camera: 0 to 10.
 *   color     bits 0-23 text colour as a COLORREF; bits 24-27 outline code; bits 28-31 background code: 0
 *             inverse of the text colour, 1 black, 2 grey, 3 silver, 4 white, 5 red, 6 magenta, 7 orange, 8
 *             yellow, 9 brown, 10 green, 11 blue, 12 cyan, 13 violet, 14 black, 15 none. A TIFF picture is
 *            stamped black on white whatever is given. Not used by the imager camera.
 *   font      HFONT, the caller's; must live until the picture has been taken
 */
camResult WINAPI camSnapPictureWithText(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length,
                                        UINT_PTR position, UINT_PTR color, UINT_PTR font);

/* Writes to `*snapshot` (an HBITMAP*) the bitmap of the last still picture, null before the first. It is
 * the library's, and valid until the next picture or camShutDown. Imager camera: pointer to the current
 * image. camNotInitialised; camInvalidArgument: null. */
camResult WINAPI camGetSnapshot(void* snapshot);

/* ---- Callbacks: registration ------------------------------------------------------------------------- */

/* Null unregisters; a call that is under way is not waited for. The preview and still-image callbacks outlive
 * the camera: the next camera of type 1 calls them as well. camNotInitialised, else camOk. */
camResult WINAPI camRegisterPreviewCallback(camFrameCallback callback);
camResult WINAPI camRegisterStillImageCallback(camFrameCallback callback);
camResult WINAPI camRegisterMediaTypeCallback(camMediaTypeCallback callback);

/* ---- Profiles ---------------------------------------------------------------------------------------- */

#define CAM_PROFILE_SLOTS 32

/*
 * The names of the camera profiles in the XML configuration file `path`. `profiles` is a wchar_t***: on
 * success it receives a block of CAM_PROFILE_SLOTS pointers; slot i holds the name of the i-th child of the
 * section "Profiles", or null where that child is no live profile. The caller frees each distinct string
 * and then the block, with free() of the C library that the DLL uses (msvcrt.dll; coredll.dll on a device).
 * A profile without a name has the same pointer as the one before it. Always camOk; on failure (also more
 * than 32 children) `*profiles` stays as it was: set it to null first. Needs no camera.
 */
camResult WINAPI camGetProfiles(const wchar_t* path, void* profiles);

#ifdef __cplusplus
}
#endif
