#include "rules/call_rules.h"

#include <algorithm>

namespace kit {

void CallRules::Play(std::vector<CallRule> rules) {
    rules_ = std::move(rules);
    Forget();
}

void CallRules::Forget() {
    counts_ = std::vector<Counted>();
    list_ = std::vector<std::string>();
    current_ = std::string();
    isCurrentListed_ = false;
}

void CallRules::AnswerNext(std::string call, std::uint32_t result) {
    const long next = Count(call) + 1;
    rules_.insert(rules_.begin(), CallRule{std::move(call), next, 1, result});
}

Verdict CallRules::Note(std::string_view name, std::string_view arguments, bool isListed) {
    current_ = name;
    isCurrentListed_ = isListed && list_.size() < maxListed_;
    if (isCurrentListed_) list_.push_back(current_);
    Verdict verdict = Judge(name);
    if (arguments.empty()) return verdict;
    const Verdict more = NoteArguments(arguments);
    verdict.delayMs += more.delayMs;
    if (!verdict.result) verdict.result = more.result;
    return verdict;
}

Verdict CallRules::NoteArguments(std::string_view arguments) {
    current_ += ' ';
    current_ += arguments;
    if (isCurrentListed_) list_.back() = current_;
    return Judge(current_);
}

Verdict CallRules::Judge(std::string_view call) {
    auto place = counts_.begin() + (Place(call) - counts_.cbegin());
    if (place == counts_.end() || place->first != call)
        place = counts_.insert(place, Counted{std::string(call), 0});
    const long count = ++place->second;
    Verdict verdict;
    for (const CallRule& rule : rules_) {
        if (rule.call != call || count < rule.at) continue;
        if (rule.times != 0 && count - rule.at >= rule.times) continue;
        verdict.delayMs += rule.delayMs;
        if (!verdict.result) verdict.result = rule.result;
    }
    return verdict;
}

std::vector<CallRules::Counted>::const_iterator CallRules::Place(std::string_view call) const {
    return std::lower_bound(counts_.begin(), counts_.end(), call,
                            [](const Counted& one, std::string_view other) { return one.first < other; });
}

long CallRules::Count(std::string_view call) const {
    const auto place = Place(call);
    return place != counts_.end() && place->first == call ? place->second : 0;
}

std::string CallRules::Log() const {
    std::string log;
    for (const std::string& call : list_) log.append(call).append(1, '\n');
    return log;
}

}  // namespace kit
