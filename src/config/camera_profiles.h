// The names of the camera profiles in an XML configuration document.
#pragma once

namespace cam::config {

constexpr int kProfileSlots = 32;

// Reads the names of the children of section "Profiles" of the document `path`. On success `*profiles`
// receives a block of kProfileSlots pointers, slot i for the i-th child of whatever kind: the name of a live
// Section, else null. A Section without a name has the pointer of the live Section before it. The caller
// frees each distinct string and then the block, with free(). False, with `*profiles` as it was, when there
// is no such document or section, when the section has more than kProfileSlots children, and when memory runs
// out. May be called from any thread; throws nothing.
bool GetProfiles(const wchar_t* path, wchar_t*** profiles) noexcept;

}  // namespace cam::config
