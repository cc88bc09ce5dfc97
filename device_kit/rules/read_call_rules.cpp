#include "rules/read_call_rules.h"

#include <charconv>

#include "rules/json_values.h"

namespace kit {
namespace {

using Json = nlohmann::json;

constexpr long kMaxDelayMs = 60000;
constexpr std::size_t kPrefix = 2;  // "0x"
constexpr std::size_t kHresultDigits = 8;

// The number in a text such as "0x80004005"; nothing: it is none.
std::optional<std::uint32_t> Hexadecimal(const Json& value) {
    const std::string text = value.is_string() ? value.get<std::string>() : "";
    if (text.size() <= kPrefix || text.rfind("0x", 0) != 0) return {};
    std::uint32_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + kPrefix, last, number, 16);
    if (error != std::errc() || end != last) return {};
    return number;
}

CallRule ReadRule(const std::string& call, const std::string& path, const Json& object,
                  const CallForm& form) {
    CallRule rule;
    rule.call = call;
    bool acts = false;
    ReadObject(path, object, "\"at\", \"times\", \"result\" and \"delayMs\"",
               [&](const std::string& name, const std::string& member, const Json& value) {
                   if (name == "at") {
                       rule.at = Integer(member, value, 1, INT32_MAX);
                   } else if (name == "times") {
                       rule.times = Integer(member, value, 0, INT32_MAX);
                   } else if (name == "result") {
                       rule.result = form.readResult(member, value);
                   } else if (name == "delayMs") {
                       rule.delayMs = static_cast<std::uint32_t>(Integer(member, value, 0, kMaxDelayMs));
                   } else {
                       return false;
                   }
                   acts = acts || name == "result" || name == "delayMs";
                   return true;
               });
    if (!acts) Refuse(path, object, "say what shall happen: add \"result\", \"delayMs\" or both");
    return rule;
}

}  // namespace

std::vector<CallRule> ReadCallRules(const std::string& path, const Json& object, const CallForm& form) {
    if (!object.is_object())
        Refuse(path, object, std::string("give an object of calls, such as ") + form.example);
    std::vector<CallRule> rules;
    for (const auto& [name, value] : object.items()) {
        const std::string member = Inner(path, name);
        const std::optional<std::string> call = form.find(name);
        if (!call) Refuse(member, value, form.unknown);
        if (!value.is_array()) {
            rules.push_back(ReadRule(*call, member, value, form));
            continue;
        }
        for (std::size_t index = 0; index < value.size(); ++index)
            rules.push_back(ReadRule(*call, Inner(member, index), value[index], form));
    }
    return rules;
}

std::optional<std::uint32_t> ReadHresult(const std::string& member, const Json& value) {
    const auto code = Hexadecimal(value);
    if (!code || value.get_ref<const std::string&>().size() != kPrefix + kHresultDigits)
        Refuse(member, value, "give an HRESULT of eight hexadecimal digits, such as \"0x80004005\"");
    return *code == 0 ? std::nullopt : code;
}

std::optional<std::uint32_t> ReadStatus(const std::string& member, const Json& value) {
    if (value.is_number_integer() && value >= INT32_MIN && value <= UINT32_MAX)
        return static_cast<std::uint32_t>(value.get<std::int64_t>());
    const auto status = Hexadecimal(value);
    if (!status) Refuse(member, value, "give a whole number, or one in hexadecimal such as \"0x80004005\"");
    return status;
}

}  // namespace kit
