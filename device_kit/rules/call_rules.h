// Calls that are counted, listed, delayed and answered by rule: one engine for all that plays a camera, an
// imager or a platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kit {

// What happens at some calls of one kind.
struct CallRule {
    std::string call;  // as it is noted, "Acquire", or with its arguments, "Acquire 3", to mean only those
    long at = 1;       // the first call that is meant, counted from 1
    long times = 1;    // how many calls from there on; 0: all
    std::optional<std::uint32_t> result = {};  // what it makes of the call is up to who plays
    std::uint32_t delayMs = 0;                 // before the call
};

// What the rules have for one call: the first result, and all delays together.
struct Verdict {
    std::optional<std::uint32_t> result;
    std::uint32_t delayMs = 0;
};

// Text is UTF-8. Has no lock: who shares it between threads locks it, and waits out a delay without the lock.
class CallRules {
  public:
    explicit CallRules(std::size_t listedAtMost = SIZE_MAX) : maxListed(listedAtMost) {}

    // These rules act from now on; counts and list begin anew.
    void Play(std::vector<CallRule> next);
    // Counts and list begin anew. Frees what they took.
    void Forget();
    // The next such call is answered with that result, whatever the rules say.
    void AnswerNext(std::string call, std::uint32_t result);

    // Counts a call under its name and, if it has arguments, under both together, and lists it.
    Verdict Note(std::string_view name, std::string_view arguments = {}, bool isListed = true);
    // Arguments of the call noted last that were not known then.
    Verdict NoteArguments(std::string_view arguments);

    long Count(std::string_view call) const;
    // In their order, with their arguments; those beyond the maximum are not listed.
    const std::vector<std::string>& List() const { return list; }
    // One line a call.
    std::string Log() const;

  private:
    using Counted = std::pair<std::string, long>;

    Verdict Judge(std::string_view call);
    std::vector<Counted>::const_iterator Place(std::string_view call) const;

    const std::size_t maxListed;
    std::vector<CallRule> rules;
    std::vector<Counted> counts;  // sorted by call
    std::vector<std::string> list;
    std::string current;  // the call noted last, as far as it is known
    bool isCurrentListed = false;
};

}  // namespace kit
