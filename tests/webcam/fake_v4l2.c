/*
 * Plays Video4Linux cameras to one process, so that Wine's own webcam filter has something to open:
 * preloaded, it answers for /dev/video0 to /dev/video9 what a camera would that sends B, G, R in 3 bytes.
 *
 *     LD_PRELOAD=fake_v4l2.so FAKE_V4L2=FOLDER wine PROGRAM     (scripts/host.sh: OCELLUS_PRELOAD)
 *
 * A file FOLDER/videoN is a camera; "name: 640x480@30 1280x720@10" is what it says of it. Without the file it
 * is unplugged, at any moment; beside a file FOLDER/videoN.hangs reading from it does not return until that
 * is gone. It makes a file FOLDER/videoN.streams when it has sent ten frames.
 *
 * The picture: a grid of 16 x 12 cells with marks of 2 x 2 cells in the corners (red, green; blue, white)
 * and, in the two lowest rows, the low twelve bits of the frame number, as on the device kit's chart.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <time.h>
#include <unistd.h>

enum {
    kCameras = 10,
    kSizes = 8,
    kDescriptors = 1024,
    kColumns = 16,
    kRows = 12,
    kVideoMajor = 81,
    kStreams = 10
};

typedef struct {
    unsigned width, height, rate;
} Size;

typedef struct {
    int number; /* of the camera + 1; 0: not one of ours */
    Size size;
    unsigned frame;
    struct timespec due;
} Stream;

static Stream streams[kDescriptors]; /* by file descriptor; each is used by one thread at a time */

/* The headers turn these names into those of the functions with long offsets and times, if they are asked to. */
#ifdef __i386__
#define LIBRARY_NAME_open "open64"
#define LIBRARY_NAME_stat "__stat64_time64"
#define LIBRARY_NAME_ioctl "__ioctl_time64"
#else
#define LIBRARY_NAME_open "open"
#define LIBRARY_NAME_stat "stat"
#define LIBRARY_NAME_ioctl "ioctl"
#endif
#define LIBRARY_NAME_close "close"
#define LIBRARY_NAME_read "read"
#define LIBRARY_NAME_dlopen "dlopen"
#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, LIBRARY_NAME_##name))

/* The number of "/dev/videoN", or -1. */
static int CameraOf(const char* path) {
    const char prefix[] = "/dev/video";
    if (!path || strncmp(path, prefix, sizeof prefix - 1) != 0) return -1;
    const char* digit = path + sizeof prefix - 1;
    return digit[0] >= '0' && digit[0] <= '9' && !digit[1] ? digit[0] - '0' : -1;
}

static FILE* OpenFile(int camera, const char* ending, const char* mode) {
    char path[512];
    const char* folder = getenv("FAKE_V4L2");
    snprintf(path, sizeof path, "%s/video%d%s", folder ? folder : "", camera, ending);
    return fopen(path, mode);
}

static int Exists(int camera, const char* ending) {
    FILE* file = OpenFile(camera, ending, "r");
    if (file) fclose(file);
    return file != NULL;
}

/* Its sizes; the name goes to `name` if there is a place for it. */
static int ReadCamera(int camera, char* name, size_t length, Size sizes[kSizes]) {
    char text[512] = "";
    FILE* file = OpenFile(camera, "", "r");
    if (!file) return 0;
    if (!fgets(text, sizeof text, file)) text[0] = 0;
    fclose(file);
    char* colon = strchr(text, ':');
    if (!colon) return 0;
    *colon = 0;
    if (name) snprintf(name, length, "%s", text);
    int count = 0, used = 0;
    for (char* at = colon + 1; count < kSizes; at += used, ++count) {
        Size* size = &sizes[count];
        if (sscanf(at, " %ux%u@%u%n", &size->width, &size->height, &size->rate, &used) != 3) break;
    }
    return count;
}

static int OpenCamera(int camera) {
    Size sizes[kSizes];
    if (ReadCamera(camera, NULL, 0, sizes) == 0) return errno = ENOENT, -1;
    const int descriptor = REAL(open)("/dev/null", O_RDWR | O_CLOEXEC);
    if (descriptor < 0 || descriptor >= kDescriptors) return errno = EMFILE, -1;
    streams[descriptor] = (Stream){.number = camera + 1, .size = sizes[0]};
    return descriptor;
}

static void Draw(const Stream* stream, unsigned char* pixels) {
    static const unsigned char marks[2][2][3] = {{{0, 0, 255}, {0, 255, 0}},
                                                 {{255, 0, 0}, {255, 255, 255}}}; /* B, G, R */
    const unsigned width = stream->size.width, height = stream->size.height;
    for (unsigned y = 0; y < height; ++y) {
        const unsigned row = y * kRows / height;
        for (unsigned x = 0; x < width; ++x, pixels += 3) {
            const unsigned column = x * kColumns / width;
            const int isMark = (row < 2 || row >= kRows - 2) && (column < 2 || column >= kColumns - 2);
            if (isMark) {
                memcpy(pixels, marks[row >= 2][column >= 2], 3);
            } else if (row >= kRows - 2) {
                memset(pixels, stream->frame >> (kColumns - 3 - column) & 1 ? 255 : 0, 3);
            } else {
                memset(pixels, (int)(row * 16), 3);
            }
        }
    }
}

