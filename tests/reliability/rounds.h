// Rounds with random input, each repeated by its number.
//
// In the environment: OCELLUS_FUZZ_SECONDS, how long each kind goes on, 1 unless set; OCELLUS_FUZZ_SEED, the
// first round's number; OCELLUS_FUZZ_TELL=1, each round is told before it is played, for one that ends the
// process.
#pragma once

#include <doctest/doctest.h>

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace cam::test {

class Random {
  public:
    explicit Random(unsigned seed) : engine(seed) {}
    int Below(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }
    bool OneIn(int count) { return Below(count) == 0; }
    template <typename T, size_t kCount>
    const T& Of(const T (&choices)[kCount]) {
        return choices[Below(static_cast<int>(kCount))];
    }
    LONG Bits() { return static_cast<LONG>(engine()); }

  private:
    std::mt19937 engine;
};

inline int Setting(const char* name, int otherwise) {
    const char* const text = getenv(name);
    return text ? atoi(text) : otherwise;
}

// What the process has used of the processors.
inline double ProcessorSeconds() {
    FILETIME unused, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &unused, &unused, &kernel, &user)) return 0;
    const auto steps = [](FILETIME time) {
        return static_cast<double>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    };
    return (steps(kernel) + steps(user)) / 1e7;
}

// Plays rounds until the time is over.
template <typename Round>
void PlayRounds(const char* what, const Round& round) {
    const DWORD start = GetTickCount();
    const double before = ProcessorSeconds();
    const auto limitMs = static_cast<DWORD>(Setting("OCELLUS_FUZZ_SECONDS", 1)) * 1000;
    const int first = Setting("OCELLUS_FUZZ_SEED", 1);
    const bool isTold = Setting("OCELLUS_FUZZ_TELL", 0) != 0;
    int number = first;
    for (; GetTickCount() - start < limitMs; ++number) {
        if (isTold) fprintf(stderr, "%s %d\n", what, number);
        CAPTURE(number);
        Random random(static_cast<unsigned>(number));
        round(random);
    }
    CHECK(number > first);
    printf("%s: %d rounds, %.1f s of a processor\n", what, number - first, ProcessorSeconds() - before);
}

}  // namespace cam::test
