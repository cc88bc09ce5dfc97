#include "config/encrypted_value.h"

#include <doctest/doctest.h>

#include <string>

using namespace cam::config;

namespace {

std::wstring Encrypt(const wchar_t* plain, const wchar_t* phrase) {
    wchar_t text[300];
    return EncryptValue(plain, phrase, text, 299) ? text : L"failed";
}

std::wstring Decrypt(const wchar_t* value, const wchar_t* phrase) {
    wchar_t text[300];
    return DecryptValue(value, phrase, text, 299) ? text : L"failed";
}

}  // namespace

// The cipher texts are PyCryptodome's; make_cipher_vectors.py prints them.
TEST_CASE("values are enciphered as by an independent implementation, and back") {
    struct Case {
        const wchar_t* plain;
        const wchar_t* phrase;
        const wchar_t* value;
    };
    for (const Case& c :
         {Case{L"secret", L"pass", L"oHi8BJh7igw="},
          {L"", L"x", L"DsL0uuwkrts="},
          {L"12345678", L"key \u00e9", L"yRPGLf5cN3tPgORRpbVqWQ=="},
          {L"12345678", L"\u416b\u4265y \u01e9", L"yRPGLf5cN3tPgORRpbVqWQ=="}}) {  // low bytes count
        CHECK(Encrypt(c.plain, c.phrase) == c.value);
        CHECK(Decrypt(c.value, c.phrase) == c.plain);
    }
}

TEST_CASE("what cannot be deciphered leaves an empty text") {
    for (const wchar_t* value :
         {L"oHi8BJh7igw", L"oHi8BJh7ig==", L"no base64", L"\u4e2d\u4e2d\u4e2d\u4e2d"}) {
        wchar_t text[10] = L"before";
        CHECK_FALSE(DecryptValue(value, L"pass", text, 9));
        CHECK(text[0] == 0);
    }
    CHECK(Decrypt(L"oHi8BJh7igw=", L"wrong") != L"secret");
}

TEST_CASE("texts are bounded by the given length") {
    wchar_t text[16];
    std::fill_n(text, 16, L'#');
    REQUIRE(DecryptValue(L"oHi8BJh7igw=", L"pass", text, 4));
    CHECK(std::wstring(text) == L"secr");
    CHECK(text[5] == L'#');
    CHECK_FALSE(EncryptValue(L"secret", L"pass", text, 11));
    CHECK(text[0] == 0);
    CHECK(EncryptValue(L"secret", L"pass", text, 12));
    CHECK(text[13] == L'#');
    CHECK_FALSE(EncryptValue(L"\u4e2d", L"pass", text, 12));  // not in the code page: refused, not replaced
}

TEST_CASE("only a key of 40 bits is accepted") {
    for (const DWORD bits : {40, 48, 56, 64, 128}) {
        CAPTURE(bits);
        ValueCipher cipher;
        CHECK(cipher.Open(L"pass", bits) == (bits == 40));
    }
}
