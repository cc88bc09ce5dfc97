#include "code128.h"

#include <cstddef>

namespace imvoxa {
namespace {

constexpr int kStartB = 104;
constexpr int kCheckModulus = 103;
constexpr const char* kStop = "2331112";

// The widths of the characters 0 to 105, six digits each.
constexpr std::string_view kPatterns =
    "212222222122222221121223121322131222122213122312132212221213221312231212112232122132122231113222"
    "123122123221223211221132221231213212223112312131311222321122321221312212322112322211212123212321"
    "232121111323131123131321112313132113132311211313231113231311112133112331132131113123113321133121"
    "313121211331231131213113213311213131311123311321331121312113312311332111314111221411431111111224"
    "111422121124121421141122141221112214112412122114122411142112142211241211221114413111241112134111"
    "111242121142121241114212124112124211411212421112421211212141214121412121111143111341131141114113"
    "114311411113411311113141114131311141411131211412211214211232";
constexpr std::size_t kWidthsPerCharacter = 6;
static_assert(kPatterns.size() == 106 * kWidthsPerCharacter, "one pattern a character");

std::string_view Pattern(int value) {
    return kPatterns.substr(static_cast<std::size_t>(value) * kWidthsPerCharacter, kWidthsPerCharacter);
}

}  // namespace

std::string Code128(std::string_view text) {
    std::string widths(Pattern(kStartB));
    int sum = kStartB;
    int place = 0;
    for (const char character : text) {
        const int value = character - ' ';
        sum += ++place * value;
        widths += Pattern(value);
    }
    widths += Pattern(sum % kCheckModulus);
    return widths + kStop;
}

int ModuleCount(std::string_view widths) {
    int modules = 0;
    for (const char width : widths) modules += width - '0';
    return modules;
}

}  // namespace imvoxa
