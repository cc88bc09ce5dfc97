#include "options.h"

#include <string_view>

#include "text.h"

namespace verify {

const char kUsage[] =
    "camverify [OPTIONS]\n"
    "Verifies ocellus.dll, its filters and the camera driver on this machine; what it finds is written as "
    "TAP version 14.\n"
    "\n"
    "  --list              the groups and their checks\n"
    "  --group NAME        that group only; may be repeated\n"
    "  --type TYPE         dshow (default) or imager\n"
    "  --library PATH      the library; default: ocellus.dll beside this program\n"
    "  --no-kit            the machine's own camera, although the device kit is there\n"
    "  --deadline SECONDS  for each check, and for each row of a table anew; 1 to 3600, default 30\n"
    "  --cycles N          how often the group resources opens and closes; 1 to 3600, default 10\n"
    "  --pictures FOLDER   leaves pictures there\n"
    "  --json FILE         writes what was found as JSON as well\n"
    "  --output FILE       writes the report into this file as well\n"
    "  --help              this text\n"
    "\n"
    "Exit code: 0 passed, 1 failed, 2 usage or no usable library, 3 no camera.\n";

namespace {

constexpr DWORD kMaxNumber = 3600;

// 0: no number in that range.
DWORD ReadNumber(std::wstring_view text) {
    DWORD number = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9' || number > kMaxNumber) return 0;
        number = number * 10 + static_cast<DWORD>(digit - L'0');
    }
    return number <= kMaxNumber ? number : 0;
}

}  // namespace

std::string ReadOptions(int count, wchar_t** arguments, Options& options) {
    const struct {
        std::wstring_view name;
        std::wstring* value;
    } texts[] = {{L"--library", &options.library},
                 {L"--json", &options.json},
                 {L"--output", &options.output},
                 {L"--pictures", &options.pictures}};
    const struct {
        std::wstring_view name;
        bool* value;
    } flags[] = {{L"--help", &options.help}, {L"--list", &options.list}, {L"--no-kit", &options.noKit}};

    for (int i = 1; i < count; ++i) {
        const std::wstring_view name = arguments[i];
        bool known = false;
        for (const auto& flag : flags) {
            if (name == flag.name) known = *flag.value = true;
        }
        if (known) continue;
        const std::wstring value = i + 1 < count ? arguments[++i] : L"";
        for (const auto& text : texts) {
            if (name != text.name) continue;
            *text.value = value;
            known = !value.empty();
        }
        if (name == L"--group") {
            options.groups.push_back(Utf8(value));
            known = !value.empty();
        } else if (name == L"--type") {
            known = value == L"dshow" || value == L"imager";
            options.type = value == L"imager" ? 2 : 1;
        } else if (name == L"--deadline") {
            options.deadlineMs = ReadNumber(value) * 1000;
            known = options.deadlineMs != 0;
        } else if (name == L"--cycles") {
            options.cycles = ReadNumber(value);
            known = options.cycles != 0;
        }
        if (!known) return "'" + Utf8(name) + " " + Utf8(value) + "' is not understood; see camverify --help";
    }
    return {};
}

}  // namespace verify
