// Files of pictures that were taken: whether they are there, and small versions of them.
#pragma once

#include <windows.h>

#include <string>

#include "news.h"

namespace camview {

// Looks at the file after the library has reported the picture. `thumbnail` is the size of the small version,
// which keeps the picture's sides in proportion. Takes tens of milliseconds: not for the window's thread.
PictureFiled LookAtPicture(const std::wstring& file, SIZE thumbnail);

}  // namespace camview
