// Settings values that are stored encrypted: Base64 of RC2 (40 bits, CBC, no initial vector) under a key
// from the MD5 hash of a pass phrase, each of its characters reduced to the low byte. The plain text is in
// the ANSI code page. A seal against curious eyes, no more: 40 bits protect nothing from anybody who wants
// to know.
#pragma once

#include <windows.h>
#include <wincrypt.h>

#include "base/unique_resource.h"

namespace cam::config {

// Deciphers `value` into `destination`, emptied first: at most `length` characters and a terminator, so the
// buffer must be one larger. False, with the buffer empty, when `value` is no Base64, was not enciphered
// under this pass phrase, or the system lacks the cipher. A wrong pass phrase is not always noticed.
// `length` must not be negative. Any thread.
bool DecryptValue(const wchar_t* value, const wchar_t* passPhrase, wchar_t* destination, int length);

// Enciphers `plain` into `destination`, at most `length` characters and a terminator. False, with the
// buffer empty, when it does not fit or the code page does not have all characters.
bool EncryptValue(const wchar_t* plain, const wchar_t* passPhrase, wchar_t* destination, int length);

inline void CloseProvider(HCRYPTPROV provider) {
    CryptReleaseContext(provider, 0);
}

// A key of the value cipher with its provider.
class ValueCipher {
  public:
    static constexpr DWORD kKeyBits = 40;

    // Makes the key. False when that fails, and for a key of any other length than kKeyBits.
    bool Open(const wchar_t* passPhrase, DWORD keyBits = kKeyBits);

    HCRYPTKEY Key() const { return key.get(); }

  private:
    bool DeriveKey(const wchar_t* passPhrase, DWORD keyBits);

    // The key goes before its provider.
    UniqueResource<HCRYPTPROV, CloseProvider> provider;
    UniqueResource<HCRYPTKEY, CryptDestroyKey> key;
};

}  // namespace cam::config
