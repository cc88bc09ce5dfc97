// The identifiers that the system's headers only declare; on a device they come with the system's import
// libraries.
#include <windows.h>

#include <initguid.h>

#include <dshow.h>
#include <msxml2.h>
#include <objsafe.h>
#include <ks.h>
#include <ksmedia.h>

extern "C" const GUID GUID_NULL;
const GUID GUID_NULL = {};
