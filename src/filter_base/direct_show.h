// DirectShow's headers, in the order in which they need each other.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <strmif.h>
#include <amvideo.h>
#include <uuids.h>
#include <vfwmsgs.h>
#include <evcode.h>
