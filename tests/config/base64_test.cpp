#include "config/base64.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using namespace cam::config;

TEST_CASE("Base64 of the standard's own examples, both ways") {
    struct Case {
        std::string plain;
        std::string text;
    };
    for (const Case& c : {Case{"", ""},
                          {"f", "Zg=="},
                          {"fo", "Zm8="},
                          {"foo", "Zm9v"},
                          {"foob", "Zm9vYg=="},
                          {"fooba", "Zm9vYmE="},
                          {"foobar", "Zm9vYmFy"},
                          {"\xFB\xFF\xBF", "+/+/"}}) {
        std::vector<char> text(Base64Length(c.plain.size()));
        EncodeBase64({reinterpret_cast<const unsigned char*>(c.plain.data()), c.plain.size()}, text.data());
        CHECK(std::string(text.begin(), text.end()) == c.text);
        std::vector<unsigned char> bytes(c.text.size() / 4 * 3);
        CHECK(DecodeBase64(c.text, bytes.data()) == c.plain.size());
        bytes.resize(c.plain.size());
        CHECK(std::string(bytes.begin(), bytes.end()) == c.plain);
    }
}

TEST_CASE("what is no Base64 is refused") {
    unsigned char bytes[16];
    for (const char* text :
         {"Z", "Zg=", "Zg", "Z===", "====", "Zg==Zg==", "Zm9-", "Zm 9", "Zg=v", "Zm9v\n"}) {
        CAPTURE(std::string(text));
        CHECK_FALSE(DecodeBase64(text, bytes));
    }
}
