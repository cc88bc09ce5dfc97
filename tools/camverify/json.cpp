#include "json.h"

namespace verify {

void Json::Name(std::string_view name) {
    if (!first) written += ',';
    first = false;
    if (name.empty()) return;
    Quoted(name);
    written += ':';
}

void Json::Quoted(std::string_view value) {
    written += '"';
    for (const char unit : value) {
        if (unit == '"' || unit == '\\') {
            written += '\\';
            written += unit;
        } else if (static_cast<unsigned char>(unit) < ' ') {
            constexpr char kDigits[] = "0123456789abcdef";
            written += "\\u00";
            written += kDigits[unit >> 4];
            written += kDigits[unit & 15];
        } else {
            written += unit;
        }
    }
    written += '"';
}

Json& Json::BeginObject(std::string_view name) {
    Name(name);
    written += '{';
    first = true;
    return *this;
}

Json& Json::EndObject() {
    written += '}';
    first = false;
    return *this;
}

Json& Json::BeginList(std::string_view name) {
    Name(name);
    written += '[';
    first = true;
    return *this;
}

Json& Json::EndList() {
    written += ']';
    first = false;
    return *this;
}

Json& Json::Text(std::string_view name, std::string_view value) {
    Name(name);
    Quoted(value);
    return *this;
}

Json& Json::Number(std::string_view name, long long value) {
    Name(name);
    written += std::to_string(value);
    return *this;
}

Json& Json::Flag(std::string_view name, bool value) {
    Name(name);
    written += value ? "true" : "false";
    return *this;
}

}  // namespace verify
