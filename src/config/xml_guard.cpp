#include "config/xml_guard.h"

#include <algorithm>
#include <string_view>

namespace cam::config {
namespace {

constexpr uint32_t kByteOrderMark = 0xFEFF;
constexpr uint32_t kFirstNonAscii = 0x80;
constexpr uint32_t kEbcdicOpen = 0x4C;  // "<" in EBCDIC, "L" in ASCII

constexpr bool IsXmlSpace(uint32_t unit) {
    return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
}

constexpr uint32_t kEscape = 0x1B;  // what switches alphabets in some encodings; no XML holds it

constexpr char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool StartsWith(std::string_view text, std::string_view lower) {
    return text.size() >= lower.size() && std::equal(lower.begin(), lower.end(), text.begin(),
                                                     [](char a, char b) { return a == ToLower(b); });
}

bool IsNumber(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether ASCII characters are single units of the encoding, and every unit of that value is one.
bool IsReadable(std::string_view encoding) {
    const auto is = [&](std::string_view name) {
        return encoding.size() == name.size() && StartsWith(encoding, name);
    };
    if (is("utf-8") || is("utf8") || is("us-ascii") || is("ascii")) return true;
    if (is("utf-16") || is("utf-16le") || is("utf-16be")) return true;
    constexpr std::string_view kIso = "iso-8859-";
    if (StartsWith(encoding, kIso)) return IsNumber(encoding.substr(kIso.size()));
    constexpr std::string_view kWindows = "windows-";
    if (!StartsWith(encoding, kWindows)) return false;
    const std::string_view page = encoding.substr(kWindows.size());
    return page == "874" ||
           (page.size() == 4 && page.substr(0, 3) == "125" && page[3] >= '0' && page[3] <= '8');
}

void SkipSpace(std::string_view& text) {
    while (!text.empty() && IsXmlSpace(static_cast<unsigned char>(text[0]))) text.remove_prefix(1);
}

// Whether an instruction is one of others than the XML declaration, or a declaration whose encoding is
// readable.
bool IsReadableInstruction(std::string_view text) {
    if (!StartsWith(text, "xml") || text.size() < 4 || !IsXmlSpace(static_cast<unsigned char>(text[3])))
        return true;
    text.remove_prefix(3);
    for (;;) {
        SkipSpace(text);
        if (text.empty()) return false;  // longer than anybody needs
        if (text[0] == '?') return true;
        const size_t nameEnd = text.find_first_of("= \t\r\n");
        if (nameEnd == std::string_view::npos) return false;
        const bool isEncoding = text.substr(0, nameEnd) == "encoding";
        text.remove_prefix(nameEnd);
        SkipSpace(text);
        if (text.empty() || text[0] != '=') return false;
        text.remove_prefix(1);
        SkipSpace(text);
        if (text.empty() || (text[0] != '"' && text[0] != '\'')) return false;
        const size_t end = text.find(text[0], 1);
        if (end == std::string_view::npos) return false;
        if (isEncoding && !IsReadable(text.substr(1, end - 1))) return false;
        text.remove_prefix(end + 1);
    }
}

}  // namespace

const wchar_t* DescribeVerdict(XmlVerdict verdict) {
    switch (verdict) {
        case XmlVerdict::Accepted:
            break;
        case XmlVerdict::UnsafeDtd:
            return L"A document type definition must not declare entities.";
        case XmlVerdict::TooDeep:
            return L"The elements are nested too deeply.";
        case XmlVerdict::Unreadable:
            return L"This is no XML in a known encoding.";
    }
    return L"";
}

void XmlGuard::AddBytes(std::span<const unsigned char> bytes) {
    for (const unsigned char byte : bytes) {
        if (verdict != XmlVerdict::Accepted) return;
        AddByte(byte);
    }
}

void XmlGuard::AddByte(unsigned char byte) {
    if (encoding == Encoding::Bytes) return AddUnit(byte);
    if (!hasFirstByte) {
        firstByte = byte;
        hasFirstByte = true;
        return;
    }
    hasFirstByte = false;
    const auto little = static_cast<uint32_t>(firstByte | byte << 8);
    const auto big = static_cast<uint32_t>(firstByte << 8 | byte);
    if (encoding == Encoding::Unknown) {
        if (little == kByteOrderMark || little == '<') {
            encoding = Encoding::LittleEndian;
        } else if (big == kByteOrderMark || big == '<') {
            encoding = Encoding::BigEndian;
        } else {
            encoding = Encoding::Bytes;
            AddUnit(firstByte);
            AddUnit(byte);
            return;
        }
    }
    AddUnit(encoding == Encoding::LittleEndian ? little : big);
}

void XmlGuard::AddUnit(uint32_t unit) {
    if (verdict != XmlVerdict::Accepted) return;
    // No XML holds a zero; one here is half of an encoding that was not recognised.
    if (unit == 0 || unit == kEscape) verdict = XmlVerdict::Unreadable;
    const State before = state;
    Follow(unit);
    // What ends a state must not begin before it: "<!-->" is no complete comment.
    const bool same = state == before;
    lastButOne = same ? last : 0;
    last = same ? unit : 0;
}

void XmlGuard::Follow(uint32_t unit) {
    switch (state) {
        case State::Start:
            // The three bytes of the mark in UTF-8 arrive one by one.
            if (IsXmlSpace(unit) || unit == kByteOrderMark) return;
            if (unit == 0xEF || unit == 0xBB || unit == 0xBF) return;
            // Not even mark-up: the parser has a reason of its own for that, unless it knows the encoding.
            if (unit == kEbcdicOpen || unit >= kFirstNonAscii) verdict = XmlVerdict::Unreadable;
            state = unit == '<' ? State::Opened : State::Text;
            return;
        case State::Text:
            if (unit == '<') state = State::Opened;
            return;
        case State::Dtd:
            return FollowDtd(unit);
        case State::Opened:
        case State::Bang:
        case State::Dash:
            return FollowOpened(unit);
        case State::Comment:
            if (unit == '>' && last == '-' && lastButOne == '-') state = Outside();
            return;
        case State::CharacterData:
            if (unit == '>' && last == ']' && lastButOne == ']') state = State::Text;
            return;
        case State::Instruction:
            return FollowInstruction(unit);
        case State::Tag:
            return FollowTag(unit);
        case State::EndTag:
            if (unit != '>') return;
            Leave();
            state = State::Text;
            return;
    }
}

void XmlGuard::FollowInstruction(uint32_t unit) {
    if (unit == '>' && last == '?') {
        if (!IsReadableInstruction({instruction, instructionLength})) verdict = XmlVerdict::Unreadable;
        state = Outside();
    } else if (instructionLength < kMaxInstruction) {
        instruction[instructionLength++] = unit < kFirstNonAscii ? static_cast<char>(unit) : '\x7F';
    }
}

// Comments and instructions apart, whose quotation marks mean nothing.
void XmlGuard::FollowDtd(uint32_t unit) {
    if (quote != 0) {
        if (unit == quote) quote = 0;
        if (++quoted > kMaxDtdText) verdict = XmlVerdict::UnsafeDtd;
    } else if (unit == '"' || unit == '\'') {
        // Between declarations there is nothing to quote.
        if (isInSubset && !isInDeclaration) verdict = XmlVerdict::UnsafeDtd;
        quote = unit;
    } else if (isInDeclaration) {
        FollowDeclaration(unit);
    } else if (unit == '[' || unit == ']') {
        isInSubset = unit == '[';
    } else if (unit == '<') {
        state = State::Opened;
    } else if (unit == '>' && !isInSubset) {
        isInDtd = false;
        state = State::Text;
    }
}

// Its kind is told by its first letters: ELEMENT, ATTLIST, NOTATION, and ENTITY.
void XmlGuard::FollowDeclaration(uint32_t unit) {
    if (++declared == 1) initial = unit;
    if (declared == 2 && initial == 'E' && unit == 'N') verdict = XmlVerdict::UnsafeDtd;
    if (unit == '<' || unit == '[') verdict = XmlVerdict::UnsafeDtd;
    if (unit == '(') Enter();
    if (unit == ')') Leave();
    if (unit == '>') isInDeclaration = false;
}

// After "<", "<!" and "<!-".
void XmlGuard::FollowOpened(uint32_t unit) {
    if (state == State::Bang) {
        FollowBang(unit);
    } else if (state == State::Dash) {
        state = State::Comment;
        if (unit != '-') verdict = XmlVerdict::Unreadable;
    } else if (unit == '!') {
        state = State::Bang;
    } else if (unit == '?') {
        state = State::Instruction;
        instructionLength = 0;
    } else if (isInDtd) {
        verdict = XmlVerdict::UnsafeDtd;
    } else if (unit == '/') {
        state = State::EndTag;
    } else {
        state = State::Tag;
        FollowTag(unit);
    }
}

void XmlGuard::FollowBang(uint32_t unit) {
    if (unit == '-') {
        state = State::Dash;
    } else if (isInDtd) {
        state = State::Dtd;
        isInDeclaration = true;
        declared = 0;
        FollowDtd(unit);
    } else if (unit == '[') {
        state = State::CharacterData;
    } else {
        // One DTD, before the elements; anything else no parser accepts.
        if (unit != 'D' || hasDtd || depth > 0) verdict = XmlVerdict::UnsafeDtd;
        hasDtd = true;
        isInDtd = true;
        state = State::Dtd;
    }
}

void XmlGuard::FollowTag(uint32_t unit) {
    if (quote != 0) {
        if (unit == quote) quote = 0;
    } else if (unit == '"' || unit == '\'') {
        quote = unit;
    } else if (unit == '>') {
        if (last != '/') Enter();
        state = State::Text;
    }
}

void XmlGuard::Enter() {
    if (++depth > kMaxDepth) verdict = XmlVerdict::TooDeep;
}

void XmlGuard::Leave() {
    if (depth > 0) --depth;
}

}  // namespace cam::config
