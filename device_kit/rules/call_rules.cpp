#include "rules/call_rules.h"

#include <algorithm>

namespace kit {

void CallRules::Play(std::vector<CallRule> next) {
    rules = std::move(next);
    Forget();
}

void CallRules::Forget() {
    counts = std::vector<Counted>();
    list = std::vector<std::string>();
    current = std::string();
    isCurrentListed = false;
}

void CallRules::AnswerNext(std::string call, std::uint32_t result) {
    const long next = Count(call) + 1;
    rules.insert(rules.begin(), CallRule{std::move(call), next, 1, result});
}

Verdict CallRules::Note(std::string_view name, std::string_view arguments, bool isListed) {
    current = name;
    isCurrentListed = isListed && list.size() < maxListed;
    if (isCurrentListed) list.push_back(current);
    Verdict verdict = Judge(name);
    if (arguments.empty()) return verdict;
    const Verdict more = NoteArguments(arguments);
    verdict.delayMs += more.delayMs;
    if (!verdict.result) verdict.result = more.result;
    return verdict;
}

Verdict CallRules::NoteArguments(std::string_view arguments) {
    current += ' ';
    current += arguments;
    if (isCurrentListed) list.back() = current;
    return Judge(current);
}

Verdict CallRules::Judge(std::string_view call) {
    auto place = counts.begin() + (Place(call) - counts.cbegin());
    if (place == counts.end() || place->first != call)
        place = counts.insert(place, Counted{std::string(call), 0});
    const long count = ++place->second;
    Verdict verdict;
    for (const CallRule& rule : rules) {
        if (rule.call != call || count < rule.at) continue;
        if (rule.times != 0 && count - rule.at >= rule.times) continue;
        verdict.delayMs += rule.delayMs;
        if (!verdict.result) verdict.result = rule.result;
    }
    return verdict;
}

std::vector<CallRules::Counted>::const_iterator CallRules::Place(std::string_view call) const {
    return std::lower_bound(counts.begin(), counts.end(), call,
                            [](const Counted& one, std::string_view other) { return one.first < other; });
}

long CallRules::Count(std::string_view call) const {
    const auto place = Place(call);
    return place != counts.end() && place->first == call ? place->second : 0;
}

std::string CallRules::Log() const {
    std::string log;
    for (const std::string& call : list) log.append(call).append(1, '\n');
    return log;
}

}  // namespace kit
