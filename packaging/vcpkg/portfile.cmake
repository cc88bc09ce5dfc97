# Installs the SDK archive as it is: OCELLUS_SDK in the environment is its full path.
#     vcpkg install ocellus --overlay-ports=packaging/vcpkg
if(NOT DEFINED ENV{OCELLUS_SDK})
    message(FATAL_ERROR "Set OCELLUS_SDK to the full path of ocellus-VERSION-sdk.zip")
endif()
# find_package finds the CMake package below share/ocellus, and that the library.
set(VCPKG_POLICY_EMPTY_PACKAGE enabled)
vcpkg_extract_source_archive(sdk ARCHIVE "$ENV{OCELLUS_SDK}")
file(INSTALL "${sdk}/bin" "${sdk}/cmake" "${sdk}/include" "${sdk}/lib" DESTINATION "${CURRENT_PACKAGES_DIR}/share/ocellus" PATTERN ce-armv4 EXCLUDE)
vcpkg_install_copyright(FILE_LIST "${sdk}/LICENSES/ocellus.txt")
