#include "config/encrypted_value.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>
#include <string_view>

#include "config/base64.h"

namespace cam::config {
namespace {

constexpr wchar_t kProvider[] = L"Microsoft Base Cryptographic Provider v1.0";
constexpr DWORD kKeyBitsShift = 16;  // where key derivation has the length in its flags
constexpr size_t kCipherBlock = 8;   // the padding adds 1 to 8 bytes

using Bytes = std::unique_ptr<BYTE[]>;
Bytes MakeBytes(size_t count) {
    return Bytes(new (std::nothrow) BYTE[count]);
}

char* AsText(const Bytes& bytes) {
    return reinterpret_cast<char*>(bytes.get());
}

// `text` in the ANSI code page with room for one more cipher block; null when a character has no place in
// the code page.
Bytes ToMultibyte(const wchar_t* text, size_t* count) {
    const int length = static_cast<int>(wcslen(text));
    const int needed =
        length == 0 ? 0 : WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
    Bytes bytes = MakeBytes(static_cast<size_t>(needed) + kCipherBlock);
    if (!bytes) return {};
    BOOL isLossy = FALSE;
    // The question whether something was lost is not allowed where nothing can be.
    BOOL* const lossy = GetACP() == CP_UTF8 ? nullptr : &isLossy;
    if (length > 0 &&
        (WideCharToMultiByte(CP_ACP, 0, text, length, AsText(bytes), needed, nullptr, lossy) == 0 ||
         isLossy)) {
        return {};
    }
    *count = static_cast<size_t>(needed);
    return bytes;
}

bool StoreMultibyte(const Bytes& bytes, size_t count, wchar_t* destination, int length) {
    if (count == 0) return true;
    const int size = static_cast<int>(count);
    const int needed = MultiByteToWideChar(CP_ACP, 0, AsText(bytes), size, nullptr, 0);
    const std::unique_ptr<wchar_t[]> text(new (std::nothrow) wchar_t[static_cast<size_t>(needed) + 1]);
    if (!text) return false;
    MultiByteToWideChar(CP_ACP, 0, AsText(bytes), size, text.get(), needed);
    text[static_cast<size_t>(needed)] = 0;
    wcsncat(destination, text.get(), static_cast<size_t>(length));
    return true;
}

}  // namespace

ValueCipher::~ValueCipher() {
    if (key_) CryptDestroyKey(key_);
    if (provider_) CryptReleaseContext(provider_, 0);
}

bool ValueCipher::Open(const wchar_t* passPhrase, DWORD keyBits) {
    if (!CryptAcquireContextW(&provider_, nullptr, kProvider, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return false;
    if (!DeriveKey(passPhrase, keyBits)) return false;
    DWORD bits = 0;
    DWORD size = sizeof bits;
    return CryptGetKeyParam(key_, KP_KEYLEN, reinterpret_cast<BYTE*>(&bits), &size, 0) && bits == kKeyBits;
}

bool ValueCipher::DeriveKey(const wchar_t* passPhrase, DWORD keyBits) {
    const size_t length = wcslen(passPhrase);
    const Bytes phrase = MakeBytes(length + 1);
    if (!phrase) return false;
    std::transform(passPhrase, passPhrase + length, phrase.get(),
                   [](wchar_t c) { return static_cast<BYTE>(c & 0xFF); });
    HCRYPTHASH hash = 0;
    if (!CryptCreateHash(provider_, CALG_MD5, 0, 0, &hash)) return false;
    const bool isDerived = CryptHashData(hash, phrase.get(), static_cast<DWORD>(length), 0) &&
                           CryptDeriveKey(provider_, CALG_RC2, hash, keyBits << kKeyBitsShift, &key_);
    CryptDestroyHash(hash);
    SecureZeroMemory(phrase.get(), length);
    return isDerived;
}

bool DecryptValue(const wchar_t* value, const wchar_t* passPhrase, wchar_t* destination, int length) {
    destination[0] = 0;
    size_t textLength = 0;
    const Bytes text = ToMultibyte(value, &textLength);
    const Bytes bytes = MakeBytes(textLength / 4 * 3 + 1);
    size_t count = 0;
    if (!text || !bytes || !DecodeBase64(std::string_view(AsText(text), textLength), bytes.get(), &count))
        return false;
    ValueCipher cipher;
    auto size = static_cast<DWORD>(count);
    return cipher.Open(passPhrase) && CryptDecrypt(cipher.key(), 0, TRUE, 0, bytes.get(), &size) &&
           StoreMultibyte(bytes, size, destination, length);
}

bool EncryptValue(const wchar_t* plain, const wchar_t* passPhrase, wchar_t* destination, int length) {
    destination[0] = 0;
    size_t count = 0;
    const Bytes bytes = ToMultibyte(plain, &count);
    ValueCipher cipher;
    auto size = static_cast<DWORD>(count);
    if (!bytes || !cipher.Open(passPhrase) ||
        !CryptEncrypt(cipher.key(), 0, TRUE, 0, bytes.get(), &size,
                      static_cast<DWORD>(count + kCipherBlock))) {
        return false;
    }
    const size_t textLength = Base64Length(size);
    const Bytes text = MakeBytes(textLength);
    if (!text || textLength > static_cast<size_t>(length)) return false;
    EncodeBase64(bytes.get(), size, AsText(text));
    std::copy_n(text.get(), textLength, destination);
    destination[textLength] = 0;
    return true;
}

}  // namespace cam::config
