// Finds what the ce build made.
#pragma once

#include <doctest/doctest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace ce {

// Ends the program as skipped when the DLL has not been built.
inline std::string BuiltDll(const std::string& name) {
    const std::string path = std::string(OCELLUS_CE_BIN) + "/" + name;
    if (!std::filesystem::exists(path)) {
        std::printf(
            "%s: the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce\n",
            path.c_str());
        std::fflush(stdout);
        std::_Exit(0);
    }
    return path;
}

}  // namespace ce
