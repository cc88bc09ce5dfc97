// What the readers of JSON members share: values within bounds, and how a mistake is told.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace kit {

// Throws std::runtime_error with member, value and remedy.
[[noreturn]] inline void Refuse(const std::string& member, const nlohmann::json& value,
                                const std::string& remedy) {
    throw std::runtime_error("\"" + member + "\" is " +
                             value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "; " +
                             remedy);
}

inline long Integer(const std::string& member, const nlohmann::json& value, long minimum, long maximum) {
    if (!value.is_number_integer() || value < minimum || value > maximum)
        Refuse(member, value,
               "give a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum));
    return value.get<long>();
}

inline bool Boolean(const std::string& member, const nlohmann::json& value) {
    if (!value.is_boolean()) Refuse(member, value, "give true or false");
    return value.get<bool>();
}

inline std::string Text(const std::string& member, const nlohmann::json& value) {
    if (!value.is_string() || value.get_ref<const std::string&>().empty())
        Refuse(member, value, "give a text");
    return value.get<std::string>();
}

// The name of a member of `path` in texts.
inline std::string Inner(const std::string& path, const std::string& name) {
    std::string inner = path;
    if (!inner.empty()) inner += '.';
    return inner += name;
}
inline std::string Inner(const std::string& path, std::size_t index) {
    return path + "[" + std::to_string(index) + "]";
}

// Calls `read` with each member of an object; one that it does not know (false) is refused.
using ReadMember =
    std::function<bool(const std::string& name, const std::string& path, const nlohmann::json& value)>;
inline void ReadObject(const std::string& path, const nlohmann::json& object, const std::string& known,
                       const ReadMember& read) {
    if (!object.is_object()) Refuse(path, object, "give an object with " + known);
    for (const auto& [name, value] : object.items()) {
        const std::string inner = Inner(path, name);
        if (!read(name, inner, value)) Refuse(inner, value, "there is no such member; known are " + known);
    }
}

}  // namespace kit
