#include "run/report.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "emulator/com_object.h"
#include "emulator/import_faults.h"
#include "emulator/text.h"
#include "emulator/windows.h"

namespace ce {

namespace {

constexpr u64 kStartOfClock = 1000;  // the device has been on for a second when the program begins

std::string Ending(const Report& report) {
    const Outcome& outcome = report.outcome;
    switch (outcome.end) {
        case Outcome::End::Exit:
            return "ended with " + std::to_string(static_cast<i32>(outcome.value));
        case Outcome::End::Returned:
            return "returned";
        case Outcome::End::Deadline:
        case Outcome::End::DeviceDeadline:
            return "was ended at the deadline";
        default:
            return "faulted";
    }
}

std::string Blocks(const Heap::Share& share) {
    return std::to_string(share.blocks) + (share.blocks == 1 ? " block, " : " blocks, ") +
           std::to_string(share.bytes) + " bytes, allocated by " + share.caller;
}

}  // namespace

Report MakeReport(Process& process, const std::string& image, const Outcome& outcome) {
    auto& windows = process.Attachment<Windows>("windows");
    Report report;
    report.image = image;
    report.outcome = outcome;
    report.milliseconds = process.scheduler.Now() - kStartOfClock;
    report.stacks = process.scheduler.StackUses();
    report.peakHeap = process.heap.PeakBytes();
    report.messages = windows.posted.size();
    for (const auto& [text, caption] : windows.boxes) report.boxes.push_back(ToUtf8(caption + u": " + text));
    std::map<std::string, u32> kinds;
    for (const auto& [handle, object] : process.AllHandles()) ++kinds[object->Describe()];
    for (const auto& [handle, window] : windows.windows) ++kinds["window " + ToUtf8(window.className)];
    for (const auto& [what, count] : kinds) report.handles.push_back({what, count});
    std::istringstream lines(ReferencedObjects(process));
    for (std::string line; std::getline(lines, line);) report.references.push_back(line.substr(2));
    report.blocks = process.heap.Shares();
    return report;
}

std::string ToText(const Report& report) {
    std::ostringstream out;
    out << "ce-run: " << report.image << " " << Ending(report) << " after " << report.milliseconds
        << " ms of the device's time\n";
    out << "  instructions     " << report.outcome.instructions << "\n";
    std::map<std::string, u32> stacks;
    for (const auto& use : report.stacks) stacks[use.thread] = std::max(stacks[use.thread], use.bytes);
    if (const auto& time = report.outcome.time) {
        out << "  estimated cycles " << time->Cycles() << ", " << 1000 * time->Cycles() / DeviceTime::kHertz
            << " ms of a processor at 400 MHz\n";
        out << "  accesses         " << time->accesses << ", lines of the cache filled " << time->data.fills
            << ", written back " << time->data.writeBacks << ", filled with code " << time->code.fills
            << "\n";
    }
    out << "  deepest stacks  ";
    for (const auto& [thread, bytes] : stacks)
        out << (thread == stacks.begin()->first ? "" : ",") << " " << thread << " " << bytes;
    out << " bytes\n";
    out << "  peak heap        " << report.peakHeap << " bytes\n";
    out << "  messages posted  " << report.messages << "\n";
    for (const std::string& box : report.boxes) out << "  message box      " << box << "\n";
    out << "  left open       ";
    const bool nothing = report.handles.empty() && report.references.empty() && report.blocks.empty();
    out << (nothing ? " nothing\n" : "\n");
    for (const auto& left : report.handles) out << "    " << left.count << " " << left.what << "\n";
    for (const auto& reference : report.references) out << "    references to " << reference << "\n";
    for (const auto& share : report.blocks) out << "    " << Blocks(share) << "\n";
    return out.str();
}

std::string ToJson(const Report& report) {
    using Json = nlohmann::json;
    const char* ends[] = {"exit", "returned", "deadline", "deadline", "fault"};
    Json document = {{"image", report.image},
                     {"end", ends[static_cast<size_t>(report.outcome.end)]},
                     {"value", static_cast<i32>(report.outcome.value)},
                     {"instructions", report.outcome.instructions},
                     {"milliseconds", report.milliseconds},
                     {"peakHeap", report.peakHeap},
                     {"messages", report.messages},
                     {"messageBoxes", report.boxes},
                     {"references", report.references}};
    if (!report.outcome.fault.empty()) document["fault"] = report.outcome.fault;
    if (const auto& time = report.outcome.time) {
        document["time"] = {{"cycles", time->Cycles()},
                            {"accesses", time->accesses},
                            {"branches", time->branches},
                            {"dataFills", time->data.fills},
                            {"writeBacks", time->data.writeBacks},
                            {"codeFills", time->code.fills}};
    }
    document["stacks"] = Json::array();
    for (const auto& use : report.stacks)
        document["stacks"].push_back({{"thread", use.thread}, {"id", use.id}, {"bytes", use.bytes}});
    document["handles"] = Json::array();
    for (const auto& left : report.handles)
        document["handles"].push_back({{"what", left.what}, {"count", left.count}});
    document["blocks"] = Json::array();
    for (const auto& share : report.blocks)
        document["blocks"].push_back(
            {{"by", share.caller}, {"blocks", share.blocks}, {"bytes", share.bytes}});
    for (const auto& [function, count] : report.calls) {
        document["calls"].push_back(
            {{"function", function}, {"count", count}, {"canFail", ImportFaults::CanFail(function)}});
    }
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ce
