// Measures thresholding, Group 4 coding and the whole path from a camera frame to a TIFF file against other
// libraries.
//
//   bilevel_bench [--film FILE.y4m] [--size WxH] [--content NAME] [--stage NAME] [--contender NAME]
//                 [--pictures N] [--rounds N] [--count]
//
// Without choices everything is measured. --count runs each chosen contender once on each picture, inside
// CountedRun(), and prints the number of pixels: scripts/count-instructions.sh counts the instructions from
// outside.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>

#include "bilevel_contenders.h"

using namespace cam::bench;

namespace {

struct Options {
    std::string film = "build/media/film.y4m";
    std::string size, content, stage, contender;
    uint32_t pictures = 0;
    uint32_t rounds = 15;
    bool count = false;
};

constexpr Size kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}};

// Time of this thread alone: others may be working on the machine.
double Nanoseconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

struct Measure {
    double nanoseconds = 0;  // for a pixel, in the best round
    double bytes = 0;        // for a picture
};

// The only place where something measured runs; by its name a profiler finds it.
[[gnu::noinline]] size_t CountedRun(const Job& job) {
    return job.run();
}

// All pictures in turn, several rounds: so many that no branch predictor can know them by heart.
Measure Run(const Contender& contender, const std::vector<Picture>& pictures, uint32_t rounds) {
    std::vector<Job> jobs;
    for (const Picture& picture : pictures) jobs.push_back(contender.bind(picture));
    const double pixels = static_cast<double>(pictures.size() * pictures[0].grey.size());
    Measure best;
    for (uint32_t round = 0; round < rounds; ++round) {
        double time = 0;
        size_t bytes = 0;
        for (const Job& job : jobs) {
            job.prepare();
            const double start = Nanoseconds();
            const size_t made = CountedRun(job);
            time += Nanoseconds() - start;
            if (made == 0) {
                fprintf(stderr, "%s %s failed\n", StageName(contender.stage), contender.name.c_str());
                exit(1);
            }
            bytes += made;
        }
        if (round == 0 || time / pixels < best.nanoseconds) best.nanoseconds = time / pixels;
        best.bytes = static_cast<double>(bytes) / static_cast<double>(jobs.size());
    }
    return best;
}

Options ReadOptions(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        if (name == "--count") {
            options.count = true;
            continue;
        }
        if (i + 1 == count) {
            fprintf(stderr, "%s: no value, or no such option; see the head of bilevel_bench.cpp\n",
                    name.c_str());
            exit(2);
        }
        const char* value = arguments[++i];
        if (name == "--film")
            options.film = value;
        else if (name == "--size")
            options.size = value;
        else if (name == "--content")
            options.content = value;
        else if (name == "--stage")
            options.stage = value;
        else if (name == "--contender")
            options.contender = value;
        else if (name == "--pictures")
            options.pictures = static_cast<uint32_t>(atoi(value));
        else if (name == "--rounds")
            options.rounds = static_cast<uint32_t>(atoi(value));
        else {
            fprintf(stderr, "%s: no such option\n", name.c_str());
            exit(2);
        }
    }
    return options;
}

void PrintLine(const Contender& contender, Size size, Content content, const Measure& measure,
               const Measure& reference) {
    char ratio[16] = "-";
    if (reference.nanoseconds > 0) {
        snprintf(ratio, sizeof ratio, "%.2f", reference.nanoseconds / measure.nanoseconds);
    }
    printf("| %-9s | %-16s | %-9s | %-11s | %8.3f | %7s | %9.0f |\n", StageName(contender.stage),
           contender.name.c_str(), size.Name().c_str(), ContentName(content), measure.nanoseconds, ratio,
           measure.bytes);
    fflush(stdout);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const Options options = ReadOptions(argumentCount, arguments);
    std::vector<Contender> contenders = PeerContenders();
    for (Contender& own : OwnContenders()) contenders.push_back(std::move(own));
    // The ones that the others are compared with come first.
    std::stable_sort(contenders.begin(), contenders.end(), [](const Contender& a, const Contender& b) {
        return a.stage != b.stage ? a.stage < b.stage : a.reference > b.reference;
    });
    if (!options.count) {
        printf("| %-9s | %-16s | %-9s | %-11s | ns/pixel | times   | bytes     |\n", "stage",
               "implementation", "size", "content");
        puts("|-----------|------------------|-----------|-------------|---------:|--------:|----------:|");
    }
    auto chosen = [](const std::string& choice, const std::string& name) {
        return choice.empty() || choice == name;
    };
    for (Size size : kSizes) {
        if (!chosen(options.size, size.Name())) continue;
        for (Content content : kContents) {
            if (!chosen(options.content, ContentName(content))) continue;
            const uint32_t count = options.pictures ? options.pictures : size.width < 1000 ? 12 : 5;
            const std::vector<Picture> pictures = MakePictures(content, size, count, options.film);
            Measure reference;
            Stage stage = Stage::Threshold;
            for (const Contender& contender : contenders) {
                if (contender.stage != stage) reference = {};
                stage = contender.stage;
                if (!chosen(options.stage, StageName(contender.stage)) ||
                    !chosen(options.contender, contender.name))
                    continue;
                const Measure measure = Run(contender, pictures, options.count ? 1 : options.rounds);
                if (options.count) continue;
                if (contender.reference) reference = measure;
                PrintLine(contender, size, content, measure, reference);
            }
            if (options.count) printf("%zu\n", pictures.size() * pictures[0].grey.size());
        }
    }
    return 0;
}
