// Kernels are routines that exist once for each of several instruction sets, with the same results on all of
// them. A kernel set is what a module has for one instruction set; its table has all the sets of a build.
// What the processor can do is asked here and nowhere else.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#define CAM_VECTOR_KERNELS
#endif

namespace cam {

enum class InstructionSet {
    Plain,  // one step after the other: what the others are compared with
    Word,   // 32-bit words, shifts and tables: processors without vectors
    Sse2,
    Avx2,
};

// Those of this build, the slowest first.
inline constexpr InstructionSet kInstructionSets[] = {
    InstructionSet::Plain,
    InstructionSet::Word,
#ifdef CAM_VECTOR_KERNELS
    InstructionSet::Sse2,
    InstructionSet::Avx2,
#endif
};
inline constexpr int kInstructionSetCount = sizeof kInstructionSets / sizeof *kInstructionSets;

constexpr const char* NameOf(InstructionSet set) {
    constexpr const char* kNames[] = {"plain", "word", "sse2", "avx2"};
    return kNames[static_cast<int>(set)];
}

// Whether this build has kernels for the instruction set and this processor can run them. Any thread.
inline bool ProcessorHas(InstructionSet set) {
#ifdef CAM_VECTOR_KERNELS
    if (set == InstructionSet::Avx2) return __builtin_cpu_supports("avx2");
    if (set == InstructionSet::Sse2) return __builtin_cpu_supports("sse2");
#endif
    return set == InstructionSet::Plain || set == InstructionSet::Word;
}

// One module's kernel sets, by instruction set. Any thread may ask.
template <typename Kernels>
struct KernelTable {
    const Kernels* sets[kInstructionSetCount];

    // Null when this build or this processor does not have the instruction set.
    const Kernels* For(InstructionSet set) const {
        return ProcessorHas(set) ? sets[static_cast<int>(set)] : nullptr;
    }

    // The fastest set on this processor of those that `suits(set)` accepts; the plain one, when it accepts no
    // other.
    template <typename Suits>
    const Kernels& Fastest(Suits suits) const {
        for (int i = kInstructionSetCount; --i > 0;) {
            const Kernels* const kernels = For(kInstructionSets[i]);
            if (kernels && suits(*kernels)) return *kernels;
        }
        return *sets[0];
    }
    const Kernels& Fastest() const {
        return Fastest([](const Kernels&) { return true; });
    }
};

}  // namespace cam