/* Waits for its turn; Wine would otherwise ask again and again. */
static void WaitForFrame(Stream* stream) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (stream->due.tv_sec == 0 || now.tv_sec > stream->due.tv_sec + 1) stream->due = now;
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &stream->due, NULL);
    stream->due.tv_nsec += 1000000000 / (long)stream->size.rate;
    if (stream->due.tv_nsec >= 1000000000) {
        stream->due.tv_nsec -= 1000000000;
        ++stream->due.tv_sec;
    }
}

static int Control(Stream* stream, unsigned long request, void* argument) {
    Size sizes[kSizes] = {{0, 0, 0}};
    const int camera = stream->number - 1;
    char name[32] = "";
    const unsigned count = (unsigned)ReadCamera(camera, name, sizeof name, sizes);
    if (count == 0) return errno = ENODEV, -1;
    if (request == VIDIOC_QUERYCAP) {
        struct v4l2_capability* capability = argument;
        memset(capability, 0, sizeof *capability);
        memcpy(capability->card, name, sizeof name);
        capability->capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE;
        return 0;
    }
    if (request == VIDIOC_G_FMT || request == VIDIOC_TRY_FMT || request == VIDIOC_S_FMT) {
        struct v4l2_pix_format* format = &((struct v4l2_format*)argument)->fmt.pix;
        unsigned found = 0;
        for (unsigned i = 0; request != VIDIOC_G_FMT && i < count; ++i) {
            if (sizes[i].width == format->width && sizes[i].height == format->height) found = i;
        }
        if (request == VIDIOC_S_FMT) stream->size = sizes[found];
        const Size size = request == VIDIOC_G_FMT ? stream->size : sizes[found];
        format->width = size.width;
        format->height = size.height;
        format->pixelformat = V4L2_PIX_FMT_BGR24;
        format->bytesperline = 3 * size.width;
        format->sizeimage = 3 * size.width * size.height;
        return 0;
    }
    if (request == VIDIOC_ENUM_FRAMESIZES) {
        struct v4l2_frmsizeenum* entry = argument;
        if (entry->index >= count) return errno = EINVAL, -1;
        entry->type = V4L2_FRMSIZE_TYPE_DISCRETE;
        entry->discrete.width = sizes[entry->index].width;
        entry->discrete.height = sizes[entry->index].height;
        return 0;
    }
    if (request == VIDIOC_ENUM_FRAMEINTERVALS) {
        struct v4l2_frmivalenum* entry = argument;
        for (unsigned i = 0; entry->index == 0 && i < count; ++i) {
            if (sizes[i].width != entry->width || sizes[i].height != entry->height) continue;
            entry->type = V4L2_FRMIVAL_TYPE_DISCRETE;
            entry->discrete = (struct v4l2_fract){1, sizes[i].rate};
            return 0;
        }
    }
    return errno = EINVAL, -1;
}

/* ---- What the process calls -----------------------------------------------------------------------------
 */

static Stream* StreamOf(int descriptor) {
    const int isOurs = descriptor >= 0 && descriptor < kDescriptors && streams[descriptor].number;
    return isOurs ? &streams[descriptor] : NULL;
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = flags & (O_CREAT | __O_TMPFILE) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const int camera = CameraOf(path);
    return camera >= 0 ? OpenCamera(camera) : REAL(open)(path, flags, mode);
}

int stat(const char* restrict path, struct stat* restrict out) {
    const int camera = CameraOf(path);
    if (camera < 0) return REAL(stat)(path, out);
    if (!Exists(camera, "")) return errno = ENOENT, -1;
    memset(out, 0, sizeof *out);
    out->st_mode = S_IFCHR | 0666;
    out->st_rdev = makedev(kVideoMajor, camera);
    return 0;
}

int close(int descriptor) {
    Stream* stream = StreamOf(descriptor);
    if (stream) stream->number = 0;
    return REAL(close)(descriptor);
}

int ioctl(int descriptor, unsigned long request, ...) {
    va_list rest;
    va_start(rest, request);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    Stream* stream = StreamOf(descriptor);
    return stream ? Control(stream, request & 0xFFFFFFFF, argument)
                  : REAL(ioctl)(descriptor, request, argument);
}

ssize_t read(int descriptor, void* buffer, size_t length) {
    Stream* stream = StreamOf(descriptor);
    if (!stream) return REAL(read)(descriptor, buffer, length);
    WaitForFrame(stream);
    while (Exists(stream->number - 1, ".hangs")) usleep(10000);
    if (!Exists(stream->number - 1, "")) return errno = ENODEV, -1;
    const size_t size = (size_t)stream->size.width * stream->size.height * 3;
    if (length < size) return errno = EINVAL, -1;
    Draw(stream, buffer);
    if (++stream->frame == kStreams) {
        FILE* file = OpenFile(stream->number - 1, ".streams", "w");
        if (file) fclose(file);
    }
    return (ssize_t)size;
}

/* The library through which Wine otherwise reads calls the kernel past these functions. */
void* dlopen(const char* name, int flags) {
    if (name && strncmp(name, "libv4l2", 7) == 0) return NULL;
    return REAL(dlopen)(name, flags);
}
