// ce-run: a Windows CE program, or one function of a DLL, on this machine.
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "emulator/graph/dom.h"
#include "emulator/graph/graph.h"
#include "emulator/import_faults.h"
#include "emulator/text.h"
#include "run/options.h"
#include "run/registry_file.h"
#include "run/report.h"
#include "run/scenario.h"
#include "run/trace.h"

namespace {

using namespace ce;

constexpr int kDeadlineCode = 124, kFaultCode = 125;

// Interrupts the machine when the time is over, and again until it has stopped: it may be between two
// stretches of the program's code.
class Deadline {
  public:
    Deadline(Machine& machine, unsigned seconds)
        : watch([this, &machine, seconds](const std::stop_token& stop) {
              std::unique_lock lock(mutex);
              const auto end = [&stop] { return stop.stop_requested(); };
              if (changed.wait_for(lock, stop, std::chrono::seconds(seconds), end)) return;
              do machine.Interrupt();
              while (!changed.wait_for(lock, stop, std::chrono::milliseconds(20), end));
          }) {}

  private:
    std::mutex mutex;
    std::condition_variable_any changed;
    std::jthread watch;  // last: it uses the others
};

void ShowOutput(Process::Output to, std::string_view text) {
    FILE* stream = to == Process::Output::Error ? stderr : stdout;
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

// The arguments in one line, those with blanks in quotes.
std::u16string CommandLine(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        const bool quoted = argument.empty() || argument.find_first_of(" \t") != std::string::npos;
        if (!line.empty()) line += ' ';
        line += quoted ? "\"" + argument + "\"" : argument;
    }
    return FromUtf8(line);
}

u32 ExportArgument(Process& process, const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, text.starts_with("0x") ? 16 : 10);
    if (!text.empty() && *end == 0 && errno == 0 && number >= INT32_MIN && number <= UINT32_MAX)
        return static_cast<u32>(number);
    const std::u16string wide = FromUtf8(text);
    const u32 address = HostMemory(process, static_cast<u32>(2 * wide.size() + 2));
    WriteText(process.machine, address, wide);
    return address;
}

u32 CallExport(Process& process, const Module& module, const Options& options) {
    std::vector<u32> words;
    for (const std::string& argument : options.arguments) words.push_back(ExportArgument(process, argument));
    const u32 result = process.Call(module, options.exportName, words);
    std::printf("%s = %d (%s)\n", options.exportName.c_str(), static_cast<i32>(result), Hex(result).c_str());
    return result;
}

Outcome Run(Process& process, const Options& options) {
    Outcome outcome;
    const Deadline deadline(process.machine, options.deadlineSeconds);
    process.machine.StartCounting();
    if (options.seed) process.scheduler.PlaySeed(*options.seed);
    if (options.deviceSeconds) process.scheduler.EndAfter(1000ull * options.deviceSeconds);
    try {
        const Module& module = process.Load(options.image);
        if (module.image.isProgram) {
            outcome.value = process.RunProgram(module, CommandLine(options.arguments));
        } else {
            outcome.end = Outcome::End::Returned;
            outcome.value = CallExport(process, module, options);
        }
        process.TellProcessEnds();
        process.heap.Validate();
    } catch (const ProcessEnd& end) {
        outcome.end = Outcome::End::Exit;
        outcome.value = end.code;
    } catch (const Interrupted& interrupted) {
        const bool isOver = process.scheduler.IsTimeOver();
        outcome.end = isOver ? Outcome::End::DeviceDeadline : Outcome::End::Deadline;
        outcome.fault = interrupted.what();
    } catch (const Failure& failure) {
        outcome.end = Outcome::End::Fault;
        outcome.fault = failure.what();
    }
    if (!outcome.fault.empty() && !outcome.fault.ends_with('\n')) outcome.fault += '\n';
    outcome.instructions = process.machine.StopCounting();
    if (process.machine.Time()) outcome.time = *process.machine.Time();
    return outcome;
}

int ExitCode(const Outcome& outcome) {
    switch (outcome.end) {
        case Outcome::End::Exit:
            return static_cast<int>(outcome.value & 0xFF);
        case Outcome::End::Returned:
            return 0;
        case Outcome::End::Deadline:
        case Outcome::End::DeviceDeadline:
            return kDeadlineCode;
        default:
            return kFaultCode;
    }
}

// FUNCTION:N.
void ChooseFault(ImportFaults& faults, const std::string& text) {
    const size_t colon = text.find(':');
    const int call = colon == std::string::npos ? 0 : std::atoi(text.c_str() + colon + 1);
    if (call < 1)
        throw std::runtime_error("--fail: '" + text + "' is not a function, a colon and a number from 1");
    faults.Fail(text.substr(0, colon), static_cast<u32>(call));
}

int RunWith(const Options& options) {
    Process process(std::filesystem::canonical(options.folder).string(), options.stackKilobytes * 1024);
    Platform platform(process);
    RegisterParser(process);
    process.libraryFolders = {process.folder, std::filesystem::path(options.image).parent_path().string()};
    process.onOutput = ShowOutput;
    if (!options.registry.empty()) ReadRegistryFile(process, options.registry);
    OfferScenario(process, platform, options.scenario);
    if (options.time) process.machine.EstimateTime();
    if (options.fast) process.machine.CheckAlignment(false);
    if (options.trace) TraceCalls(process);

    std::optional<ImportFaults> faults;
    if (!options.watched.empty()) faults.emplace(process, options.watched);
    if (!options.failing.empty()) ChooseFault(*faults, options.failing);

    const Outcome outcome = Run(process, options);

    if (outcome.end == Outcome::End::Deadline)
        std::fprintf(stderr, "ce-run: the deadline of %u s has passed; %s", options.deadlineSeconds,
                     outcome.fault.c_str());
    if (outcome.end == Outcome::End::DeviceDeadline)
        std::fprintf(stderr, "ce-run: the deadline of %u s of the device's time has passed; %s",
                     options.deviceSeconds, outcome.fault.c_str());
    if (outcome.end == Outcome::End::Fault) std::fprintf(stderr, "ce-run: %s", outcome.fault.c_str());
    Report report = MakeReport(process, std::filesystem::path(options.image).filename().string(), outcome);
    if (faults) report.calls = faults->Calls();
    if (!options.quiet) std::fputs(ToText(report).c_str(), stderr);
    if (!options.savedRegistry.empty()) WriteRegistryFile(process, options.savedRegistry);
    if (!options.json.empty() && !(std::ofstream(options.json) << ToJson(report)))
        throw Failure(options.json + ": cannot be written");
    return ExitCode(outcome);
}

}  // namespace

int main(int count, char** arguments) {
    int exitCode = 0;
    const auto options = ReadOptions(count, arguments, exitCode);
    if (!options) return exitCode;
    try {
        return RunWith(*options);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "ce-run: %s\n", failure.what());
        return kUsageError;
    }
}
