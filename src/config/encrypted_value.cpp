#include "config/encrypted_value.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

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

struct MultibyteText {
    Bytes bytes;  // with space for one more cipher block
    size_t count;
};

// `text` in the ANSI code page; none when a character has no place in the code page.
std::optional<MultibyteText> ToMultibyte(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int needed =
        length == 0 ? 0 : WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    Bytes bytes = MakeBytes(static_cast<size_t>(needed) + kCipherBlock);
    if (!bytes) return std::nullopt;
    BOOL isLossy = FALSE;
    // The question whether something was lost is not allowed where nothing can be.
    BOOL* const lossy = GetACP() == CP_UTF8 ? nullptr : &isLossy;
    if (length > 0 &&
        (WideCharToMultiByte(CP_ACP, 0, text.data(), length, AsText(bytes), needed, nullptr, lossy) == 0 ||
         isLossy)) {
        return std::nullopt;
    }
    return MultibyteText{std::move(bytes), static_cast<size_t>(needed)};
}

bool StoreMultibyte(std::span<const BYTE> bytes, wchar_t* destination, int length) {
    if (bytes.empty()) return true;
    const auto* const source = reinterpret_cast<const char*>(bytes.data());
    const int size = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_ACP, 0, source, size, nullptr, 0);
    const std::unique_ptr<wchar_t[]> text(new (std::nothrow) wchar_t[static_cast<size_t>(needed) + 1]);
    if (!text) return false;
    MultiByteToWideChar(CP_ACP, 0, source, size, text.get(), needed);
    text[static_cast<size_t>(needed)] = 0;
    wcsncat(destination, text.get(), static_cast<size_t>(length));
    return true;
}

}  // namespace

bool ValueCipher::Open(const wchar_t* passPhrase, DWORD keyBits) {
    if (!CryptAcquireContextW(provider.put(), nullptr, kProvider, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return false;
    if (!DeriveKey(passPhrase, keyBits)) return false;
    DWORD bits = 0;
    DWORD size = sizeof bits;
    return CryptGetKeyParam(Key(), KP_KEYLEN, reinterpret_cast<BYTE*>(&bits), &size, 0) && bits == kKeyBits;
}

bool ValueCipher::DeriveKey(const wchar_t* passPhrase, DWORD keyBits) {
    const size_t length = wcslen(passPhrase);
    const Bytes phrase = MakeBytes(length + 1);
    if (!phrase) return false;
    std::transform(passPhrase, passPhrase + length, phrase.get(),
                   [](wchar_t c) { return static_cast<BYTE>(c & 0xFF); });
    UniqueResource<HCRYPTHASH, CryptDestroyHash> hash;
    if (!CryptCreateHash(provider.get(), CALG_MD5, 0, 0, hash.put())) return false;
    const bool isDerived =
        CryptHashData(hash.get(), phrase.get(), static_cast<DWORD>(length), 0) &&
        CryptDeriveKey(provider.get(), CALG_RC2, hash.get(), keyBits << kKeyBitsShift, key.put());
    hash.reset();
    SecureZeroMemory(phrase.get(), length);
    return isDerived;
}

bool DecryptValue(const wchar_t* value, const wchar_t* passPhrase, wchar_t* destination, int length) {
    destination[0] = 0;
    const std::optional<MultibyteText> text = ToMultibyte(value);
    if (!text) return false;
    const Bytes bytes = MakeBytes(text->count / 4 * 3 + 1);
    if (!bytes) return false;
    const std::optional<size_t> count =
        DecodeBase64(std::string_view(AsText(text->bytes), text->count), bytes.get());
    if (!count) return false;
    ValueCipher cipher;
    auto size = static_cast<DWORD>(*count);
    return cipher.Open(passPhrase) && CryptDecrypt(cipher.Key(), 0, TRUE, 0, bytes.get(), &size) &&
           StoreMultibyte({bytes.get(), size}, destination, length);
}

bool EncryptValue(const wchar_t* plain, const wchar_t* passPhrase, wchar_t* destination, int length) {
    destination[0] = 0;
    const std::optional<MultibyteText> text = ToMultibyte(plain);
    ValueCipher cipher;
    if (!text || !cipher.Open(passPhrase)) return false;
    auto size = static_cast<DWORD>(text->count);
    BYTE* const bytes = text->bytes.get();
    if (!CryptEncrypt(cipher.Key(), 0, TRUE, 0, bytes, &size, size + static_cast<DWORD>(kCipherBlock)))
        return false;
    const size_t valueLength = Base64Length(size);
    const Bytes value = MakeBytes(valueLength);
    if (!value || valueLength > static_cast<size_t>(length)) return false;
    EncodeBase64({bytes, size}, AsText(value));
    std::copy_n(value.get(), valueLength, destination);
    destination[valueLength] = 0;
    return true;
}

}  // namespace cam::config
